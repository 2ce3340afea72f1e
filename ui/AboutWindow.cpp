#include "ui/AboutWindow.h"

#include "platform/ImageLibrary.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#ifndef TESSARINE_VERSION
#define TESSARINE_VERSION "0"
#endif

AboutWindow::AboutWindow(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("about"));
    setWindowTitle(tr(title));
    setAttribute(Qt::WA_DeleteOnClose);
    auto* icon = new QLabel(this);
    icon->setPixmap(ImageLibrary::named(QStringLiteral("LOCK-2")).pixmap(96, 96));
    icon->setAlignment(Qt::AlignCenter);
    auto* name = new QLabel(tr("<b>Tessarine</b>"), this);
    name->setAlignment(Qt::AlignCenter);
    auto* version = new QLabel(tr("Version %1").arg(AboutWindow::version()), this);
    version->setObjectName(QStringLiteral("version"));
    version->setAlignment(Qt::AlignCenter);
    auto* purpose = new QLabel(tr("Locks the screen until the password is typed."), this);
    purpose->setAlignment(Qt::AlignCenter);
    auto* licence = new QLabel(tr("Free software under the GNU General Public License, "
                                  "version 3 or later."),
                               this);
    licence->setObjectName(QStringLiteral("licence"));
    licence->setAlignment(Qt::AlignCenter);
    licence->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* site = buttons->addButton(tr("Users Site"), QDialogButtonBox::ActionRole);
    site->setObjectName(QStringLiteral("usersSite"));
    connect(site, &QPushButton::clicked, this, &AboutWindow::usersSiteRequested);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    auto* layout = new QVBoxLayout(this);
    for (QWidget* part : {static_cast<QWidget*>(icon), static_cast<QWidget*>(name),
                          static_cast<QWidget*>(version), static_cast<QWidget*>(purpose),
                          static_cast<QWidget*>(licence), static_cast<QWidget*>(buttons)})
        layout->addWidget(part);
}

QString AboutWindow::version()
{
    return QStringLiteral(TESSARINE_VERSION);
}
