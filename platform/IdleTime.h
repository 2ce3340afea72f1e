#pragma once

#include <cstdint>

// The display server's own count of the user's inactivity: the time since the last key or pointer
// input, which the server keeps whatever window has the focus, so nobody polls the input devices.
class IdleTime
{
public:
    virtual ~IdleTime() = default;
    // Milliseconds since the last input; 0 where the server cannot say.
    virtual uint32_t sinceInput() const = 0;
    // Counts as input from now on, as a key press would (SimulateUserActivity).
    virtual void countAsActivity() = 0;
};
