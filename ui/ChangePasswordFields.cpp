#include "ui/ChangePasswordFields.h"

#include "ui/ShortPasswordHint.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {
QLineEdit* secureField(QWidget* parent, const char* name)
{
    auto* field = new QLineEdit(parent);
    field->setObjectName(QString::fromLatin1(name));
    field->setEchoMode(QLineEdit::Password);
    return field;
}
} // namespace

ChangePasswordFields::ChangePasswordFields(QWidget* parent) : QWidget(parent)
{
    m_oldPassword = secureField(this, "oldPassword");
    m_nextPassword = secureField(this, "nextPassword");
    m_confirmNewPassword = secureField(this, "confirmNewPassword");
    m_saveButton = new QPushButton(tr("Change Password"), this);
    m_saveButton->setObjectName(QStringLiteral("savePassword"));

    auto* fields = new QFormLayout;
    fields->addRow(tr("Current password:"), m_oldPassword);
    fields->addRow(tr("New password:"), m_nextPassword);
    fields->addRow(tr("Confirm:"), m_confirmNewPassword);
    fields->addRow(QString(), new ShortPasswordHint(m_nextPassword, this, m_oldPassword));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_saveButton);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(fields);
    layout->addLayout(buttons);
}

void ChangePasswordFields::clearFields()
{
    m_oldPassword->clear();
    m_nextPassword->clear();
    m_confirmNewPassword->clear();
}
