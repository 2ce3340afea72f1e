#pragma once

class Clock;

// Slows down a machine that types guesses at the lock screen, and leaves a person alone.
//
// Security: keys are matched one at a time as they arrive, so a stream of keys that holds every
// four-digit string (a de Bruijn sequence, 10,003 digits) would find any four-digit password in
// seconds. After `freeKeys` keys in one lock that complete nothing, keys are taken at a slow
// rate for the rest of that lock: a burst of up to `burstKeys` at once (so that a person can
// still type a password, in order or as a chord), then one key more every `refillSeconds`. The
// keys beyond that are dropped unmatched. The same stream then takes more than five hours. The
// count starts again only with a new lock, which only the password brings.
class GuessThrottle
{
public:
    static constexpr int freeKeys = 200;
    static constexpr int burstKeys = 16;
    static constexpr double refillSeconds = 2.0;

    explicit GuessThrottle(const Clock& clock) : m_clock(clock) {}

    // A new lock: every key is taken again, up to freeKeys.
    void reset();
    // Whether this key may be matched; false drops it (counted as taken from the burst).
    bool admit();
    // The key that was admitted completed nothing.
    void keyCompletedNothing();
    bool isSlow() const { return m_slow; }
    // Seconds until the next key is taken; 0 when one is taken now.
    double secondsUntilNextKey() const;

private:
    void refill(double now);

    const Clock& m_clock;
    int m_missedKeys = 0;
    bool m_slow = false;
    double m_tokens = 0;
    double m_lastRefill = 0;
};
