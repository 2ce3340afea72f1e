#include "platform/DBusMenuExport.h"
#include "platform/StatusNotifierItem.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QPixmap>
#include <QSignalSpy>
#include <QTest>

namespace {
// The labels of a layout's items, a separator as "-", a submenu's items indented.
QStringList labels(const DBusMenuLayout& layout, const QString& indent = QString())
{
    QStringList lines;
    for (const DBusMenuLayout& child : layout.children) {
        const bool separator =
            child.properties.value(QStringLiteral("type")).toString() == QLatin1String("separator");
        lines.append(indent + (separator ? QStringLiteral("-")
                                         : child.properties.value("label").toString()));
        lines.append(labels(child, indent + QStringLiteral("  ")));
    }
    return lines;
}

const DBusMenuLayout* itemLabelled(const DBusMenuLayout& layout, const QString& label)
{
    for (const DBusMenuLayout& child : layout.children) {
        if (child.properties.value(QStringLiteral("label")) == label)
            return &child;
        if (const DBusMenuLayout* found = itemLabelled(child, label))
            return found;
    }
    return nullptr;
}

struct TrayMenu
{
    TrayMenu()
    {
        lockNow = menu.addAction(QStringLiteral("Lock Screen"));
        auto* after = new QMenu(QStringLiteral("Lock After"), &menu);
        auto* delays = new QActionGroup(after);
        for (const char* delay : {"5 minutes", "10 minutes"}) {
            QAction* item = after->addAction(QString::fromLatin1(delay));
            item->setCheckable(true);
            delays->addAction(item);
        }
        after->actions().at(1)->setChecked(true);
        menu.addMenu(after);
        menu.addSeparator();
        menu.addAction(QStringLiteral("&Preferences..."));
        disabled = menu.addAction(QStringLiteral("Quit Tessarine"));
        disabled->setEnabled(false);
    }
    QMenu menu;
    QAction* lockNow = nullptr;
    QAction* disabled = nullptr;
    QObject owner;
    DBusMenuExport* exported = new DBusMenuExport(&menu, &owner);
};
} // namespace

class TestStatusNotifier : public QObject
{
    Q_OBJECT
private slots:
    void theLayoutIsTheMenus()
    {
        TrayMenu t;
        DBusMenuLayout layout;
        t.exported->GetLayout(0, -1, {}, layout);
        QCOMPARE(labels(layout),
                 QStringList({"Lock Screen", "Lock After", "  5 minutes", "  10 minutes", "-",
                              "_Preferences...", "Quit Tessarine"}));
        const DBusMenuLayout* after = itemLabelled(layout, QStringLiteral("Lock After"));
        QVERIFY(after);
        QCOMPARE(after->properties.value("children-display").toString(), QStringLiteral("submenu"));
        const DBusMenuLayout* chosen = itemLabelled(layout, QStringLiteral("10 minutes"));
        QVERIFY(chosen);
        QCOMPARE(chosen->properties.value("toggle-type").toString(), QStringLiteral("radio"));
        QCOMPARE(chosen->properties.value("toggle-state").toInt(), 1);
        QCOMPARE(itemLabelled(layout, QStringLiteral("5 minutes"))
                     ->properties.value("toggle-state")
                     .toInt(),
                 0);
        QCOMPARE(itemLabelled(layout, QStringLiteral("Quit Tessarine"))
                     ->properties.value("enabled", true)
                     .toBool(),
                 false);
        // Depth 1: the submenu's items are left out.
        DBusMenuLayout shallow;
        t.exported->GetLayout(0, 1, {}, shallow);
        QCOMPARE(labels(shallow).size(), 5);
    }

    void clickedTriggersTheItemOnce()
    {
        TrayMenu t;
        QSignalSpy locks(t.lockNow, &QAction::triggered);
        QSignalSpy quits(t.disabled, &QAction::triggered);
        DBusMenuLayout layout;
        t.exported->GetLayout(0, -1, {}, layout);
        t.exported->Event(itemLabelled(layout, "Lock Screen")->id, QStringLiteral("clicked"),
                          QDBusVariant(0), 0);
        t.exported->Event(itemLabelled(layout, "Quit Tessarine")->id, QStringLiteral("clicked"),
                          QDBusVariant(0), 0);
        // An id the menu never gave: nothing, and EventGroup reports it.
        QCOMPARE(t.exported->EventGroup({{9999, QStringLiteral("clicked"), QDBusVariant(0), 0}}),
                 QList<int>{9999});
        QTRY_COMPARE(locks.count(), 1);
        QTest::qWait(50);
        QCOMPARE(locks.count(), 1);
        QCOMPARE(quits.count(), 0); // disabled
    }

    void aChangedMenuIsAnnouncedOnce()
    {
        TrayMenu t;
        QSignalSpy updates(t.exported, &DBusMenuExport::LayoutUpdated);
        DBusMenuLayout before;
        const uint revision = t.exported->GetLayout(0, -1, {}, before);
        t.menu.addAction(QStringLiteral("Help"));
        t.menu.addAction(QStringLiteral("About Tessarine"));
        QTRY_COMPARE(updates.count(), 1);
        DBusMenuLayout after;
        QVERIFY(t.exported->GetLayout(0, -1, {}, after) > revision);
        QVERIFY(labels(after).contains(QStringLiteral("Help")));
    }

    void theIconIsSentAsNetworkOrderArgb()
    {
        QPixmap red(22, 22);
        red.fill(QColor(255, 0, 0));
        const NotifierPixmaps pixmaps = StatusNotifierItemAdaptor::pixmapsOf(QIcon(red));
        QVERIFY(!pixmaps.isEmpty());
        for (const NotifierPixmap& pixmap : pixmaps) {
            QCOMPARE(pixmap.pixels.size(), pixmap.width * pixmap.height * 4);
            QCOMPARE(quint8(pixmap.pixels.at(0)), quint8(255)); // alpha
            QCOMPARE(quint8(pixmap.pixels.at(1)), quint8(255)); // red
            QCOMPARE(quint8(pixmap.pixels.at(2)), quint8(0));
            QCOMPARE(quint8(pixmap.pixels.at(3)), quint8(0));
        }
    }
};

QTEST_MAIN(TestStatusNotifier)
#include "test_status_notifier.moc"
