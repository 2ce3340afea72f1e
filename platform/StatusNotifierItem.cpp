#include "platform/StatusNotifierItem.h"

#include "platform/DBusMenuExport.h"
#include "platform/Log.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QImage>
#include <QMenu>
#include <QPixmap>
#include <QTimer>

namespace {
const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString menuPath = QStringLiteral("/MenuBar");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
// The item's own connection: the host drops the icon when it closes.
const QString connectionName = QStringLiteral("tessarine-status-notifier");

QString itemNamePrefix()
{
    return QStringLiteral("org.kde.StatusNotifierItem-%1-").arg(QCoreApplication::applicationPid());
}
} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPixmap& pixmap)
{
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.pixels;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPixmap& pixmap)
{
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.pixels;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& toolTip)
{
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.pixmaps << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& toolTip)
{
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.pixmaps >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

StatusNotifierItem::StatusNotifierItem(const QIcon& icon, const QString& toolTip, QMenu* menu,
                                       QObject* parent)
    : QObject(parent), m_icon(icon), m_toolTip(toolTip), m_menu(menu),
      // Qt numbers its own items from 1: 0 is never one of them.
      m_serviceName(itemNamePrefix() + QLatin1Char('0')), m_connection(connectionName)
{
    qDBusRegisterMetaType<NotifierPixmap>();
    qDBusRegisterMetaType<NotifierPixmaps>();
    qDBusRegisterMetaType<NotifierToolTip>();
}

StatusNotifierItem::~StatusNotifierItem()
{
    if (m_exported)
        QDBusConnection::disconnectFromBus(connectionName);
}

void StatusNotifierItem::start()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    m_watcher = new QDBusServiceWatcher(QString::fromLatin1(watcherService), bus,
                                        QDBusServiceWatcher::WatchForRegistration |
                                            QDBusServiceWatcher::WatchForUnregistration,
                                        this);
    connect(m_watcher, &QDBusServiceWatcher::serviceRegistered, this,
            &StatusNotifierItem::watcherAppeared);
    connect(m_watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] {
        if (!m_registered)
            return;
        m_registered = false;
        emit registeredChanged(false);
    });
    if (watcherRunning())
        watcherAppeared();
}

bool StatusNotifierItem::watcherRunning()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface() &&
           bus.interface()->isServiceRegistered(QString::fromLatin1(watcherService)).value();
}

bool StatusNotifierItem::qtItemOnBus()
{
    // Qt's item talks over a connection of its own, named as the item (and registers with the
    // watcher by that connection's unique name): its name is the sign Qt chose the D-Bus tray.
    const QString prefix = itemNamePrefix();
    for (int number = 1; number <= 16; ++number)
        if (QDBusConnection(prefix + QString::number(number)).isConnected())
            return true;
    return false;
}

void StatusNotifierItem::watcherAppeared()
{
    // Qt's icon is on the bus when a panel ran as Qt made it; Qt tells new watchers about it
    // itself, and a second icon would show twice.
    if (!m_exported && qtItemOnBus())
        return;
    if (!m_exported && !exportObjects())
        return;
    registerWithWatcher();
}

bool StatusNotifierItem::exportObjects()
{
    m_connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName);
    if (!m_connection.isConnected()) {
        Log::line(QStringLiteral("the tray icon could not be offered on the session bus: %1")
                      .arg(m_connection.lastError().message()));
        QDBusConnection::disconnectFromBus(connectionName);
        return false;
    }
    m_itemObject = new QObject(this);
    auto* item = new StatusNotifierItemAdaptor(this, m_itemObject);
    connect(this, &StatusNotifierItem::iconChanged, item, &StatusNotifierItemAdaptor::NewIcon);
    connect(this, &StatusNotifierItem::toolTipChanged, item,
            &StatusNotifierItemAdaptor::NewToolTip);
    m_menuObject = new QObject(this);
    new DBusMenuExport(m_menu, m_menuObject);
    if (!m_connection.registerObject(itemPath, m_itemObject, QDBusConnection::ExportAdaptors) ||
        !m_connection.registerObject(menuPath, m_menuObject, QDBusConnection::ExportAdaptors) ||
        !m_connection.registerService(m_serviceName)) {
        Log::line(QStringLiteral("the tray icon could not be offered on the session bus: %1")
                      .arg(m_connection.lastError().message()));
        QDBusConnection::disconnectFromBus(connectionName);
        delete m_itemObject;
        delete m_menuObject;
        m_itemObject = m_menuObject = nullptr;
        return false;
    }
    m_exported = true;
    return true;
}

