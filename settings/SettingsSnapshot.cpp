#include "settings/SettingsSnapshot.h"

#include <plist/plist++.h>

#include <QTimeZone>

#include <cmath>
#include <cstdlib>
#include <limits>

namespace {

// The leading-number reading of a string: optional white space, an optional sign, then digits
// (and for reals a fraction and exponent); anything after is ignored, no number reads as 0.
double leadingNumber(const std::string& text)
{
    const char* begin = text.c_str();
    char* end = nullptr;
    const double value = std::strtod(begin, &end);
    if (end == begin || std::isnan(value))
        return 0.0;
    return value;
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

template <typename Int> Int clampToInt(double value)
{
    if (std::isnan(value))
        return 0;
    if (value >= static_cast<double>(std::numeric_limits<Int>::max()))
        return std::numeric_limits<Int>::max();
    if (value <= static_cast<double>(std::numeric_limits<Int>::min()))
        return std::numeric_limits<Int>::min();
    return static_cast<Int>(value);
}

} // namespace

namespace PlistValue {

bool isNumeric(const PList::Node* node)
{
    if (!node)
        return false;
    const plist_type type = node->GetType();
    return type == PLIST_BOOLEAN || type == PLIST_UINT || type == PLIST_REAL;
}

double toDouble(const PList::Node* node)
{
    if (!node)
        return 0.0;
    switch (node->GetType()) {
    case PLIST_BOOLEAN:
        return static_cast<const PList::Boolean*>(node)->GetValue() ? 1.0 : 0.0;
    case PLIST_UINT:
        return static_cast<double>(
            static_cast<qint64>(static_cast<const PList::Integer*>(node)->GetValue()));
    case PLIST_REAL:
        return static_cast<const PList::Real*>(node)->GetValue();
    case PLIST_STRING:
        return leadingNumber(static_cast<const PList::String*>(node)->GetValue());
    default:
        return 0.0;
    }
}

qint64 toLong(const PList::Node* node)
{
    if (node && node->GetType() == PLIST_UINT)
        return static_cast<qint64>(static_cast<const PList::Integer*>(node)->GetValue());
    return clampToInt<qint64>(toDouble(node));
}

int toInt(const PList::Node* node)
{
    if (node && node->GetType() == PLIST_UINT) {
        // A 64-bit integer read as 32 bits keeps its low 32 bits, as a C conversion does.
        return static_cast<int>(
            static_cast<quint32>(static_cast<const PList::Integer*>(node)->GetValue()));
    }
    return clampToInt<int>(toDouble(node));
}

bool toBool(const PList::Node* node)
{
    if (!node)
        return false;
    if (node->GetType() == PLIST_STRING)
        return leadingTruth(static_cast<const PList::String*>(node)->GetValue());
    if (node->GetType() == PLIST_UINT)
        return static_cast<const PList::Integer*>(node)->GetValue() != 0;
    return toDouble(node) != 0.0;
}

} // namespace PlistValue

SettingsSnapshot::SettingsSnapshot() = default;
SettingsSnapshot::SettingsSnapshot(std::unique_ptr<PList::Dictionary> dictionary)
    : m_dictionary(std::move(dictionary))
{
}
SettingsSnapshot::SettingsSnapshot(SettingsSnapshot&&) noexcept = default;
SettingsSnapshot& SettingsSnapshot::operator=(SettingsSnapshot&&) noexcept = default;
SettingsSnapshot::~SettingsSnapshot() = default;

const PList::Node* SettingsSnapshot::find(const SettingKey& key) const
{
    if (!m_dictionary)
        return nullptr;
    const auto it = std::as_const(*m_dictionary).Find(key.name);
    return it == std::as_const(*m_dictionary).End() ? nullptr : it->second;
}

bool SettingsSnapshot::contains(const SettingKey& key) const
{
    return find(key) != nullptr;
}

bool SettingsSnapshot::boolValue(const SettingKey& key) const
{
    return PlistValue::toBool(find(key));
}

int SettingsSnapshot::intValue(const SettingKey& key) const
{
    return PlistValue::toInt(find(key));
}

qint64 SettingsSnapshot::longValue(const SettingKey& key) const
{
    return PlistValue::toLong(find(key));
}

float SettingsSnapshot::floatValue(const SettingKey& key) const
{
    return static_cast<float>(PlistValue::toDouble(find(key)));
}

std::optional<int> SettingsSnapshot::numberObject(const SettingKey& key) const
{
    const PList::Node* node = find(key);
    if (!node || !(PlistValue::isNumeric(node) || node->GetType() == PLIST_STRING))
        return std::nullopt;
    return PlistValue::toInt(node);
}

std::optional<QString> SettingsSnapshot::stringValue(const SettingKey& key) const
{
    const PList::Node* node = find(key);
    if (!node || node->GetType() != PLIST_STRING)
        return std::nullopt;
    return QString::fromStdString(static_cast<const PList::String*>(node)->GetValue());
}

std::optional<QDateTime> SettingsSnapshot::dateValue(const SettingKey& key) const
{
    const PList::Node* node = find(key);
    if (!node || node->GetType() != PLIST_DATE)
        return std::nullopt;
    const timeval tv = static_cast<const PList::Date*>(node)->GetValue();
    const qint64 msecs =
        (qint64(tv.tv_sec) + PlistValue::referenceDateOffset) * 1000 + qint64(tv.tv_usec) / 1000;
    return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::utc());
}
