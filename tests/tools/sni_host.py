#!/usr/bin/python3
"""A panel's tray as tests see it: org.kde.StatusNotifierWatcher and a host on the session bus,
and the host's requests to the registered items.

  sni_host.py watch           owns the watcher and registers a host; prints "registered NAME"
                              and "unregistered NAME" as items come and go
  sni_host.py items           the registered items, one a line
  sni_host.py properties      the first item's properties as key=value lines (IconPixmap as
                              WIDTHxHEIGHT:OPAQUE-PIXELS for each size)
  sni_host.py activate        calls Activate(10, 10) on the first item
  sni_host.py menu            the first item's menu from com.canonical.dbusmenu GetLayout, one
                              item a line, indented by depth ("-" for a separator)
  sni_host.py click LABEL     sends the menu item with that label the "clicked" event
"""
import sys

import dbus
import dbus.service

WATCHER = "org.kde.StatusNotifierWatcher"
WATCHER_PATH = "/StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
PROPERTIES = "org.freedesktop.DBus.Properties"


class Watcher(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, WATCHER_PATH)
        self.bus = bus
        self.items = []
        self.hosts = []
        bus.add_signal_receiver(self.name_owner_changed, "NameOwnerChanged",
                                "org.freedesktop.DBus")

    def name_owner_changed(self, name, old, new):
        if new:
            return
        for item in list(self.items):
            if item.split("/")[0] == name:
                self.items.remove(item)
                print("unregistered", item, flush=True)
                self.StatusNotifierItemUnregistered(item)

    @dbus.service.method(WATCHER, in_signature="s", sender_keyword="sender")
    def RegisterStatusNotifierItem(self, service, sender=None):
        # An item names its bus name, or its object path on the sender's connection.
        if service.startswith("/"):
            item = sender + service
        else:
            item = service + "/StatusNotifierItem"
        if item not in self.items:
            self.items.append(item)
            print("registered", item, flush=True)
            self.StatusNotifierItemRegistered(item)

    @dbus.service.method(WATCHER, in_signature="s")
    def RegisterStatusNotifierHost(self, service):
        if service not in self.hosts:
            self.hosts.append(service)
            self.StatusNotifierHostRegistered()

    @dbus.service.signal(WATCHER, signature="s")
    def StatusNotifierItemRegistered(self, item):
        pass

    @dbus.service.signal(WATCHER, signature="s")
    def StatusNotifierItemUnregistered(self, item):
        pass

    @dbus.service.signal(WATCHER, signature="")
    def StatusNotifierHostRegistered(self):
        pass

    def properties(self):
        return {
            "RegisteredStatusNotifierItems": dbus.Array(self.items, signature="s"),
            "IsStatusNotifierHostRegistered": dbus.Boolean(bool(self.hosts)),
            "ProtocolVersion": dbus.Int32(0),
        }

    @dbus.service.method(PROPERTIES, in_signature="ss", out_signature="v")
    def Get(self, interface, name):
        return self.properties()[name]

    @dbus.service.method(PROPERTIES, in_signature="s", out_signature="a{sv}")
    def GetAll(self, interface):
        return self.properties()

    @dbus.service.method("org.freedesktop.DBus.Introspectable", out_signature="s")
    def Introspect(self):
        return """<node><interface name="org.kde.StatusNotifierWatcher">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
<property name="RegisteredStatusNotifierItems" type="as" access="read"/>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
<property name="ProtocolVersion" type="i" access="read"/>
<signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
<signal name="StatusNotifierItemUnregistered"><arg type="s"/></signal>
<signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


def watch():
    from dbus.mainloop.glib import DBusGMainLoop
    from gi.repository import GLib

    DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    watcher = Watcher(bus)
    # The host first, as a panel that starts its tray has one: Qt looks for a registered host.
    host = "org.kde.StatusNotifierHost-%d" % __import__("os").getpid()
    bus.request_name(host)
    watcher.RegisterStatusNotifierHost(host)
    name = dbus.service.BusName(WATCHER, bus, do_not_queue=True)
    print("ready", flush=True)
    GLib.MainLoop().run()
    del name


def first_item(bus):
    watcher = bus.get_object(WATCHER, WATCHER_PATH)
    items = watcher.Get(WATCHER, "RegisteredStatusNotifierItems", dbus_interface=PROPERTIES)
    if not items:
        sys.exit("no item is registered")
    service, _, path = str(items[0]).partition("/")
    return bus.get_object(service, "/" + path), service


def opaque_pixels(data):
    return sum(1 for i in range(0, len(data), 4) if data[i] != 0)


def show_properties(bus):
    item, _ = first_item(bus)
    props = item.GetAll(ITEM, dbus_interface=PROPERTIES)
    for key in ("Id", "Title", "Category", "Status", "IconName", "Menu", "ItemIsMenu"):
        print("%s=%s" % (key, props.get(key, "")))
    sizes = []
    for width, height, data in props.get("IconPixmap", []):
        if len(data) != width * height * 4:
            sizes.append("%dx%d:bad-length-%d" % (width, height, len(data)))
        else:
            sizes.append("%dx%d:%d" % (width, height, opaque_pixels(bytes(data))))
    print("IconPixmap=%s" % " ".join(sizes))
    tip = props.get("ToolTip")
    if tip:
        print("ToolTip=%s|%s" % (tip[2], tip[3]))


def menu_object(bus):
    item, service = first_item(bus)
    path = item.Get(ITEM, "Menu", dbus_interface=PROPERTIES)
    return bus.get_object(service, path)


def layout(bus):
    menu = menu_object(bus)
    revision, root = menu.GetLayout(0, -1, dbus.Array([], signature="s"),
                                    dbus_interface=MENU)
    return menu, root


def walk(node, depth=0):
    for child in node[2]:
        ident, props = int(child[0]), child[1]
        if props.get("visible", True) is False:
            continue
        label = "-" if props.get("type") == "separator" else str(props.get("label", ""))
        yield ident, depth, label
        yield from walk(child, depth + 1)


def show_menu(bus):
    _, root = layout(bus)
    for _, depth, label in walk(root):
        print("  " * depth + label)


def click(bus, wanted):
    menu, root = layout(bus)
    for ident, _, label in walk(root):
        if label.replace("_", "") == wanted:
            menu.Event(ident, "clicked", dbus.Int32(0, variant_level=1), dbus.UInt32(0),
                       dbus_interface=MENU)
            return
    sys.exit("no item labelled %r" % wanted)


def main():
    command = sys.argv[1] if len(sys.argv) > 1 else ""
    if command == "watch":
        return watch()
    bus = dbus.SessionBus()
    if command == "items":
        watcher = bus.get_object(WATCHER, WATCHER_PATH)
        for item in watcher.Get(WATCHER, "RegisteredStatusNotifierItems",
                                dbus_interface=PROPERTIES):
            print(item)
    elif command == "properties":
        show_properties(bus)
    elif command == "activate":
        item, _ = first_item(bus)
        item.Activate(dbus.Int32(10), dbus.Int32(10), dbus_interface=ITEM)
    elif command == "menu":
        show_menu(bus)
    elif command == "click":
        click(bus, sys.argv[2])
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
