#pragma once

#include <string_view>

// Checks made on a property list's XML before libplist parses it. libplist recurses once per
// nested array or dictionary, both when it parses and when it frees: a file of some tens of
// thousands of nested arrays, a few hundred kilobytes, overflows the stack. No file of this
// program nests deeper than two levels.
namespace PropertyListShape {

inline constexpr int maximumNesting = 32;

// The deepest nesting of <array> and <dict> elements, counted from the tags alone (an empty
// element "<array/>" opens nothing). Enough to refuse a file before parsing it.
inline int nestingDepth(std::string_view xml)
{
    int depth = 0;
    int deepest = 0;
    for (size_t i = xml.find('<'); i != std::string_view::npos; i = xml.find('<', i + 1)) {
        const std::string_view tag = xml.substr(i + 1);
        const bool closing = tag.starts_with('/');
        const std::string_view name = closing ? tag.substr(1) : tag;
        size_t length = 0;
        if (name.starts_with("array"))
            length = 5;
        else if (name.starts_with("dict"))
            length = 4;
        else
            continue;
        const char after = name.size() > length ? name[length] : '>';
        if (after != '>' && after != '/' && after != ' ' && after != '\t' && after != '\n' &&
            after != '\r')
            continue; // another element whose name starts the same way
        if (closing) {
            depth = depth > 0 ? depth - 1 : 0;
            continue;
        }
        const size_t end = name.find('>');
        const bool empty = end != std::string_view::npos && end > 0 && name[end - 1] == '/';
        if (!empty && ++depth > deepest)
            deepest = depth;
    }
    return deepest;
}

} // namespace PropertyListShape
