#include "input/PasswordRules.h"

#include <algorithm>

void PasswordRules::clear(Flags& flags)
{
    std::fill(flags.begin(), flags.end(), 0);
}

bool PasswordRules::matchInOrder(const Buffer* buffer, Flags& flags, const std::u16string& key)
{
    size_t position = 0;
    while (position < flags.size() && flags[position] != 0)
        ++position;
    if (!buffer) {
        // No password file: nothing to compare with, so the key is a mismatch.
        clear(flags);
        return true;
    }
    // A position past the end (an empty password, say) abandons the press: no unlock, no nudge.
    if (position >= buffer->size())
        return false;
    if (key == (*buffer)[position])
        flags[position] = 1;
    else
        // The mismatching key is not tried again as the first character: "aab" typed as
        // a, a, a, b fails. A simple restart, kept on purpose.
        clear(flags);
    return true;
}

void PasswordRules::matchChord(const Buffer* buffer, Flags& flags, const std::u16string& key,
                               double now, double& lastTime)
{
    if (!buffer)
        return;
    bool seenMatched = false;
    for (size_t i = 0; i < buffer->size(); ++i) {
        const bool equal = key == (*buffer)[i];
        const int flag = i < flags.size() ? flags[i] : 0;
        if (equal && flag == 0) {
            if (lastTime != 0 && now - lastTime >= chordWindowSeconds)
                clear(flags); // too late: this key starts a new chord
            if (i < flags.size())
                flags[i] = 1;
            lastTime = now;
            return;
        }
        if (equal && flag == 1) {
            seenMatched = true;
        } else if (!seenMatched && i == buffer->size() - 1) {
            // A key that is not in the password at all clears the chord.
            clear(flags);
            lastTime = 0;
        }
    }
}

bool PasswordRules::isComplete(const Buffer* buffer, const Flags& flags)
{
    long sum = 0;
    for (int flag : flags)
        sum += flag;
    return sum == static_cast<long>(buffer ? buffer->size() : 0);
}
