#include "platform/FehPictureSource.h"
#include "platform/LinuxDesktopPicture.h"
#include "platform/PictureFile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QString writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QString fileUrl(const QString& path)
{
    return QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded());
}

// A place with a fixed answer per screen, remembering the screens it was asked about.
class ScriptedSource final : public DesktopPictureSource
{
public:
    explicit ScriptedSource(QHash<int, QString> answers, QList<int>* asked = nullptr)
        : m_answers(std::move(answers)), m_asked(asked)
    {
    }
    QString urlForScreen(const PictureScreen& screen) override
    {
        if (m_asked)
            m_asked->append(screen.index);
        return m_answers.value(screen.index);
    }

private:
    QHash<int, QString> m_answers;
    QList<int>* m_asked;
};

} // namespace

class TestDesktopPicture : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        // Nothing of this machine's own desktop may answer: no settings, no bus.
        qputenv("GSETTINGS_BACKEND", "memory");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    }

    void aFileIsReadByPathAndByUrl()
    {
        QTemporaryDir dir;
        const QString path = writeFile(dir.filePath("a picture #1.png"), "picture bytes");
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QCOMPARE(picture.read(path), QByteArray("picture bytes"));
        QCOMPARE(picture.read(fileUrl(path)), QByteArray("picture bytes"));
        QVERIFY(fileUrl(path).contains("%20"));
    }

    void aMissingFileIsEmpty()
    {
        QTemporaryDir dir;
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QVERIFY(picture.read(dir.filePath("gone.png")).isEmpty());
        QVERIFY(picture.read(fileUrl(dir.filePath("gone.png"))).isEmpty());
        QVERIFY(picture.read(QString()).isEmpty());
    }

    void aFolderIsRefused()
    {
        QTemporaryDir dir;
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QVERIFY(picture.read(dir.path()).isEmpty());
        QVERIFY(picture.read(fileUrl(dir.path())).isEmpty());
    }

    void aFifoIsRefusedWithoutWaitingForAWriter()
    {
        QTemporaryDir dir;
        const QString fifo = dir.filePath("pipe.png");
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QElapsedTimer timer;
        timer.start();
        QVERIFY(picture.read(fifo).isEmpty());
        QVERIFY(timer.elapsed() < 1000);
    }

    void aFileAboveTheCapIsRefused()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("huge.png");
        writeFile(path, "x");
        // Sparse: the size without the disk space.
        QVERIFY(QFile::resize(path, PictureFile::maximumSize + 1));
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QVERIFY(picture.read(path).isEmpty());
    }

    void aFileReachedThroughALinkIsRead()
    {
        QTemporaryDir dir;
        const QString path = writeFile(dir.filePath("real.png"), "linked");
        QVERIFY(QFile::link(path, dir.filePath("link.png")));
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QCOMPARE(picture.read(dir.filePath("link.png")), QByteArray("linked"));
    }

    void networkUrlsAreNotFetched()
    {
        QTemporaryDir dir;
        const QString path = writeFile(dir.filePath("local.png"), "local");
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QVERIFY(picture.read("http://localhost" + path).isEmpty());
        QVERIFY(picture.read("ftp://localhost" + path).isEmpty());
        // The same path on another host is not this file.
        QVERIFY(picture.read("file://elsewhere" + path).isEmpty());
        QCOMPARE(picture.read("file://localhost" + path), QByteArray("local"));
    }

    void fehScriptPicturesAreUnquoted()
    {
        const QString script = "#!/bin/sh\n"
                               "# written by hand\n"
                               "feh --no-fehbg --bg-fill --image-bg black "
                               "'/pics/it'\\''s here.jpg' \"/pics/two \\\"q\\\".png\" "
                               "/pics/three\\ words.jpg ~/wall.png $HOME/x.png 'not~/y.png'\n";
        QCOMPARE(FehPictureSource::picturesIn(script, "/home/u"),
                 QStringList({"/pics/it's here.jpg", "/pics/two \"q\".png", "/pics/three words.jpg",
                              "/home/u/wall.png", "/home/u/x.png", "/home/u/not~/y.png"}));
    }

    void fehScriptOptionsAndOperatorsAreNotPictures()
    {
        QCOMPARE(FehPictureSource::picturesIn(
                     "exec /usr/bin/feh --bg-scale --geometry +10+10 --no-xinerama "
                     "'/a.jpg' & sleep 1\n",
                     "/home/u"),
                 QStringList({"/a.jpg"}));
        QCOMPARE(FehPictureSource::picturesIn("feh --bg-max -- '-dash.jpg'; echo /b.jpg\n", "/h"),
                 QStringList({"/h/-dash.jpg"}));
        QCOMPARE(FehPictureSource::picturesIn("#!/bin/sh\necho nothing\n", "/h"), QStringList());
        // Only the first feh command counts.
        QCOMPARE(FehPictureSource::picturesIn("feh --bg-fill /1.png\nfeh --bg-fill /2.png\n", "/h"),
                 QStringList({"/1.png"}));
    }

    void fehPicturesGoToTheScreensInOrder()
    {
        QTemporaryDir home;
        const QString first = writeFile(home.filePath("first 'one'.jpg"), "1");
        const QString second = writeFile(home.filePath("second.png"), "2");
        writeFile(home.filePath(".fehbg"), "#!/bin/sh\nfeh --no-fehbg --bg-fill '" +
                                               home.filePath("first '\\''one'\\''.jpg").toUtf8() +
                                               "' '" + second.toUtf8() + "' \n");
        FehPictureSource source(home.path());
        QCOMPARE(source.urlForScreen({0, "A", {}}), fileUrl(first));
        QCOMPARE(source.urlForScreen({1, "B", {}}), fileUrl(second));
        // A third screen shows the last picture, as feh sets it.
        QCOMPARE(source.urlForScreen({2, "C", {}}), fileUrl(second));
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("i3", home.path()));
        QCOMPARE(picture.urlForScreen(0), fileUrl(first));
        QCOMPARE(picture.read(picture.urlForScreen(0)), QByteArray("1"));
    }

    void aFehPictureThatIsGoneIsNone()
    {
        QTemporaryDir home;
        writeFile(home.filePath(".fehbg"),
                  "feh --bg-fill '" + home.filePath("gone.jpg").toUtf8() + "'\n");
        FehPictureSource source(home.path());
        QCOMPARE(source.urlForScreen({0, "A", {}}), QString());
        QCOMPARE(FehPictureSource(home.filePath("nowhere")).urlForScreen({0, "A", {}}), QString());
    }

    void theFirstPlaceWithAPictureWins()
    {
        QList<int> firstAsked, secondAsked, thirdAsked;
        LinuxDesktopPicture::Sources sources;
        sources.push_back(std::make_unique<ScriptedSource>(QHash<int, QString>{}, &firstAsked));
        sources.push_back(std::make_unique<ScriptedSource>(
            QHash<int, QString>{{0, "file:///second.png"}}, &secondAsked));
        sources.push_back(std::make_unique<ScriptedSource>(
            QHash<int, QString>{{0, "file:///third.png"}}, &thirdAsked));
        LinuxDesktopPicture picture(std::move(sources));
        QCOMPARE(picture.urlForScreen(0), QString("file:///second.png"));
        QCOMPARE(firstAsked, QList<int>({0}));
        QCOMPARE(secondAsked, QList<int>({0}));
        QVERIFY(thirdAsked.isEmpty());
    }

    void aScreenThatDoesNotExistHasNoPicture()
    {
        QList<int> asked;
        LinuxDesktopPicture::Sources sources;
        sources.push_back(std::make_unique<ScriptedSource>(
            QHash<int, QString>{{0, "file:///a.png"}, {5, "file:///b.png"}}, &asked));
        LinuxDesktopPicture picture(std::move(sources));
        QCOMPARE(picture.urlForScreen(5), QString());
        QCOMPARE(picture.urlForScreen(-1), QString());
        QVERIFY(asked.isEmpty());
    }

    void withNothingSetThereIsNoPicture()
    {
        QTemporaryDir home;
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("", home.path()));
        QCOMPARE(picture.urlForScreen(0), QString());
    }
};

QTEST_MAIN(TestDesktopPicture)
#include "test_desktop_picture.moc"
