#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QIcon>
#include <QList>
#include <QObject>
#include <QPoint>

class QDBusArgument;
class QDBusServiceWatcher;
class QMenu;

// An icon as StatusNotifierItem sends it: its size and its ARGB32 pixels in network byte order.
struct NotifierPixmap
{
    int width = 0;
    int height = 0;
    QByteArray pixels;
};
using NotifierPixmaps = QList<NotifierPixmap>;

// The tool tip: an icon's name, its pixmaps, a title and a text.
struct NotifierToolTip
{
    QString iconName;
    NotifierPixmaps pixmaps;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& toolTip);

Q_DECLARE_METATYPE(NotifierPixmap)
Q_DECLARE_METATYPE(NotifierToolTip)

// The program's tray icon for panels that host icons over D-Bus (waybar, swaybar, KDE's...):
// the org.kde.StatusNotifierItem object, its menu, and its registration with the panel's
// org.kde.StatusNotifierWatcher.
//
// Qt shows a QSystemTrayIcon over D-Bus by itself, but decides so once for the whole run,
// when the icon is made, and only when a panel is already there; a panel started after
// Tessarine (a session's panel and its programs start side by side) would never get the icon.
// This one stands in then: it registers whenever a watcher runs and Qt's own item is not on the
// bus, and again with each watcher that starts later.
class StatusNotifierItem : public QObject
{
    Q_OBJECT
public:
    static constexpr const char* watcherService = "org.kde.StatusNotifierWatcher";

    StatusNotifierItem(const QIcon& icon, const QString& toolTip, QMenu* menu,
                       QObject* parent = nullptr);
    ~StatusNotifierItem() override;

    // Starts following the watcher; registers at once when one runs.
    void start();
    // Whether this item stands on the bus and a watcher has been told about it.
    bool isRegistered() const { return m_registered; }
    // Whether a panel's watcher runs on the session bus.
    static bool watcherRunning();
    // Whether Qt's own tray icon of this process stands on the bus as an item: Qt chose the
    // D-Bus tray when the icon was made.
    static bool qtItemOnBus();
    QString serviceName() const { return m_serviceName; }

    void setIcon(const QIcon& icon);
    void setToolTip(const QString& toolTip);

    const QIcon& icon() const { return m_icon; }
    const QString& toolTip() const { return m_toolTip; }

signals:
    // A click on the icon, as the host reports it (Activate).
    void activated();
    // The host asks for the menu to be shown at a point of the screen (ContextMenu).
    void contextMenuRequested(const QPoint& position);
    void iconChanged();
    void toolTipChanged();
    void registeredChanged(bool registered);

private:
    void watcherAppeared();
    bool exportObjects();
    void registerWithWatcher();

    QIcon m_icon;
    QString m_toolTip;
    QMenu* m_menu = nullptr;
    QString m_serviceName;
    QDBusConnection m_connection;
    QDBusServiceWatcher* m_watcher = nullptr;
    QObject* m_itemObject = nullptr;
    QObject* m_menuObject = nullptr;
    bool m_exported = false;
    bool m_registered = false;
};

// The org.kde.StatusNotifierItem interface of the item.
class StatusNotifierItemAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconThemePath READ emptyString)
    Q_PROPERTY(QString IconName READ emptyString)
    Q_PROPERTY(NotifierPixmaps IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ emptyString)
    Q_PROPERTY(NotifierPixmaps OverlayIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionIconName READ emptyString)
    Q_PROPERTY(NotifierPixmaps AttentionIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionMovieName READ emptyString)
    Q_PROPERTY(NotifierToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

public:
    StatusNotifierItemAdaptor(StatusNotifierItem* item, QObject* owner);

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const;
    QString title() const;
    QString status() const { return QStringLiteral("Active"); }
    int windowId() const { return 0; }
    QString emptyString() const { return {}; }
    NotifierPixmaps iconPixmap() const;
    NotifierPixmaps noPixmaps() const { return {}; }
    NotifierToolTip toolTip() const;
    // A click locks; the menu is the right click's.
    bool itemIsMenu() const { return false; }
    QDBusObjectPath menu() const;

    static NotifierPixmaps pixmapsOf(const QIcon& icon);

public slots:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    void ContextMenu(int x, int y);
    void Scroll(int delta, const QString& orientation);

signals:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewToolTip();
    void NewStatus(const QString& status);
    void NewMenu();

private:
    StatusNotifierItem* m_item;
};
