#include "StartedProgram.h"

#include "platform/XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {
// A place with an executable standing in for the running program and an autostart folder.
struct Session
{
    Session()
    {
        QDir(dir.path()).mkpath(QStringLiteral("bin"));
        binary = dir.path() + QStringLiteral("/bin/tessarine");
        write(binary, "#!/bin/sh\n");
        QFile::setPermissions(binary, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        folder = dir.path() + QStringLiteral("/config/autostart");
    }
    static void write(const QString& path, const QByteArray& bytes)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    void writeEntry(const QString& name, const QByteArray& exec) const
    {
        write(folder + QLatin1Char('/') + name,
              "[Desktop Entry]\nType=Application\nName=X\nExec=" + exec + "\n");
    }
    QStringList entries() const
    {
        return QDir(folder).entryList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    }
    XdgAutostart autostart() const { return XdgAutostart(folder, binary); }

    QTemporaryDir dir;
    QString binary;
    QString folder;
};

// The program of an entry, or "<none>".
QString program(const QString& entry)
{
    return XdgAutostart::execProgram(entry).value_or(QStringLiteral("<none>"));
}

QString readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
} // namespace

class TestLoginItems : public QObject
{
    Q_OBJECT
private slots:
    void appendMakesTheFolderAndAnEntryThatStartsTheBinary()
    {
        Session session;
        session.autostart().append();
        QCOMPARE(session.entries(), QStringList{"tessarine.desktop"});
        const QString entry = readAll(session.folder + QStringLiteral("/tessarine.desktop"));
        QVERIFY(entry.startsWith(QStringLiteral("[Desktop Entry]\n")));
        QVERIFY(entry.contains(QStringLiteral("\nType=Application\n")));
        QCOMPARE(program(entry), session.binary);
    }

    void appendAgainKeepsOneEntry()
    {
        Session session;
        session.autostart().append();
        session.autostart().append();
        QCOMPARE(session.entries(), QStringList{"tessarine.desktop"});
    }

    void appendLeavesOtherEntriesAlone()
    {
        Session session;
        session.writeEntry(QStringLiteral("other.desktop"), "/usr/bin/other");
        session.autostart().append();
        QCOMPARE(session.entries(), (QStringList{"other.desktop", "tessarine.desktop"}));
        QVERIFY(readAll(session.folder + QStringLiteral("/other.desktop")).contains("other"));
    }

    void appendWhereNoFolderCanBeMadeDoesNothing()
    {
        Session session;
        // A file where the folder should be: it cannot be made.
        Session::write(session.folder, "not a folder");
        session.autostart().append();
        QVERIFY(QFileInfo(session.folder).isFile());
        QCOMPARE(readAll(session.folder), QStringLiteral("not a folder"));
    }

    void appendWhereTheEntryCannotBeWrittenDoesNothing()
    {
        Session session;
        QVERIFY(QDir().mkpath(session.folder + QStringLiteral("/tessarine.desktop")));
        session.autostart().append();
        QVERIFY(QFileInfo(session.folder + QStringLiteral("/tessarine.desktop")).isDir());
    }

    void removeTakesEveryEntryOfTheBinaryAndNothingElse()
    {
        Session session;
        session.autostart().append();
        session.writeEntry(QStringLiteral("copy.desktop"), session.binary.toUtf8() + " --flag");
        QFile::link(session.binary, session.dir.path() + QStringLiteral("/link"));
        session.writeEntry(QStringLiteral("through-link.desktop"),
                           session.dir.path().toUtf8() + "/link");
        session.writeEntry(QStringLiteral("other.desktop"), "/bin/sh");
        session.writeEntry(QStringLiteral("upper-case.desktop"),
                           session.dir.path().toUtf8() + "/BIN/tessarine");
        Session::write(session.folder + QStringLiteral("/no-exec.desktop"),
                       "[Desktop Entry]\nType=Application\n");
        Session::write(session.folder + QStringLiteral("/notes.txt"),
                       "[Desktop Entry]\nExec=" + session.binary.toUtf8() + "\n");
        session.autostart().removeOwn();
        QCOMPARE(session.entries(), (QStringList{"no-exec.desktop", "notes.txt", "other.desktop",
                                                 "upper-case.desktop"}));
    }

