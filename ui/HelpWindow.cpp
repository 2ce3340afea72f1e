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
           "<p>Click the padlock in the tray, press the keyboard shortcut (Super+Alt+L unless you "
           "chose another under <i>Shortcuts</i>), choose a delay under <i>Lock After</i> in the "
           "tray menu, or let the daily lock time of <i>General</i> do it. With <i>Lock on "
           "wake</i>, the screen is locked before the computer sleeps.</p>"
           "<h3>Unlocking: the password without a field</h3>"
           "<p>There is no field to click into: just type the password on the lock screen. Each "
           "key is checked as it arrives; a key that does not fit nudges the screen, and when "
           "every key has been typed the desktop comes back.</p>"
           "<p>When <i>The order in which the keys are typed matters</i> is off (<i>Security</i>), "
           "the password works as a chord: its keys may come in any order, even all held "
           "together. For a field to type the whole password into, click the do-not-disturb "
           "button on the lock screen.</p>"
           "<h3>Locking from elsewhere</h3>"
           "<p>From a script, another program or an ssh login as you:</p>"
           "<pre>tessarine lock</pre>"
           "<p>or over D-Bus:</p>"
           "<pre>busctl --user set-property org.tessarine.Tessarine \\\n"
           "    /org/tessarine/Tessarine org.tessarine.Tessarine lock i 1</pre>"
           "<h3>Unread mail</h3>"
           "<p>While the screen is locked, the script <tt>Mail</tt> in Tessarine's scripts folder "
           "(<tt>share/tessarine/scripts</tt> beside the program's <tt>bin</tt> folder) runs every "
           "four seconds and reports the count with <tt>tessarine mail N</tt>; the one that comes "
           "with Tessarine counts the unread messages of <tt>$MAILDIR</tt> (else "
           "<tt>~/Maildir</tt>). To count another way, replace it with any executable of the same "
           "name that ends by running <tt>tessarine mail</tt> with its count, or report the count "
           "from elsewhere the same way. <i>Show unread mail</i> (<i>General</i>) shows the "
           "badge.</p>"
           "<h3>Settings</h3>"
           "<p>Open <i>Preferences...</i> from the tray menu: what the lock screen shows, its "
           "look and animations, the password, the shortcut, a daily lock time and opening at "
           "login. Every change is saved at once.</p>"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    resize(520, 480);
}
