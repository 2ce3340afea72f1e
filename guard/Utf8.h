#pragma once

#include <string>
#include <string_view>

// UTF-8 to UTF-16 as the lock screen converts (QString::fromUtf8): a byte that does not start or
// continue a valid sequence becomes U+FFFD.
std::u16string utf16FromUtf8(std::string_view text);
