#include "ui/ShortPasswordHint.h"

#include <QLineEdit>

ShortPasswordHint::ShortPasswordHint(QLineEdit* field, QWidget* parent)
    : QLabel(QString::fromLatin1(warning), parent)
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
}

void ShortPasswordHint::follow(const QString& password)
{
    setVisible(!password.isEmpty() && password.size() < minimumLength);
}
