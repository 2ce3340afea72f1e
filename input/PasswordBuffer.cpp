#include "input/PasswordBuffer.h"

std::optional<QStringList> PasswordBuffer::s_buffer;
QList<int> PasswordBuffer::s_matchFlags;
bool PasswordBuffer::s_unlocking = false;
double PasswordBuffer::s_lastNudgeTime = 0;

void PasswordBuffer::load(std::optional<QStringList> entries)
{
    s_buffer = std::move(entries);
    s_matchFlags = QList<int>(s_buffer ? s_buffer->size() : 0, 0);
}

void PasswordBuffer::resetPassword()
{
    s_buffer = QStringList();
    s_matchFlags.clear();
}

void PasswordBuffer::addToPassword(const QString& character)
{
    if (!s_buffer)
        s_buffer = QStringList();
    s_buffer->append(character);
    s_matchFlags.append(0);
}

void PasswordBuffer::removeFromPassword()
{
    if (s_buffer && !s_buffer->isEmpty())
        s_buffer->removeLast();
}

void PasswordBuffer::rebuildFrom(const QString& password)
{
    resetPassword();
    for (const QChar unit : password)
        addToPassword(QString(QChar(unit.unicode() & 0xFF)));
}

QString PasswordBuffer::joined()
{
    return s_buffer ? s_buffer->join(QString()) : QString();
}

void PasswordBuffer::clearMatchFlags()
{
    s_matchFlags.fill(0);
}

int PasswordBuffer::matchedCount()
{
    int sum = 0;
    for (int flag : s_matchFlags)
        sum += flag;
    return sum;
}
