#include "guard/GuardPassword.h"

#include "guard/Utf8.h"
#include "platform/RegularFile.h"
#include "settings/PropertyListShape.h"

#include <plist/plist.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <memory>

namespace {

// The same limit as the lock screen's reader: our property lists are a few kilobytes.
constexpr long long maximumSize = 4 * 1024 * 1024;
// A password file that could not be read is read again at a key, at most this often.
constexpr double reloadSeconds = 1.0;

struct NodeDeleter
{
    void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<std::remove_pointer_t<plist_t>, NodeDeleter>;

bool looksLikeXml(const std::string& bytes)
{
    std::string start = bytes.substr(0, 64);
    const size_t first = start.find_first_not_of(" \t\r\n\f\v");
    start = first == std::string::npos ? std::string() : start.substr(first);
    for (const char* opening : {"<?xml", "<!DOCTYPE", "<plist", "<!--", "\xEF\xBB\xBF<"}) {
        if (start.rfind(opening, 0) == 0)
            return true;
    }
    return false;
}

Node readRoot(const std::string& path)
{
    // A FIFO, a device or a huge file is refused without waiting on it.
    const RegularFile::Content content = RegularFile::read(path, maximumSize);
    const std::string& bytes = content.bytes;
    if (!content.isRead() || bytes.empty() || !looksLikeXml(bytes))
        return nullptr;
    if (PropertyListShape::nestingDepth(bytes) > PropertyListShape::maximumNesting)
        return nullptr;
    // XML never holds a NUL byte; libplist would abort in an assertion reading such a string.
    if (bytes.find('\0') != std::string::npos)
        return nullptr;
    plist_t root = nullptr;
    plist_from_xml(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
    return Node(root);
}

// A string is true when, after white space, a sign and leading zeros, it starts with Y, y, T, t
// or a digit 1 to 9.
bool leadingTruth(const std::string& text)
{
    size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i])))
        ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        ++i;
    while (i < text.size() && text[i] == '0')
        ++i;
    if (i >= text.size())
        return false;
    const char c = text[i];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

} // namespace

GuardPassword::GuardPassword(std::string libraryFolder) : m_libraryFolder(std::move(libraryFolder))
{
}

std::optional<PasswordRules::Buffer> GuardPassword::readPassword(const std::string& path)
{
    const Node root = readRoot(path);
    if (!root || plist_get_node_type(root.get()) != PLIST_ARRAY)
        return std::nullopt;
    PasswordRules::Buffer entries;
    const uint32_t size = plist_array_get_size(root.get());
    for (uint32_t i = 0; i < size; ++i) {
        const plist_t item = plist_array_get_item(root.get(), i);
        if (!item || plist_get_node_type(item) != PLIST_STRING)
            return std::nullopt;
        char* text = nullptr;
        plist_get_string_val(item, &text);
        entries.push_back(utf16FromUtf8(text ? text : ""));
        std::free(text);
    }
    return entries;
}

bool GuardPassword::readOrderMatters(const std::string& path)
{
    const Node root = readRoot(path);
    if (!root || plist_get_node_type(root.get()) != PLIST_DICT)
        return false;
    const plist_t node = plist_dict_get_item(root.get(), "orderMatters");
    if (!node)
        return false;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return value != 0;
    }
    case PLIST_UINT: {
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return value != 0;
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value != 0.0;
    }
    case PLIST_STRING: {
        char* text = nullptr;
        plist_get_string_val(node, &text);
        const bool value = leadingTruth(text ? text : "");
        std::free(text);
        return value;
    }
    default:
        return false;
    }
}

void GuardPassword::load()
{
    m_buffer = readPassword(m_libraryFolder + "/settings.plist");
    m_orderMatters = readOrderMatters(m_libraryFolder + "/properties.plist");
    m_flags.assign(m_buffer ? m_buffer->size() : 0, 0);
    m_lastTime = 0;
}

bool GuardPassword::fileStillMatches() const
{
    return !m_buffer || readPassword(m_libraryFolder + "/settings.plist") == m_buffer;
}

bool GuardPassword::keyPressed(const std::u16string& key, double now)
{
    if (!m_buffer) {
        if (m_lastLoad != 0 && now - m_lastLoad < reloadSeconds)
            return false;
        m_lastLoad = now;
        load();
        if (!m_buffer)
            return false; // still no password: this key opens nothing
    }
    if (m_orderMatters) {
        if (!PasswordRules::matchInOrder(&*m_buffer, m_flags, key))
            return false;
    } else {
        PasswordRules::matchChord(&*m_buffer, m_flags, key, now, m_lastTime);
    }
    if (!PasswordRules::isComplete(&*m_buffer, m_flags))
        return false;
    PasswordRules::clear(m_flags);
    return true;
}
