#pragma once

#include <cstdlib>

// The locale whose compose table (dead keys, the Compose key) is used, looked up as the C
// library looks it up. Without Qt: the guard uses it too.
namespace ComposeLocale {
inline const char* name()
{
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* value = std::getenv(variable);
        if (value && *value)
            return value;
    }
    return "C";
}
} // namespace ComposeLocale
