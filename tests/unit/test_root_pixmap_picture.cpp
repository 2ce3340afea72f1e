#include "platform/LinuxDesktopPicture.h"
#include "platform/x11/RootPixmapPictureSource.h"

#include <QGuiApplication>
#include <QImage>
#include <QScreen>
#include <QTemporaryDir>
#include <QTest>

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t red = 0xff0000, green = 0x00ff00, blue = 0x0000ff, yellow = 0xffff00;

// A background setter as feh or hsetroot are: a connection of its own that draws a pixmap and
// names it on the root window.
class Setter
{
public:
    Setter() : m_connection(xcb_connect(nullptr, nullptr))
    {
        m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    }
    ~Setter() { xcb_disconnect(m_connection); }
    Setter(const Setter&) = delete;
    Setter& operator=(const Setter&) = delete;

    bool connected() const { return xcb_connection_has_error(m_connection) == 0; }

    // A pixmap filled with the first colour, then each further rectangle with its colour.
    xcb_pixmap_t pixmap(QSize size, int depth, const QList<std::pair<QRect, uint32_t>>& fills)
    {
        const xcb_pixmap_t pixmap = xcb_generate_id(m_connection);
        xcb_create_pixmap(m_connection, depth, pixmap, m_screen->root, size.width(), size.height());
        for (const auto& [rect, colour] : fills) {
            const xcb_gcontext_t gc = xcb_generate_id(m_connection);
            xcb_create_gc(m_connection, gc, pixmap, XCB_GC_FOREGROUND, &colour);
            const xcb_rectangle_t r{int16_t(rect.x()), int16_t(rect.y()), uint16_t(rect.width()),
                                    uint16_t(rect.height())};
            xcb_poly_fill_rectangle(m_connection, pixmap, gc, 1, &r);
            xcb_free_gc(m_connection, gc);
        }
        sync();
        return pixmap;
    }

    void announce(const char* property, xcb_pixmap_t pixmap)
    {
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_screen->root, atom(property),
                            XCB_ATOM_PIXMAP, 32, 1, &pixmap);
        sync();
    }

    void withdraw(const char* property)
    {
        xcb_delete_property(m_connection, m_screen->root, atom(property));
        sync();
    }

    void free(xcb_pixmap_t pixmap)
    {
        xcb_free_pixmap(m_connection, pixmap);
        sync();
    }

private:
    xcb_atom_t atom(const char* name)
    {
        auto* reply = xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, 0, std::strlen(name), name), nullptr);
        const xcb_atom_t atom = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return atom;
    }

    // Once the server has answered, it has carried out everything sent before: the program's
    // own connection sees it.
    void sync()
    {
        std::free(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    xcb_connection_t* m_connection;
    xcb_screen_t* m_screen = nullptr;
};

QImage decoded(const QByteArray& bytes)
{
    QImage image;
    image.loadFromData(bytes, "PNG");
    return image;
}

uint32_t rgbAt(const QImage& image, int x, int y)
{
    return image.pixel(x, y) & 0xffffff;
}

} // namespace

class TestRootPixmapPicture : public QObject
{
    Q_OBJECT
private:
    Setter m_setter;
    QTemporaryDir m_home;
    QSize m_screenSize;

    QString chainUrl()
    {
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("", m_home.path()));
        return picture.urlForScreen(0);
    }

    QImage chainPicture()
    {
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("", m_home.path()));
        return decoded(picture.read(picture.urlForScreen(0)));
    }

