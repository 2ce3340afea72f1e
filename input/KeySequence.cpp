#include "input/KeySequence.h"

#include <cstdint>

namespace {
constexpr int up = 126, down = 125, left = 123, right = 124, keyB = 11, keyA = 0;

int expectedAt(int position)
{
    switch (position) {
    case 0:
    case 1:
        return up;
    case 2:
    case 3:
        return down;
    case 4:
    case 6:
        return left;
    case 5:
    case 7:
        return right;
    case 8:
        return keyB;
    default:
        return keyA;
    }
}
} // namespace

bool KeySequence::konami(int keyCode)
{
    if (keyCode == expectedAt(m_progress)) {
        ++m_progress;
    } else {
        // A wrong key starts nothing, not even when it is the sequence's first key.
        m_progress = 0;
        return false;
    }
    if (m_progress < 10)
        return false;
    m_progress = 0;
    return true;
}

bool KeySequence::isSequenceKey(int keyCode)
{
    return keyCode == up || keyCode == down || keyCode == left || keyCode == right ||
           keyCode == keyB || keyCode == keyA;
}

bool KeyboardSides::isLeftKey(int character)
{
    const auto c = static_cast<std::uint32_t>(character);
    if (c >= '1' && c <= '6')
        return true;
    if (c >= 'a' && c <= 'z')
        return (0x02EF007Du >> (c - 'a')) & 1u;
    return false;
}
