#pragma once

#include <string>
#include <vector>

// The two rules by which typed keys match the stored password, without Qt: the lock screen and
// the guard process both match with these, so that a password opens either in the same way.
//
// The password is one string per position (a null buffer: no password file was read); the
// flags say which positions are matched, and may be one entry longer than the buffer after a
// character was removed.
namespace PasswordRules {

inline constexpr double chordWindowSeconds = 1.0;

using Buffer = std::vector<std::u16string>;
using Flags = std::vector<int>;

// In order: the first unmatched position must be the key, or every flag is cleared. Returns
// false when the press must be abandoned (the first unmatched position lies past the end).
bool matchInOrder(const Buffer* buffer, Flags& flags, const std::u16string& key);

// In any order, as a chord: the key takes the first free position holding it, within a second
// of the previous accepted key (later, the chord starts again with this key); a key that is not
// in the password at all clears the chord. lastTime is the previous accepted key's time, 0 when
// no chord is in progress; now is the current time on the same scale.
void matchChord(const Buffer* buffer, Flags& flags, const std::u16string& key, double now,
                double& lastTime);

// Every position is matched: the sum of the flags is the buffer's length (0 when absent).
bool isComplete(const Buffer* buffer, const Flags& flags);

void clear(Flags& flags);

} // namespace PasswordRules
