#pragma once

#include <cstdint>
#include <string>

struct xkb_compose_state;
struct xkb_compose_table;
struct xkb_context;

// Dead keys and the Compose key on the lock screen, composed as the password windows compose
// them (Qt's compose input context reads the same tables): xkbcommon's compose table for the
// user's locale, fed the keysym of every key pressed. A dead acute then an "e" types "é", so a
// password saved with an accent can be typed back on the lock screen. Without Qt: the guard
// composes with it too.
class ComposeSequence
{
public:
    ComposeSequence();
    ~ComposeSequence();
    ComposeSequence(const ComposeSequence&) = delete;
    ComposeSequence& operator=(const ComposeSequence&) = delete;

    enum class Step
    {
        PassOn,     // no sequence: the key types what it types
        InProgress, // a sequence goes on: the key types nothing yet
        Composed,   // the sequence is complete: `text` is what it types
    };
    struct Outcome
    {
        Step step = Step::PassOn;
        std::string text; // UTF-8
    };
    Outcome feed(uint32_t keysym);
    // Forgets a sequence begun (at the start of a lock, say).
    void reset();
    // Whether a compose table was found for the locale.
    bool isAvailable() const { return m_state != nullptr; }

private:
    xkb_context* m_context = nullptr;
    xkb_compose_table* m_table = nullptr;
    xkb_compose_state* m_state = nullptr;
};
