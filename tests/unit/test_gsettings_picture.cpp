// GIO's headers name struct members `signals`, which Qt defines as a macro.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include "platform/GSettingsPictureSource.h"
#include "platform/LinuxDesktopPicture.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

namespace {

// Set up in main(), before GIO reads the environment: it does so once per process.
QTemporaryDir* scratch = nullptr;

QString path(const QString& name)
{
    return scratch->filePath(name);
}

QString fileUrl(const QString& file)
{
    return QString::fromLatin1(QUrl::fromLocalFile(file).toEncoded());
}

void writeFile(const QString& file, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(file).path());
    QFile out(file);
    if (!out.open(QIODevice::WriteOnly) || out.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(file));
}

// The desktops' schemas with the keys read here, as the desktops install them; GNOME's default
// picture is a file of the test's own, so that a default can be told from a choice.
QByteArray schemas(bool all)
{
    QByteArray xml = "<schemalist>\n";
    if (all)
        xml += "  <enum id='org.gnome.desktop.GDesktopColorScheme'>\n"
               "    <value nick='default' value='0'/>\n"
               "    <value nick='prefer-dark' value='1'/>\n"
               "    <value nick='prefer-light' value='2'/>\n"
               "  </enum>\n"
               "  <schema id='org.gnome.desktop.interface' path='/org/gnome/desktop/interface/'>\n"
               "    <key name='color-scheme' enum='org.gnome.desktop.GDesktopColorScheme'>\n"
               "      <default>'default'</default>\n"
               "    </key>\n"
               "  </schema>\n";
    xml += "  <schema id='org.gnome.desktop.background' path='/org/gnome/desktop/background/'>\n"
           "    <key name='picture-uri' type='s'><default>'" +
           fileUrl(path("default gnome.png")).toUtf8() + "'</default></key>\n";
    if (all)
        xml += "    <key name='picture-uri-dark' type='s'><default>''</default></key>\n";
    xml += "  </schema>\n";
    if (all)
        xml += "  <schema id='org.cinnamon.desktop.background' "
               "path='/org/cinnamon/desktop/background/'>\n"
               "    <key name='picture-uri' type='s'><default>''</default></key>\n"
               "  </schema>\n"
               "  <schema id='org.mate.background' path='/org/mate/desktop/background/'>\n"
               "    <key name='picture-filename' type='s'><default>''</default></key>\n"
               "  </schema>\n";
    return xml + "</schemalist>\n";
}

void compileSchemas(const QString& folder, bool all)
{
    writeFile(folder + "/test.gschema.xml", schemas(all));
    if (QProcess::execute("glib-compile-schemas", {folder}) != 0)
        qFatal("glib-compile-schemas failed");
}

// A key set as a user would set it, through GSettings into the test's own keyfile.
void setString(const char* schema, const char* key, const QString& value)
{
    GSettings* settings = g_settings_new(schema);
    QVERIFY(g_settings_set_string(settings, key, value.toUtf8().constData()));
    g_settings_sync();
    g_object_unref(settings);
}

void reset(const char* schema, const char* key)
{
    GSettings* settings = g_settings_new(schema);
    g_settings_reset(settings, key);
    g_settings_sync();
    g_object_unref(settings);
}

QString urlFrom(GSettingsDesktop desktop, GSettingsPictureSource::Values values,
                const QString& schemaDirectory = QString())
{
    GSettingsPictureSource source(desktop, values, schemaDirectory);
    return source.urlForScreen({0, "screen", {}});
}

QString chainUrl(const QString& desktop)
{
    LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources(desktop, path("home")));
    return picture.urlForScreen(0);
}

constexpr auto userSet = GSettingsPictureSource::Values::UserSet;
constexpr auto effective = GSettingsPictureSource::Values::Effective;

} // namespace

