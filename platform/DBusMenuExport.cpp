#include "platform/DBusMenuExport.h"

#include <QAction>
#include <QActionGroup>
#include <QDBusArgument>
#include <QDBusMetaType>
#include <QEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QTimer>

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayout& layout)
{
    argument.beginStructure();
    argument << layout.id << layout.properties;
    argument.beginArray(qMetaTypeId<QDBusVariant>());
    for (const DBusMenuLayout& child : layout.children)
        argument << QDBusVariant(QVariant::fromValue(child));
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayout& layout)
{
    argument.beginStructure();
    argument >> layout.id >> layout.properties;
    argument.beginArray();
    layout.children.clear();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        layout.children.append(qdbus_cast<DBusMenuLayout>(child.variant()));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItemProperties& item)
{
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItemProperties& item)
{
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuRemovedProperties& item)
{
    argument.beginStructure();
    argument << item.id << item.names;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuRemovedProperties& item)
{
    argument.beginStructure();
    argument >> item.id >> item.names;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuEvent& event)
{
    argument.beginStructure();
    argument << event.id << event.eventId << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuEvent& event)
{
    argument.beginStructure();
    argument >> event.id >> event.eventId >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

DBusMenuExport::DBusMenuExport(QMenu* menu, QObject* owner)
    : QDBusAbstractAdaptor(owner), m_menu(menu)
{
    registerTypes();
    watchMenu(menu);
}

void DBusMenuExport::registerTypes()
{
    qDBusRegisterMetaType<DBusMenuLayout>();
    qDBusRegisterMetaType<DBusMenuItemProperties>();
    qDBusRegisterMetaType<QList<DBusMenuItemProperties>>();
    qDBusRegisterMetaType<DBusMenuRemovedProperties>();
    qDBusRegisterMetaType<QList<DBusMenuRemovedProperties>>();
    qDBusRegisterMetaType<DBusMenuEvent>();
    qDBusRegisterMetaType<QList<DBusMenuEvent>>();
}

QString DBusMenuExport::textDirection() const
{
    return QGuiApplication::isRightToLeft() ? QStringLiteral("rtl") : QStringLiteral("ltr");
}

QVariantMap DBusMenuExport::propertiesOf(const QAction* action)
{
    QVariantMap properties;
    if (!action->isVisible())
        properties.insert(QStringLiteral("visible"), false);
    if (action->isSeparator()) {
        properties.insert(QStringLiteral("type"), QStringLiteral("separator"));
        return properties;
    }
    // The protocol marks a mnemonic with an underscore where Qt uses an ampersand.
    QString label = action->text();
    label.replace(QLatin1Char('_'), QStringLiteral("__"));
    label.replace(QStringLiteral("&&"), QStringLiteral("\x01"));
    label.replace(QLatin1Char('&'), QLatin1Char('_'));
    label.replace(QLatin1Char('\x01'), QLatin1Char('&'));
    properties.insert(QStringLiteral("label"), label);
    if (!action->isEnabled())
        properties.insert(QStringLiteral("enabled"), false);
    if (action->menu())
        properties.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    if (action->isCheckable()) {
        const bool exclusive = action->actionGroup() && action->actionGroup()->isExclusive();
        properties.insert(QStringLiteral("toggle-type"),
                          exclusive ? QStringLiteral("radio") : QStringLiteral("checkmark"));
        properties.insert(QStringLiteral("toggle-state"), action->isChecked() ? 1 : 0);
    }
    return properties;
}

int DBusMenuExport::idOf(QAction* action)
{
    const auto known = m_ids.constFind(action);
    if (known != m_ids.constEnd())
        return *known;
    const int id = m_nextId++;
    m_ids.insert(action, id);
    m_actions.insert(id, action);
    // An id is never reused: a host holding an old id then reaches nothing, not another item.
    connect(action, &QObject::destroyed, this, [this, action, id] {
        m_ids.remove(action);
        m_actions.remove(id);
    });
    return id;
}

QAction* DBusMenuExport::actionOf(int id) const
{
    return m_actions.value(id);
}

QMenu* DBusMenuExport::menuOf(int id) const
{
    if (id == 0)
        return m_menu;
    QAction* action = actionOf(id);
    return action ? action->menu() : nullptr;
}

void DBusMenuExport::watchMenu(QMenu* menu)
{
    // Installing the same filter again does not call it twice.
    if (menu)
        menu->installEventFilter(this);
}

bool DBusMenuExport::eventFilter(QObject* watched, QEvent* event)
{
    Q_UNUSED(watched);
    const QEvent::Type type = event->type();
    if (type == QEvent::ActionAdded || type == QEvent::ActionRemoved ||
        type == QEvent::ActionChanged)
        layoutChanged();
    return false;
}

void DBusMenuExport::layoutChanged()
{
    // The items of a menu change in bursts (the delays of a submenu are added one by one): the
    // host is told once, when the burst is over.
    if (m_updatePending)
        return;
    m_updatePending = true;
    QTimer::singleShot(0, this, [this] {
        m_updatePending = false;
        ++m_revision;
        emit LayoutUpdated(m_revision, 0);
    });
}

QVariantMap DBusMenuExport::itemProperties(int id, const QStringList& names) const
{
    QVariantMap properties;
    if (id == 0) {
        properties.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    } else if (QAction* action = actionOf(id)) {
        properties = propertiesOf(action);
    }
    if (names.isEmpty())
        return properties;
    QVariantMap chosen;
    for (const QString& name : names)
        if (properties.contains(name))
            chosen.insert(name, properties.value(name));
    return chosen;
}

DBusMenuLayout DBusMenuExport::layoutOf(int id, int depth, const QStringList& names)
{
    DBusMenuLayout layout;
    layout.id = id;
    layout.properties = itemProperties(id, names);
    QMenu* menu = menuOf(id);
    if (!menu || depth == 0)
        return layout;
    watchMenu(menu);
    const QList<QAction*> actions = menu->actions();
    for (QAction* action : actions)
        layout.children.append(layoutOf(idOf(action), depth < 0 ? depth : depth - 1, names));
    return layout;
}

uint DBusMenuExport::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                               DBusMenuLayout& layout)
{
    layout = layoutOf(parentId, recursionDepth, propertyNames);
    return m_revision;
}

