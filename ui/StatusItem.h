#pragma once

#include <QObject>

class QMenu;
class QSystemTrayIcon;

// The program's icon in the system tray, with its tool tip and menu.
class StatusItem : public QObject
{
    Q_OBJECT
public:
    static constexpr const char* toolTip = "Right click to open the menu.";

    explicit StatusItem(QObject* parent = nullptr);
    ~StatusItem() override;

    QSystemTrayIcon* trayIcon() const { return m_trayIcon; }
    QMenu* statusMenu() const { return m_statusMenu; }

private:
    QSystemTrayIcon* m_trayIcon = nullptr;
    QMenu* m_statusMenu = nullptr;
};
