#include "guard/Utf8.h"

namespace {

constexpr char16_t replacement = 0xfffd;

// The length of the sequence a lead byte starts, 0 for a byte that starts none.
int sequenceLength(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead >= 0xc2 && lead <= 0xdf)
        return 2;
    if (lead >= 0xe0 && lead <= 0xef)
        return 3;
    if (lead >= 0xf0 && lead <= 0xf4)
        return 4;
    return 0;
}

} // namespace

std::u16string utf16FromUtf8(std::string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const int length = sequenceLength(lead);
        if (length == 1) {
            out.push_back(char16_t(lead));
            ++i;
            continue;
        }
        char32_t code = length == 2 ? lead & 0x1f : length == 3 ? lead & 0x0f : lead & 0x07;
        bool valid = length > 0 && i + size_t(length) <= text.size();
        for (int k = 1; valid && k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + size_t(k)]);
            valid = (next & 0xc0) == 0x80;
            code = (code << 6) | (next & 0x3f);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not characters.
        valid = valid && !(length == 3 && code < 0x800) && !(length == 4 && code < 0x10000) &&
                !(code >= 0xd800 && code <= 0xdfff) && code <= 0x10ffff;
        if (!valid) {
            out.push_back(replacement);
            ++i;
            continue;
        }
        if (code >= 0x10000) {
            code -= 0x10000;
            out.push_back(char16_t(0xd800 + (code >> 10)));
            out.push_back(char16_t(0xdc00 + (code & 0x3ff)));
        } else {
            out.push_back(char16_t(code));
        }
        i += size_t(length);
    }
    return out;
}
