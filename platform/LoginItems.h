#pragma once

// The list of programs the desktop session starts at login. Neither operation reports a failure:
// the user's choice is kept in the settings whatever happens here.
class LoginItems
{
public:
    virtual ~LoginItems() = default;
    // Adds the running program at the end of the list, without looking for an entry already there.
    virtual void append() = 0;
    // Removes every entry that starts the running program; entries it cannot read are left alone.
    virtual void removeOwn() = 0;
};
