#pragma once

#include <chrono>
#include <functional>

// The display server tells when the user has given no input for a while, and when input comes
// again, where it cannot be asked how long ago the last input was (a Wayland compositor's
// ext-idle-notify-v1, whose inhibitors hold the moment back as well).
class IdleWatch
{
public:
    using Callback = std::function<void()>;

    virtual ~IdleWatch() = default;
    // From now on: idle() once no input has come for `limit`, then active() at the next input,
    // and so on for as long as the watch lasts. A new call replaces the watch before it and
    // counts from the moment of the call.
    virtual void watch(std::chrono::milliseconds limit, Callback idle, Callback active) = 0;
    virtual void stop() = 0;
};