    void removeFindsAProgramNamedWithoutAPath()
    {
        Session session;
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", session.dir.path().toUtf8() + "/bin:" + path);
        session.writeEntry(QStringLiteral("bare.desktop"), "tessarine %U");
        session.autostart().removeOwn();
        qputenv("PATH", path);
        QCOMPARE(session.entries(), QStringList{});
    }

    void anEntryOfAMovedProgramStays()
    {
        Session session;
        session.autostart().append();
        QFile::rename(session.binary, session.binary + QStringLiteral("-moved"));
        XdgAutostart(session.folder, session.binary + QStringLiteral("-moved")).removeOwn();
        QCOMPARE(session.entries(), QStringList{"tessarine.desktop"});
    }

    void removeWithoutAFolderDoesNothing()
    {
        Session session;
        session.autostart().removeOwn();
        QVERIFY(!QFileInfo::exists(session.folder));
    }

    void anAwkwardPathSurvivesTheEntry()
    {
        const QString path =
            QStringLiteral("/opt/my apps/\"quoted\"/$HOME/100%/back\\slash/tessarine");
        const QString entry =
            QStringLiteral("[Desktop Entry]\nExec=%1 --x\n").arg(XdgAutostart::execValue(path));
        QCOMPARE(program(entry), path);
    }

    void onlyTheMainGroupsExecLineCounts()
    {
        QCOMPARE(program("[Desktop Action new]\nExec=/bin/a\n[Desktop Entry]\nExec[de]=/bin/b\n"),
                 QStringLiteral("<none>"));
        QCOMPARE(program("[Desktop Entry]\nExec = /bin/c\n"), QStringLiteral("/bin/c"));
        QCOMPARE(program("[Desktop Entry]\nExec=\n"), QStringLiteral("<none>"));
        // \s is a space in the value, which then ends the unquoted first word.
        QCOMPARE(program("[Desktop Entry]\nExec=/a\\sb c\n"), QStringLiteral("/a"));
    }

    void theFolderFollowsXdgConfigHome()
    {
        const QByteArray saved = qgetenv("XDG_CONFIG_HOME");
        qputenv("XDG_CONFIG_HOME", "/somewhere/config");
        const QString set = XdgAutostart::defaultFolder();
        qputenv("XDG_CONFIG_HOME", "relative");
        const QString relative = XdgAutostart::defaultFolder();
        qputenv("XDG_CONFIG_HOME", saved);
        QCOMPARE(set, QStringLiteral("/somewhere/config/autostart"));
        QCOMPARE(relative, QDir::homePath() + QStringLiteral("/.config/autostart"));
    }

    // The option in the program.

    void turningTheOptionOnStoresItAndAddsTheItem()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->toggleOpenOnLogin();
        QCOMPARE(program.loginItems.calls, QStringList{"append"});
        QCOMPARE(library.properties()->value("openAtLogin"), QStringLiteral("boolean:true"));
        QVERIFY(program.delegate->preferences().openAtLogin);
    }

    void turningItOffStoresItAndRemovesTheItems()
    {
        TestLibrary library;
        library.configure("<key>openAtLogin</key><true/>");
        StartedProgram program(library.folder());
        program.delegate->toggleOpenOnLogin();
        QCOMPARE(program.loginItems.calls, QStringList{"removeOwn"});
        QCOMPARE(library.properties()->value("openAtLogin"), QStringLiteral("boolean:false"));
    }

    void aStartNeverTouchesTheItems()
    {
        TestLibrary library;
        library.configure("<key>openAtLogin</key><true/>");
        StartedProgram program(library.folder());
        QVERIFY(program.delegate->preferences().openAtLogin);
        QCOMPARE(program.loginItems.calls, QStringList{});
    }

    void anUnwritableOptionsFileStillChangesTheItems()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        library.writeFile(library.propertiesPath(), "not a property list");
        program.delegate->toggleOpenOnLogin();
        QCOMPARE(program.loginItems.calls, QStringList{"append"});
        QVERIFY(program.delegate->preferences().openAtLogin);
        QCOMPARE(program.dialogs.alerts, QStringList{});
    }
};

QTEST_MAIN(TestLoginItems)
#include "test_login_items.moc"
