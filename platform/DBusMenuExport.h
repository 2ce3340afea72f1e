#pragma once

#include <QDBusAbstractAdaptor>
#include <QDBusVariant>
#include <QHash>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QVariantMap>

class QAction;
class QDBusArgument;
class QMenu;

// One item of a menu as com.canonical.dbusmenu lays it out, (ia{sv}av): its id, its properties
// and the items of its submenu, each in a variant.
struct DBusMenuLayout
{
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayout> children;
};

// An item's properties, (ia{sv}), as GetGroupProperties answers and ItemsPropertiesUpdated says.
struct DBusMenuItemProperties
{
    int id = 0;
    QVariantMap properties;
};

// An item's properties that went away, (ias).
struct DBusMenuRemovedProperties
{
    int id = 0;
    QStringList names;
};

// One event of EventGroup, (isvu).
struct DBusMenuEvent
{
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayout& layout);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItemProperties& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItemProperties& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuRemovedProperties& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuRemovedProperties& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuEvent& event);

Q_DECLARE_METATYPE(DBusMenuLayout)
Q_DECLARE_METATYPE(DBusMenuItemProperties)
Q_DECLARE_METATYPE(DBusMenuRemovedProperties)
Q_DECLARE_METATYPE(DBusMenuEvent)

// A QMenu offered over D-Bus as com.canonical.dbusmenu, the way panels that host tray icons
// over D-Bus read a tray icon's menu and draw it themselves. The items are the menu's actions,
// read afresh on each request; choosing one triggers its action. The root item has id 0.
class DBusMenuExport : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    // The adaptor is attached to OWNER, the object registered at the menu's path.
    DBusMenuExport(QMenu* menu, QObject* owner);

    static void registerTypes();

    uint version() const { return 3; }
    QString textDirection() const;
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

    // The properties of an action as the protocol names them.
    static QVariantMap propertiesOf(const QAction* action);

public slots:
    uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                   DBusMenuLayout& layout);
    QList<DBusMenuItemProperties> GetGroupProperties(const QList<int>& ids,
                                                     const QStringList& propertyNames);
    QDBusVariant GetProperty(int id, const QString& name);
    void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    QList<int> EventGroup(const QList<DBusMenuEvent>& events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

signals:
    void ItemsPropertiesUpdated(const QList<DBusMenuItemProperties>& updated,
                                const QList<DBusMenuRemovedProperties>& removed);
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    int idOf(QAction* action);
    QAction* actionOf(int id) const;
    QMenu* menuOf(int id) const;
    void watchMenu(QMenu* menu);
    DBusMenuLayout layoutOf(int id, int depth, const QStringList& names);
    QVariantMap itemProperties(int id, const QStringList& names) const;
    bool handleEvent(int id, const QString& eventId);
    void layoutChanged();

    QPointer<QMenu> m_menu;
    QHash<QAction*, int> m_ids;
    QHash<int, QPointer<QAction>> m_actions;
    int m_nextId = 1;
    uint m_revision = 1;
    bool m_updatePending = false;
};
