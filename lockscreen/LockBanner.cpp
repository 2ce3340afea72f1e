#include "lockscreen/LockBanner.h"

#include <QLabel>
#include <QWidget>

LockBanner::LockBanner(const char* objectName, QString text, unsigned colour, int top)
    : m_objectName(objectName), m_text(std::move(text)), m_colour(colour), m_top(top)
{
}

void LockBanner::show(QWidget* window)
{
    if (!m_label || m_label->parentWidget() != window) {
        delete m_label;
        m_label = new QLabel(m_text, window);
        m_label->setObjectName(QString::fromLatin1(m_objectName));
        m_label->setAlignment(Qt::AlignCenter);
        m_label->setWordWrap(true);
        m_label->setStyleSheet(QStringLiteral("QLabel { background: #%1; color: white; "
                                              "font-size: 16px; padding: 12px; }")
                                   .arg(m_colour, 6, 16, QLatin1Char('0')));
    }
    m_label->setGeometry(0, m_top, window->width(), height);
    m_label->show();
    m_label->raise();
}

void LockBanner::hide()
{
    if (m_label)
        m_label->hide();
}

bool LockBanner::isShown() const
{
    return m_label && m_label->isVisible();
}
