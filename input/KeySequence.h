#pragma once

// The hidden key sequence of the lock screen: Up, Up, Down, Down, Left, Right, Left, Right, B, A
// (by key code). Completing it turns the clock blue.
class KeySequence
{
public:
    // Returns true when this key completes the sequence; the progress then starts again.
    bool konami(int keyCode);
    int progress() const { return m_progress; }
    // Whether a key code takes part in the sequence at all.
    static bool isSequenceKey(int keyCode);

private:
    int m_progress = 0;
};

// Which hand types a key: the digits 1 to 6 and the letters a c d e f g q r s t v w x z are left,
// everything else (b and y too, upper case, other digits and punctuation) is right.
namespace KeyboardSides {
bool isLeftKey(int character);
}
