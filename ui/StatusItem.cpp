#include "ui/StatusItem.h"

#include "platform/ImageLibrary.h"

#include <QApplication>
#include <QMenu>
#include <QSystemTrayIcon>

StatusItem::StatusItem(QObject* parent) : QObject(parent)
{
    m_statusMenu = new QMenu;
    m_statusMenu->setObjectName(QStringLiteral("statusMenu"));
    QAction* quit = m_statusMenu->addAction(tr("Quit Tessarine"));
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit);

    m_trayIcon = new QSystemTrayIcon(ImageLibrary::named(QStringLiteral("lockmenubar")), this);
    m_trayIcon->setToolTip(QString::fromLatin1(toolTip));
    m_trayIcon->setContextMenu(m_statusMenu);
    m_trayIcon->show();
}

StatusItem::~StatusItem()
{
    delete m_statusMenu;
}
