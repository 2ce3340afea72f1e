#include "ui/StatusItem.h"

#include "platform/ImageLibrary.h"
#include "platform/StatusNotifierItem.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

StatusItem::StatusItem(QObject* parent) : QObject(parent)
{
    m_statusMenu = new QMenu;
    m_statusMenu->setObjectName(QStringLiteral("statusMenu"));
    QAction* lockNow = m_statusMenu->addAction(tr("Lock Screen"));
    connect(lockNow, &QAction::triggered, this, &StatusItem::lockRequested);
    // The delays are added at start-up.
    auto* lockout = new QMenu(tr("Lock After"), m_statusMenu);
    lockout->setObjectName(QStringLiteral("lockoutItem"));
    m_lockoutItem = m_statusMenu->addMenu(lockout);
    m_statusMenu->addSeparator();
    QAction* preferences = m_statusMenu->addAction(tr("Preferences..."));
    preferences->setObjectName(QStringLiteral("preferencesItem"));
    connect(preferences, &QAction::triggered, this, &StatusItem::preferencesRequested);
    QAction* about = m_statusMenu->addAction(tr("About Tessarine"));
    about->setObjectName(QStringLiteral("aboutItem"));
    connect(about, &QAction::triggered, this, &StatusItem::aboutRequested);
    QAction* help = m_statusMenu->addAction(tr("Help"));
    help->setObjectName(QStringLiteral("helpItem"));
    connect(help, &QAction::triggered, this, &StatusItem::helpRequested);
    QAction* usersSite = m_statusMenu->addAction(tr("Tessarine Users Site"));
    usersSite->setObjectName(QStringLiteral("usersSiteItem"));
    connect(usersSite, &QAction::triggered, this, &StatusItem::usersSiteRequested);
    m_statusMenu->addSeparator();
    QAction* quit = m_statusMenu->addAction(tr("Quit Tessarine"));
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit);
    connect(m_statusMenu, &QMenu::aboutToShow, this, [this] { setHighlighted(true); });
    connect(m_statusMenu, &QMenu::aboutToHide, this, [this] { setHighlighted(false); });

    m_trayIcon = new QSystemTrayIcon(ImageLibrary::named(QStringLiteral("lockmenubar")), this);
    m_trayIcon->setToolTip(QString::fromLatin1(toolTip));
    m_trayIcon->setContextMenu(m_statusMenu);
    connect(m_trayIcon, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                clicked(reason, QGuiApplication::queryKeyboardModifiers());
            });
    m_trayIcon->show();
    m_notifierItem = new StatusNotifierItem(m_trayIcon->icon(), QString::fromLatin1(toolTip),
                                            m_statusMenu, this);
    connect(m_notifierItem, &StatusNotifierItem::activated, this, [this] {
        clicked(QSystemTrayIcon::Trigger, QGuiApplication::queryKeyboardModifiers());
    });
    connect(m_notifierItem, &StatusNotifierItem::contextMenuRequested, this,
            [this](const QPoint& position) { m_statusMenu->popup(position); });
    m_notifierItem->start();
    // Qt draws an icon embedded in an X tray with a widget of its own, made whenever a tray
    // appears; its button events are looked at on their way there.
    qApp->installEventFilter(this);
}

StatusItem::~StatusItem()
{
    // The item offers the menu on the bus until it goes.
    delete m_notifierItem;
    delete m_statusMenu;
}

void StatusItem::clicked(QSystemTrayIcon::ActivationReason reason, Qt::KeyboardModifiers modifiers)
{
    if (reason != QSystemTrayIcon::Trigger)
        return; // the right click's menu is opened by the tray itself
    if (modifiers & (Qt::ControlModifier | Qt::MetaModifier)) {
        popUpMenu();
        return;
    }
    emit lockRequested();
}

bool StatusItem::mouseDown(Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
{
    if (button != Qt::LeftButton)
        return false; // the right button's menu is the tray icon's own
    if (modifiers & (Qt::ControlModifier | Qt::MetaModifier))
        popUpMenu();
    else
        setHighlighted(true);
    return true;
}

bool StatusItem::mouseUp(Qt::MouseButton button, bool insideIcon)
{
    if (button != Qt::LeftButton)
        return false;
    const bool pressed = m_highlighted && !m_statusMenu->isVisible();
    if (!m_statusMenu->isVisible())
        setHighlighted(false);
    // A press dragged off the icon and let go elsewhere does not lock.
    if (pressed && insideIcon)
        emit lockRequested();
    return true;
}

bool StatusItem::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if ((type != QEvent::MouseButtonPress && type != QEvent::MouseButtonRelease &&
         type != QEvent::MouseButtonDblClick) ||
        !watched->inherits("QSystemTrayIconSys"))
        return false;
    auto* mouse = static_cast<QMouseEvent*>(event);
    if (type == QEvent::MouseButtonRelease) {
        auto* icon = static_cast<QWidget*>(watched);
        return mouseUp(mouse->button(), icon->rect().contains(mouse->position().toPoint()));
    }
    return mouseDown(mouse->button(), mouse->modifiers());
}

void StatusItem::popUpMenu()
{
    m_statusMenu->popup(QCursor::pos());
}

void StatusItem::setHighlighted(bool highlighted)
{
    m_highlighted = highlighted;
    if (!highlighted) {
        showIcon(ImageLibrary::named(QStringLiteral("lockmenubar")));
        return;
    }
    // The white glyph over a highlighted background, as a menu bar draws a pressed item: the
    // white glyph alone nearly vanishes on a light panel.
    const QIcon glyph = ImageLibrary::named(QStringLiteral("lockmenubarwhite"));
    const QSize size = glyph.actualSize(QSize(64, 64));
    QPixmap pixmap(size.isEmpty() ? QSize(22, 22) : size);
    pixmap.fill(QColor::fromRgb(highlightColour));
    QPainter painter(&pixmap);
    glyph.paint(&painter, pixmap.rect());
    painter.end();
    showIcon(QIcon(pixmap));
}

void StatusItem::showIcon(const QIcon& icon)
{
    m_trayIcon->setIcon(icon);
    if (m_notifierItem)
        m_notifierItem->setIcon(icon);
}
