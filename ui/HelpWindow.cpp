#include "ui/HelpWindow.h"

#include <QTextBrowser>
#include <QVBoxLayout>

HelpWindow::HelpWindow(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("help"));
    setWindowTitle(tr("Tessarine Help"));
    auto* text = new QTextBrowser(this);
    text->setObjectName(QStringLiteral("helpText"));
    text->setHtml(
        tr("<h3>Locking</h3>"
           "<p>Click the lock in the tray, press the keyboard shortcut, choose a delay under "
           "<i>Lock After</i>, or run <tt>tessarine lock</tt>.</p>"
           "<h3>Unlocking</h3>"
           "<p>Type the password. With the order setting off (Security), its keys may be typed "
           "in any order, all held together.</p>"
           "<h3>Settings</h3>"
           "<p>Open <i>Preferences...</i> from the tray menu: what the lock screen shows, its "
           "look and animations, the password, the shortcut and a daily lock time.</p>"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    resize(420, 360);
}
