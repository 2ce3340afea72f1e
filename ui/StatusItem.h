#pragma once

#include <QObject>
#include <QSystemTrayIcon>

class QAction;
class QMenu;
class StatusNotifierItem;

// The program's icon in the system tray. A plain click locks; a right click, or a click with
// Control or Super held, opens the menu. The icon is drawn highlighted while the menu is open.
class StatusItem : public QObject
{
    Q_OBJECT
public:
    static constexpr const char* toolTip = "Right click to open the menu.";
    // The background of the icon while it is pressed or its menu is open.
    static constexpr unsigned highlightColour = 0x3875d7;

    explicit StatusItem(QObject* parent = nullptr);
    ~StatusItem() override;

    QSystemTrayIcon* trayIcon() const { return m_trayIcon; }
    QMenu* statusMenu() const { return m_statusMenu; }
    QAction* lockoutItem() const { return m_lockoutItem; }
    // The icon offered to panels that host tray icons over D-Bus.
    StatusNotifierItem* notifierItem() const { return m_notifierItem; }
    bool isHighlighted() const { return m_highlighted; }

    // A click on the icon with the modifiers held at the time, as the tray reports it.
    void clicked(QSystemTrayIcon::ActivationReason reason, Qt::KeyboardModifiers modifiers);
    // The button of an icon embedded in an X tray: a plain press highlights, and the release
    // locks when it is still over the icon; with Control or Super held the press opens the
    // menu. Returns true when the event was handled here.
    bool mouseDown(Qt::MouseButton button, Qt::KeyboardModifiers modifiers);
    bool mouseUp(Qt::MouseButton button, bool insideIcon);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

signals:
    void lockRequested();
    void preferencesRequested();
    void aboutRequested();
    void helpRequested();
    void usersSiteRequested();

private:
    void setHighlighted(bool highlighted);
    void popUpMenu();
    void showIcon(const QIcon& icon);

    QSystemTrayIcon* m_trayIcon = nullptr;
    QMenu* m_statusMenu = nullptr;
    QAction* m_lockoutItem = nullptr;
    StatusNotifierItem* m_notifierItem = nullptr;
    bool m_highlighted = false;
};
