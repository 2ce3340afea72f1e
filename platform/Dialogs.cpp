#include "platform/Dialogs.h"

#include <QAbstractButton>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>

void QtDialogs::showAlert(const QString& message, QWidget* window)
{
    auto* box = new QMessageBox(window);
    box->setWindowTitle(QStringLiteral("Tessarine"));
    box->setText(message);
    box->setObjectName(QStringLiteral("alert"));
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(window ? Qt::WindowModal : Qt::NonModal);
    box->show();
}

void QtDialogs::askAsSheet(QWidget* window, const QString& message, const QStringList& buttons,
                           std::function<void(int)> answered)
{
    auto* box = new QMessageBox(window);
    box->setObjectName(QStringLiteral("sheet"));
    box->setWindowTitle(QStringLiteral("Tessarine"));
    box->setText(message);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QList<QAbstractButton*> made;
    for (const QString& title : buttons)
        made.append(box->addButton(title, QMessageBox::AcceptRole));
    if (!made.isEmpty())
        box->setDefaultButton(static_cast<QPushButton*>(made.first()));
    QObject::connect(box, &QMessageBox::buttonClicked, box,
                     [made, answered](QAbstractButton* clicked) {
                         answered(Dialogs::firstButton + int(made.indexOf(clicked)));
                     });
    box->open();
}

void QtDialogs::chooseFile(QWidget* window, const QString& message,
                           std::function<void(std::optional<QString>)> chosen)
{
    auto* panel = new QFileDialog(window);
    panel->setObjectName(QStringLiteral("openPanel"));
    panel->setWindowTitle(message);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setWindowModality(window ? Qt::WindowModal : Qt::NonModal);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(panel, &QFileDialog::finished, panel, [panel, chosen](int result) {
        const QList<QUrl> urls = panel->selectedUrls();
        if (result != QDialog::Accepted || urls.isEmpty())
            chosen(std::nullopt);
        else
            // The URL's absolute string, percent-encoded, as other programs store a file URL.
            chosen(urls.first().toString(QUrl::FullyEncoded));
    });
    panel->open();
}
