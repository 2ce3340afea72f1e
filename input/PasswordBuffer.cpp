#include "input/PasswordBuffer.h"

std::optional<QStringList> PasswordBuffer::s_buffer;
QList<int> PasswordBuffer::s_matchFlags;

void PasswordBuffer::load(std::optional<QStringList> entries)
{
    s_buffer = std::move(entries);
    s_matchFlags = QList<int>(s_buffer ? s_buffer->size() : 0, 0);
}