class TestGSettingsPicture : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        compileSchemas(path("schemas"), true);
        compileSchemas(path("gnome-background-only"), false);
        writeFile(path("default gnome.png"), "default");
        writeFile(path("pictures/gnome #1.png"), "gnome");
        writeFile(path("pictures/gnome dark.png"), "dark");
        writeFile(path("pictures/cinnamon.jpg"), "cinnamon");
        writeFile(path("pictures/mate.jpg"), "mate");
        writeFile(path("pictures/feh.jpg"), "feh");
        QDir().mkpath(path("home"));
    }

    void init()
    {
        reset("org.gnome.desktop.background", "picture-uri");
        reset("org.gnome.desktop.background", "picture-uri-dark");
        reset("org.gnome.desktop.interface", "color-scheme");
        reset("org.cinnamon.desktop.background", "picture-uri");
        reset("org.mate.background", "picture-filename");
        QFile::remove(path("home/.fehbg"));
    }

    void gnomesPictureUri()
    {
        setString("org.gnome.desktop.background", "picture-uri",
                  fileUrl(path("pictures/gnome #1.png")));
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, userSet), fileUrl(path("pictures/gnome #1.png")));
        QCOMPARE(chainUrl("ubuntu:GNOME"), fileUrl(path("pictures/gnome #1.png")));
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("GNOME", path("home")));
        QCOMPARE(picture.read(picture.urlForScreen(0)), QByteArray("gnome"));
    }

    void anUnsetKeyFallsThrough()
    {
        writeFile(path("home/.fehbg"),
                  "feh --bg-fill '" + path("pictures/feh.jpg").toUtf8() + "'\n");
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, userSet), QString());
        QCOMPARE(chainUrl("i3"), fileUrl(path("pictures/feh.jpg")));
        // On GNOME itself the default is what the desktop shows.
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective), fileUrl(path("default gnome.png")));
        QCOMPARE(chainUrl("GNOME"), fileUrl(path("default gnome.png")));
    }

    void aPictureThatIsGoneFallsThrough()
    {
        writeFile(path("home/.fehbg"),
                  "feh --bg-fill '" + path("pictures/feh.jpg").toUtf8() + "'\n");
        setString("org.gnome.desktop.background", "picture-uri",
                  fileUrl(path("pictures/gone.png")));
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective), QString());
        QCOMPARE(chainUrl("GNOME"), fileUrl(path("pictures/feh.jpg")));
        setString("org.gnome.desktop.background", "picture-uri", path("pictures"));
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective), QString());
    }

    void theDarkStyleShowsTheDarkPicture()
    {
        setString("org.gnome.desktop.background", "picture-uri",
                  fileUrl(path("pictures/gnome #1.png")));
        setString("org.gnome.desktop.background", "picture-uri-dark",
                  fileUrl(path("pictures/gnome dark.png")));
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective),
                 fileUrl(path("pictures/gnome #1.png")));
        setString("org.gnome.desktop.interface", "color-scheme", "prefer-dark");
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective),
                 fileUrl(path("pictures/gnome dark.png")));
        // Without a dark picture the light one shows.
        reset("org.gnome.desktop.background", "picture-uri-dark");
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective),
                 fileUrl(path("pictures/gnome #1.png")));
    }

    void cinnamonsPictureUri()
    {
        setString("org.gnome.desktop.background", "picture-uri",
                  fileUrl(path("pictures/gnome #1.png")));
        setString("org.cinnamon.desktop.background", "picture-uri",
                  fileUrl(path("pictures/cinnamon.jpg")));
        QCOMPARE(urlFrom(GSettingsDesktop::Cinnamon, effective),
                 fileUrl(path("pictures/cinnamon.jpg")));
        // The desktop that runs comes first; elsewhere GNOME's choice comes before Cinnamon's.
        QCOMPARE(chainUrl("X-Cinnamon"), fileUrl(path("pictures/cinnamon.jpg")));
        QCOMPARE(chainUrl("GNOME"), fileUrl(path("pictures/gnome #1.png")));
        QCOMPARE(chainUrl(""), fileUrl(path("pictures/gnome #1.png")));
    }

    void matesPictureFilenameIsAPath()
    {
        setString("org.gnome.desktop.background", "picture-uri",
                  fileUrl(path("pictures/gnome #1.png")));
        setString("org.mate.background", "picture-filename", path("pictures/mate.jpg"));
        QCOMPARE(urlFrom(GSettingsDesktop::Mate, effective), fileUrl(path("pictures/mate.jpg")));
        QCOMPARE(chainUrl("MATE"), fileUrl(path("pictures/mate.jpg")));
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("MATE", path("home")));
        QCOMPARE(picture.read(picture.urlForScreen(0)), QByteArray("mate"));
    }

    void aMissingSchemaOrKeyIsNoPicture()
    {
        setString("org.gnome.desktop.background", "picture-uri",
                  fileUrl(path("pictures/gnome #1.png")));
        setString("org.gnome.desktop.interface", "color-scheme", "prefer-dark");
        setString("org.mate.background", "picture-filename", path("pictures/mate.jpg"));
        const QString only = path("gnome-background-only");
        QCOMPARE(urlFrom(GSettingsDesktop::Mate, effective, only), QString());
        QCOMPARE(urlFrom(GSettingsDesktop::Cinnamon, effective, only), QString());
        // Neither the style's schema nor the dark key is there: the picture still is.
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective, only),
                 fileUrl(path("pictures/gnome #1.png")));
        QCOMPARE(urlFrom(GSettingsDesktop::Gnome, effective, path("no schemas here")), QString());
    }
};

int main(int argc, char** argv)
{
    QTemporaryDir dir;
    scratch = &dir;
    // GIO reads these once, at its first use: the keyfile in the test's own config folder, the
    // test's schemas and no others.
    qputenv("GSETTINGS_BACKEND", "keyfile");
    qputenv("GSETTINGS_SCHEMA_DIR", QFile::encodeName(dir.filePath("schemas")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(dir.filePath("config")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(dir.filePath("data")));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(dir.filePath("data-dirs")));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    QGuiApplication app(argc, argv);
    TestGSettingsPicture test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_gsettings_picture.moc"
