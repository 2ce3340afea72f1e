#include "ui/FirstPasswordWindow.h"

#include "platform/ImageLibrary.h"
#include "ui/ShortPasswordHint.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

FirstPasswordWindow::FirstPasswordWindow(QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("setPassword"));
    setWindowTitle(QString::fromLatin1(title));
    setWindowIcon(ImageLibrary::named(QStringLiteral("LOCK-2")));

    auto* heading = new QLabel(tr("<b>Choose your password</b>"), this);
    auto* explanation = new QLabel(
        tr("Tessarine shows no password field on the lock screen: you unlock it by typing this "
           "password straight onto it."),
        this);
    explanation->setWordWrap(true);

    m_firstPassword = new QLineEdit(this);
    m_firstPassword->setObjectName(QStringLiteral("firstPassword"));
    m_firstPassword->setEchoMode(QLineEdit::Password);
    m_firstPasswordConfirm = new QLineEdit(this);
    m_firstPasswordConfirm->setObjectName(QStringLiteral("firstPasswordConfirm"));
    m_firstPasswordConfirm->setEchoMode(QLineEdit::Password);

    auto* fields = new QFormLayout;
    fields->addRow(tr("Password:"), m_firstPassword);
    fields->addRow(tr("Confirm:"), m_firstPasswordConfirm);
    fields->addRow(QString(), new ShortPasswordHint(m_firstPassword, this));

    m_saveButton = new QPushButton(tr("Save"), this);
    m_saveButton->setObjectName(QStringLiteral("savePassword"));
    m_saveButton->setDefault(true);
    // Return saves from either field, as in a dialog.
    for (QLineEdit* field : {m_firstPassword, m_firstPasswordConfirm})
        connect(field, &QLineEdit::returnPressed, m_saveButton, &QPushButton::click);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_saveButton);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(explanation);
    layout->addLayout(fields);
    layout->addLayout(buttons);
    setFixedWidth(380);
}

void FirstPasswordWindow::bringToFront()
{
    show();
    raise();
    activateWindow();
    m_firstPassword->setFocus();
}

void FirstPasswordWindow::clearFields()
{
    m_firstPassword->clear();
    m_firstPasswordConfirm->clear();
}
