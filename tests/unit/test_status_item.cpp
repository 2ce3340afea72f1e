#include "ui/StatusItem.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTest>

class TestStatusItem : public QObject
{
    Q_OBJECT
private slots:
    void aPlainClickLocks()
    {
        StatusItem item;
        QSignalSpy locks(&item, &StatusItem::lockRequested);
        item.clicked(QSystemTrayIcon::Trigger, Qt::NoModifier);
        QCOMPARE(locks.size(), 1);
        item.clicked(QSystemTrayIcon::Trigger, Qt::ShiftModifier);
        QCOMPARE(locks.size(), 2);
    }

    void aClickWithControlOrSuperOpensTheMenuInstead()
    {
        StatusItem item;
        QSignalSpy locks(&item, &StatusItem::lockRequested);
        item.clicked(QSystemTrayIcon::Trigger, Qt::ControlModifier);
        QTRY_VERIFY(item.statusMenu()->isVisible());
        QVERIFY(item.isHighlighted());
        item.statusMenu()->hide();
        QVERIFY(!item.isHighlighted());
        item.clicked(QSystemTrayIcon::Trigger, Qt::MetaModifier);
        QTRY_VERIFY(item.statusMenu()->isVisible());
        item.statusMenu()->hide();
        QCOMPARE(locks.size(), 0);
    }

    void anEmbeddedIconLocksOnAReleaseOverIt()
    {
        StatusItem item;
        QSignalSpy locks(&item, &StatusItem::lockRequested);
        QVERIFY(item.mouseDown(Qt::LeftButton, Qt::NoModifier));
        QVERIFY(item.isHighlighted());
        QCOMPARE(locks.size(), 0);
        QVERIFY(item.mouseUp(Qt::LeftButton, true));
        QVERIFY(!item.isHighlighted());
        QCOMPARE(locks.size(), 1);
    }

    void aPressDraggedOffTheIconDoesNotLock()
    {
        StatusItem item;
        QSignalSpy locks(&item, &StatusItem::lockRequested);
        item.mouseDown(Qt::LeftButton, Qt::NoModifier);
        item.mouseUp(Qt::LeftButton, false);
        QCOMPARE(locks.size(), 0);
        QVERIFY(!item.isHighlighted());
    }

    void aControlPressOnTheEmbeddedIconOpensTheMenu()
    {
        StatusItem item;
        QSignalSpy locks(&item, &StatusItem::lockRequested);
        item.mouseDown(Qt::LeftButton, Qt::ControlModifier);
        QTRY_VERIFY(item.statusMenu()->isVisible());
        item.mouseUp(Qt::LeftButton, true);
        QCOMPARE(locks.size(), 0);
        QVERIFY(item.isHighlighted()); // while the menu is open
        item.statusMenu()->hide();
        QVERIFY(!item.isHighlighted());
        QVERIFY(!item.mouseDown(Qt::RightButton, Qt::NoModifier));
    }

    void aRightClickLeavesTheMenuToTheTray()
    {
        StatusItem item;
        QSignalSpy locks(&item, &StatusItem::lockRequested);
        item.clicked(QSystemTrayIcon::Context, Qt::NoModifier);
        item.clicked(QSystemTrayIcon::Context, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(locks.size(), 0);
        QCOMPARE(item.trayIcon()->contextMenu(), item.statusMenu());
    }

    void theMenuHoldsItsItems()
    {
        StatusItem item;
        QStringList titles;
        for (QAction* action : item.statusMenu()->actions())
            if (!action->isSeparator())
                titles << action->text();
        QCOMPARE(titles,
                 QStringList({"Lock Screen", "Lock After", "Preferences...", "About Tessarine",
                              "Help", "Tessarine Users Site", "Quit Tessarine"}));
        QSignalSpy locks(&item, &StatusItem::lockRequested);
        item.statusMenu()->actions().first()->trigger();
        QCOMPARE(locks.size(), 1);
    }

    void preferencesOpensTheWindow()
    {
        StatusItem item;
        QAction* preferences = item.statusMenu()->findChild<QAction*>("preferencesItem");
        QVERIFY(preferences);
        QCOMPARE(preferences->text(), QStringLiteral("Preferences..."));
        QVERIFY(preferences->isEnabled());
        QSignalSpy opens(&item, &StatusItem::preferencesRequested);
        preferences->trigger();
        QCOMPARE(opens.size(), 1);
    }

    void aboutAndHelpAreOffered()
    {
        StatusItem item;
        QSignalSpy abouts(&item, &StatusItem::aboutRequested);
        QSignalSpy helps(&item, &StatusItem::helpRequested);
        item.statusMenu()->findChild<QAction*>("aboutItem")->trigger();
        item.statusMenu()->findChild<QAction*>("helpItem")->trigger();
        QCOMPARE(abouts.size(), 1);
        QCOMPARE(helps.size(), 1);
    }
};

QTEST_MAIN(TestStatusItem)
#include "test_status_item.moc"
