#include "ui/ShortPasswordHint.h"

#include <QLineEdit>

ShortPasswordHint::ShortPasswordHint(QLineEdit* field, QWidget* parent, QLineEdit* oldField)
    : QLabel(QString::fromLatin1(warning), parent), m_field(field), m_oldField(oldField)
{
    setObjectName(QStringLiteral("shortPasswordHint"));
    setWordWrap(true);
    setStyleSheet(QStringLiteral("QLabel { color: #a05a00; }"));
    // The place is kept, so that the window does not change size as the password is typed.
    QSizePolicy policy = sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    hide();
    connect(field, &QLineEdit::textChanged, this, &ShortPasswordHint::follow);
    if (oldField)
        connect(oldField, &QLineEdit::textChanged, this, &ShortPasswordHint::follow);
}

void ShortPasswordHint::follow()
{
    const QString password = m_field->text();
    if (password.isEmpty() && m_oldField && !m_oldField->text().isEmpty()) {
        setText(QString::fromLatin1(emptyWarning));
        show();
        return;
    }
    setText(QString::fromLatin1(warning));
    setVisible(!password.isEmpty() && password.size() < minimumLength);
}