QList<DBusMenuItemProperties> DBusMenuExport::GetGroupProperties(const QList<int>& ids,
                                                                 const QStringList& propertyNames)
{
    QList<DBusMenuItemProperties> items;
    for (int id : ids)
        if (id == 0 || actionOf(id))
            items.append({id, itemProperties(id, propertyNames)});
    return items;
}

QDBusVariant DBusMenuExport::GetProperty(int id, const QString& name)
{
    return QDBusVariant(itemProperties(id, {name}).value(name));
}

bool DBusMenuExport::handleEvent(int id, const QString& eventId)
{
    QAction* action = actionOf(id);
    if (id != 0 && !action)
        return false;
    if (eventId == QLatin1String("clicked") && action && action->isEnabled() && !action->menu()) {
        // Triggered after the reply has gone: the action may lock the screen, and the host
        // waits for the answer meanwhile.
        QTimer::singleShot(0, action, [action] { action->trigger(); });
    } else if (eventId == QLatin1String("opened")) {
        if (QMenu* menu = menuOf(id))
            emit menu->aboutToShow();
    } else if (eventId == QLatin1String("closed")) {
        if (QMenu* menu = menuOf(id))
            emit menu->aboutToHide();
    }
    return true;
}

void DBusMenuExport::Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp)
{
    Q_UNUSED(data);
    Q_UNUSED(timestamp);
    handleEvent(id, eventId);
}

QList<int> DBusMenuExport::EventGroup(const QList<DBusMenuEvent>& events)
{
    QList<int> idErrors;
    for (const DBusMenuEvent& event : events)
        if (!handleEvent(event.id, event.eventId))
            idErrors.append(event.id);
    return idErrors;
}

bool DBusMenuExport::AboutToShow(int id)
{
    Q_UNUSED(id);
    // The layout is read from the menus on each request: it is never stale.
    return false;
}

QList<int> DBusMenuExport::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors)
{
    for (int id : ids)
        if (id != 0 && !actionOf(id))
            idErrors.append(id);
    return {};
}
