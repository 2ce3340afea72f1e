#include "StartedProgram.h"

#include "ui/CompositorBinding.h"
#include "ui/PreferencesWindow.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QTest>

namespace {
// The session's kind as the environment says it, for one test.
struct Session
{
    Session(const char* type, const char* display)
    {
        setOrUnset("XDG_SESSION_TYPE", type);
        setOrUnset("WAYLAND_DISPLAY", display);
    }
    ~Session()
    {
        qunsetenv("XDG_SESSION_TYPE");
        qunsetenv("WAYLAND_DISPLAY");
    }
    static void setOrUnset(const char* name, const char* value)
    {
        if (value)
            qputenv(name, value);
        else
            qunsetenv(name);
    }
};

struct Opened
{
    explicit Opened(const QString& options = QString())
    {
        library.configure(options);
        program = std::make_unique<StartedProgram>(library.folder(), true);
    }
    PreferencesWindow& window() { return *program->delegate->preferencesWindow(); }
    // What the Shortcuts pane says, as a user reads it: its visible labels and check box.
    QString shortcutsPaneText()
    {
        program->delegate->openPreferences();
        window().toolbarItem(QStringLiteral("Shortcuts"))->trigger();
        return visibleText();
    }
    // The pane as it shows now, without opening the window again (which fills it afresh).
    QString visibleText()
    {
        QWidget* pane = window().shortcutsView();
        QStringList texts;
        for (QLabel* label : pane->findChildren<QLabel*>())
            if (label->isVisible())
                texts.append(label->text());
        for (QCheckBox* box : pane->findChildren<QCheckBox*>())
            if (box->isVisible())
                texts.append(box->text());
        return texts.join(QLatin1Char('\n'));
    }
    TestLibrary library;
    std::unique_ptr<StartedProgram> program;
};

const char* superAltK = "<key>shortcutModifier1</key><integer>256</integer>"
                        "<key>shortcutModifier2</key><integer>2048</integer>"
                        "<key>shortcutString</key><string>K</string>";
} // namespace

class TestWaylandShortcuts : public QObject
{
    Q_OBJECT
private slots:
    void theBindingsFollowTheChosenKeys()
    {
        const QStringList superAlt{QStringLiteral("Super"), QStringLiteral("Alt"),
                                   QStringLiteral("None")};
        QCOMPARE(CompositorBinding::swayLine(superAlt, QStringLiteral("L")),
                 QStringLiteral("bindsym Mod4+Mod1+l exec tessarine lock"));
        QCOMPARE(CompositorBinding::labwcKeybind(superAlt, QStringLiteral("L")),
                 QStringLiteral("<keybind key=\"W-A-l\"><action name=\"Execute\" "
                                "command=\"tessarine lock\"/></keybind>"));
        const QStringList controlShift{QStringLiteral("Control"), QStringLiteral("Shift")};
        QCOMPARE(CompositorBinding::swayLine(controlShift, QStringLiteral("q")),
                 QStringLiteral("bindsym Ctrl+Shift+q exec tessarine lock"));
        QVERIFY(CompositorBinding::labwcKeybind(controlShift, QStringLiteral("q"))
                    .startsWith(QStringLiteral("<keybind key=\"C-S-q\">")));
        // No key chosen yet: the usual one.
        QCOMPARE(CompositorBinding::swayLine(superAlt, QString()),
                 QStringLiteral("bindsym Mod4+Mod1+l exec tessarine lock"));
    }

    void aWaylandSessionShowsTheCompositorBinding()
    {
        Session session("wayland", nullptr);
        Opened o(QString::fromLatin1(superAltK));
        o.window().thirdShortcutModifier()->setCurrentIndex(3); // Shift
        const QString text = o.shortcutsPaneText();
        QVERIFY2(text.contains(QStringLiteral("bindsym Mod4+Mod1+Shift+k exec tessarine lock")),
                 qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("<keybind key=\"W-A-S-k\"><action name=\"Execute\" "
                                              "command=\"tessarine lock\"/></keybind>")),
                 qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("~/.config/sway/config")), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("rc.xml")), qPrintable(text));
        // The controls say they do not act here.
        QVERIFY2(text.contains(QStringLiteral("Lock with a shortcut (not in a Wayland session)")),
                 qPrintable(text));
        QVERIFY(!o.window().shortcutText()->toolTip().isEmpty());
    }

    void theNoteFollowsTheKeyAsItIsTyped()
    {
        Session session(nullptr, "wayland-1");
        Opened o(QString::fromLatin1(superAltK));
        o.shortcutsPaneText();
        o.window().shortcutText()->setText(QStringLiteral("J"));
        o.window().secondShortcutModifier()->setCurrentIndex(0); // None
        const QString text = o.visibleText();
        QVERIFY2(text.contains(QStringLiteral("bindsym Mod4+")), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("+j exec tessarine lock")), qPrintable(text));
        QVERIFY2(!text.contains(QStringLiteral("Mod1+")), qPrintable(text));
        QVERIFY2(!text.contains(QStringLiteral("+k exec")), qPrintable(text));
    }

    void anX11SessionShowsNoNote()
    {
        Session session("x11", nullptr);
        Opened o(QString::fromLatin1(superAltK));
        const QString text = o.shortcutsPaneText();
        QVERIFY2(!text.contains(QStringLiteral("bindsym")), qPrintable(text));
        QVERIFY2(!text.contains(QStringLiteral("Wayland")), qPrintable(text));
        QVERIFY2(text.contains(QStringLiteral("Lock with a shortcut")), qPrintable(text));
        QVERIFY(!o.window().waylandShortcutNote());
        QVERIFY(o.window().shortcutText()->toolTip().isEmpty());
    }
};

QTEST_MAIN(TestWaylandShortcuts)
#include "test_wayland_shortcuts.moc"
