#include "ui/StatusItem.h"

#include "platform/ImageLibrary.h"

#include <QApplication>
#include <QCursor>
#include <QMenu>

StatusItem::StatusItem(QObject* parent) : QObject(parent)
{
    m_statusMenu = new QMenu;
    m_statusMenu->setObjectName(QStringLiteral("statusMenu"));
    QAction* lockNow = m_statusMenu->addAction(tr("Lock Screen"));
    connect(lockNow, &QAction::triggered, this, &StatusItem::lockRequested);
    // Its entries, and the three items below, come with the parts of the program they open.
    auto* lockout = new QMenu(tr("Lock After"), m_statusMenu);
    m_lockoutItem = m_statusMenu->addMenu(lockout);
    m_lockoutItem->setEnabled(false);
    m_statusMenu->addSeparator();
    for (const QString& title : {tr("Preferences..."), tr("About Tessarine"), tr("Help")})
        m_statusMenu->addAction(title)->setEnabled(false);
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
}

StatusItem::~StatusItem()
{
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

void StatusItem::popUpMenu()
{
    m_statusMenu->popup(QCursor::pos());
}

void StatusItem::setHighlighted(bool highlighted)
{
    m_highlighted = highlighted;
    m_trayIcon->setIcon(ImageLibrary::named(highlighted ? QStringLiteral("lockmenubarwhite")
                                                        : QStringLiteral("lockmenubar")));
}