private slots:
    void initTestCase()
    {
        QCOMPARE(QGuiApplication::platformName(), QString("xcb"));
        QVERIFY(m_setter.connected());
        m_screenSize = QGuiApplication::primaryScreen()->geometry().size();
        QCOMPARE(m_screenSize, QSize(320, 240));
    }

    void init()
    {
        m_setter.withdraw("_XROOTPMAP_ID");
        m_setter.withdraw("ESETROOT_PMAP_ID");
    }

    void withoutABackgroundThereIsNoPicture() { QCOMPARE(chainUrl(), QString()); }

    void theScreenShowsTheRootPixmap()
    {
        // Larger than the screen, as a pixmap left from a larger screen is.
        const xcb_pixmap_t pixmap = m_setter.pixmap({400, 300}, 24,
                                                    {{QRect(0, 0, 400, 300), red},
                                                     {QRect(160, 0, 240, 300), blue},
                                                     {QRect(20, 30, 10, 10), green}});
        m_setter.announce("_XROOTPMAP_ID", pixmap);

        const QString url = chainUrl();
        QVERIFY2(url.startsWith("x-root-pixmap:0x"), qPrintable(url));
        QVERIFY2(url.contains(QString::number(pixmap, 16)), qPrintable(url));
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("", m_home.path()));
        const QByteArray bytes = picture.read(url);
        QVERIFY(bytes.startsWith("\x89PNG"));
        const QImage image = decoded(bytes);
        QCOMPARE(image.size(), m_screenSize);
        QCOMPARE(rgbAt(image, 0, 0), red);
        QCOMPARE(rgbAt(image, 100, 200), red);
        QCOMPARE(rgbAt(image, 25, 35), green);
        QCOMPARE(rgbAt(image, 20, 30), green);
        QCOMPARE(rgbAt(image, 30, 40), red);
        QCOMPARE(rgbAt(image, 160, 0), blue);
        QCOMPARE(rgbAt(image, 319, 239), blue);
        m_setter.free(pixmap);
    }

    void eachScreenGetsItsOwnPart()
    {
        const xcb_pixmap_t pixmap = m_setter.pixmap({320, 240}, 24,
                                                    {{QRect(0, 0, 320, 240), red},
                                                     {QRect(160, 0, 160, 240), blue},
                                                     {QRect(170, 5, 4, 4), yellow}});
        m_setter.announce("_XROOTPMAP_ID", pixmap);
        RootPixmapPictureSource source;
        const QString url = source.urlForScreen({1, "right", QRect(160, 0, 160, 240)});
        const QImage image = decoded(RootPixmapPictureSource::read(QUrl(url)));
        QCOMPARE(image.size(), QSize(160, 240));
        QCOMPARE(rgbAt(image, 0, 0), blue);
        QCOMPARE(rgbAt(image, 11, 6), yellow);
        QCOMPARE(rgbAt(image, 159, 239), blue);
        m_setter.free(pixmap);
    }

    void aThirtyTwoBitPixmapIsShownOpaque()
    {
        const xcb_pixmap_t pixmap =
            m_setter.pixmap({320, 240}, 32, {{QRect(0, 0, 320, 240), 0x40ff8000}});
        m_setter.announce("_XROOTPMAP_ID", pixmap);
        const QImage image = chainPicture();
        QCOMPARE(image.size(), m_screenSize);
        QCOMPARE(image.pixel(50, 50), 0xffff8000u);
        m_setter.free(pixmap);
    }

    void theOlderPropertyAloneIsEnough()
    {
        const xcb_pixmap_t pixmap =
            m_setter.pixmap({320, 240}, 24, {{QRect(0, 0, 320, 240), green}});
        m_setter.announce("ESETROOT_PMAP_ID", pixmap);
        const QImage image = chainPicture();
        QCOMPARE(image.size(), m_screenSize);
        QCOMPARE(rgbAt(image, 160, 120), green);
        m_setter.free(pixmap);
    }

    void aShallowPixmapIsNotRead()
    {
        const xcb_pixmap_t pixmap = m_setter.pixmap({320, 240}, 1, {{QRect(0, 0, 320, 240), 1}});
        m_setter.announce("_XROOTPMAP_ID", pixmap);
        LinuxDesktopPicture picture(LinuxDesktopPicture::sessionSources("", m_home.path()));
        const QString url = picture.urlForScreen(0);
        QVERIFY(!url.isEmpty());
        QCOMPARE(picture.read(url), QByteArray());
        m_setter.free(pixmap);
    }

    void onlyTheCurrentBackgroundIsRead()
    {
        const xcb_pixmap_t old = m_setter.pixmap({320, 240}, 24, {{QRect(0, 0, 320, 240), red}});
        m_setter.announce("_XROOTPMAP_ID", old);
        const QString oldUrl = chainUrl();
        const xcb_pixmap_t current =
            m_setter.pixmap({320, 240}, 24, {{QRect(0, 0, 320, 240), blue}});
        m_setter.announce("_XROOTPMAP_ID", current);
        const QString currentUrl = chainUrl();
        QVERIFY(currentUrl != oldUrl);
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QCOMPARE(picture.read(oldUrl), QByteArray());
        QCOMPARE(rgbAt(decoded(picture.read(currentUrl)), 10, 10), blue);
        // Nor any other pixmap a URL might name.
        QString other = currentUrl;
        other.replace(QString::number(current, 16), QString::number(old, 16));
        QVERIFY(other != currentUrl);
        QCOMPARE(picture.read(other), QByteArray());
        m_setter.free(old);
        m_setter.free(current);
    }

    void aFreedPixmapIsNoPicture()
    {
        const xcb_pixmap_t pixmap = m_setter.pixmap({320, 240}, 24, {{QRect(0, 0, 320, 240), red}});
        m_setter.announce("_XROOTPMAP_ID", pixmap);
        const QString url = chainUrl();
        QVERIFY(!url.isEmpty());
        m_setter.free(pixmap);
        QCOMPARE(chainUrl(), QString());
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QCOMPARE(picture.read(url), QByteArray());
    }

    void aMalformedUrlIsNotRead()
    {
        const xcb_pixmap_t pixmap = m_setter.pixmap({320, 240}, 24, {{QRect(0, 0, 320, 240), red}});
        m_setter.announce("_XROOTPMAP_ID", pixmap);
        const QString id = QString::number(pixmap, 16);
        LinuxDesktopPicture picture(LinuxDesktopPicture::Sources{});
        QVERIFY(!picture.read("x-root-pixmap:0x" + id + "?x=0&y=0&width=10&height=10").isEmpty());
        QCOMPARE(picture.read("x-root-pixmap:0x" + id + "?x=0&y=0&width=10"), QByteArray());
        QCOMPARE(picture.read("x-root-pixmap:0x" + id + "?x=0&y=0&width=0&height=10"),
                 QByteArray());
        QCOMPARE(picture.read("x-root-pixmap:0x" + id + "?x=400&y=0&width=10&height=10"),
                 QByteArray());
        QCOMPARE(picture.read("x-root-pixmap:" + id + "?x=0&y=0&width=10&height=10"), QByteArray());
        m_setter.free(pixmap);
    }
};

QTEST_MAIN(TestRootPixmapPicture)
#include "test_root_pixmap_picture.moc"
