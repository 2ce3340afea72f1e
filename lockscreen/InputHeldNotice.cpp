#include "lockscreen/InputHeldNotice.h"

#include <QLabel>
#include <QWidget>

void InputHeldNotice::show(QWidget* window)
{
    if (!m_label || m_label->parentWidget() != window) {
        delete m_label;
        m_label = new QLabel(QString::fromLatin1(text), window);
        m_label->setObjectName(QStringLiteral("inputHeldNotice"));
        m_label->setAlignment(Qt::AlignCenter);
        m_label->setWordWrap(true);
        m_label->setStyleSheet(QStringLiteral("QLabel { background: #%1; color: white; "
                                              "font-size: 16px; padding: 12px; }")
                                   .arg(colour, 6, 16, QLatin1Char('0')));
    }
    m_label->setGeometry(0, 0, window->width(), 64);
    m_label->show();
    m_label->raise();
}

void InputHeldNotice::hide()
{
    if (m_label)
        m_label->hide();
}

bool InputHeldNotice::isShown() const
{
    return m_label && m_label->isVisible();
}