void StatusNotifierItem::registerWithWatcher()
{
    const QString watcher = QString::fromLatin1(watcherService);
    QDBusMessage call = QDBusMessage::createMethodCall(
        watcher, watcherPath, watcher, QStringLiteral("RegisterStatusNotifierItem"));
    call << m_serviceName;
    auto* pending = new QDBusPendingCallWatcher(m_connection.asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* reply) {
                reply->deleteLater();
                if (reply->isError()) {
                    Log::line(QStringLiteral("the panel's tray did not take the icon: %1")
                                  .arg(reply->error().message()));
                    return;
                }
                const bool changed = !m_registered;
                m_registered = true;
                if (changed)
                    emit registeredChanged(true);
            });
}

void StatusNotifierItem::setIcon(const QIcon& icon)
{
    m_icon = icon;
    emit iconChanged();
}

void StatusNotifierItem::setToolTip(const QString& toolTip)
{
    m_toolTip = toolTip;
    emit toolTipChanged();
}

StatusNotifierItemAdaptor::StatusNotifierItemAdaptor(StatusNotifierItem* item, QObject* owner)
    : QDBusAbstractAdaptor(owner), m_item(item)
{
}

QString StatusNotifierItemAdaptor::id() const
{
    return QCoreApplication::applicationName();
}

QString StatusNotifierItemAdaptor::title() const
{
    // The name Qt's own item gives: the panel shows the same whichever of the two it got.
    return QCoreApplication::applicationName();
}

NotifierPixmaps StatusNotifierItemAdaptor::pixmapsOf(const QIcon& icon)
{
    // Panels pick the size nearest their own; these are the usual panel heights.
    NotifierPixmaps pixmaps;
    for (int side : {16, 22, 24, 32, 48, 64}) {
        const QImage image =
            icon.pixmap(QSize(side, side)).toImage().convertToFormat(QImage::Format_ARGB32);
        if (image.isNull())
            continue;
        NotifierPixmap pixmap{image.width(), image.height(), {}};
        pixmap.pixels.reserve(image.width() * image.height() * 4);
        for (int y = 0; y < image.height(); ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (int x = 0; x < image.width(); ++x) {
                const QRgb pixel = line[x];
                pixmap.pixels.append(char(qAlpha(pixel)));
                pixmap.pixels.append(char(qRed(pixel)));
                pixmap.pixels.append(char(qGreen(pixel)));
                pixmap.pixels.append(char(qBlue(pixel)));
            }
        }
        pixmaps.append(pixmap);
    }
    return pixmaps;
}

NotifierPixmaps StatusNotifierItemAdaptor::iconPixmap() const
{
    return pixmapsOf(m_item->icon());
}

NotifierToolTip StatusNotifierItemAdaptor::toolTip() const
{
    return NotifierToolTip{{}, {}, title(), m_item->toolTip()};
}

QDBusObjectPath StatusNotifierItemAdaptor::menu() const
{
    return QDBusObjectPath(menuPath);
}

void StatusNotifierItemAdaptor::Activate(int x, int y)
{
    Q_UNUSED(x);
    Q_UNUSED(y);
    // After the reply has gone: the click may lock the screen, and the host waits meanwhile.
    QTimer::singleShot(0, m_item, &StatusNotifierItem::activated);
}

void StatusNotifierItemAdaptor::SecondaryActivate(int x, int y)
{
    Q_UNUSED(x);
    Q_UNUSED(y);
}

void StatusNotifierItemAdaptor::ContextMenu(int x, int y)
{
    QTimer::singleShot(0, m_item, [item = m_item, x, y] {
        emit item->contextMenuRequested({x, y});
    });
}

void StatusNotifierItemAdaptor::Scroll(int delta, const QString& orientation)
{
    Q_UNUSED(delta);
    Q_UNUSED(orientation);
}
