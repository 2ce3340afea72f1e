#pragma once

#include "settings/SettingKeys.h"

#include <QDateTime>
#include <QString>

#include <memory>
#include <optional>

namespace PList {
class Dictionary;
class Node;
} // namespace PList

// The options file as read once at start-up. Every getter converts the way the file's readers
// always have: a number of any type (boolean, integer or real) serves any key, a string is read
// for its leading number, a missing key reads as 0, false or absent. Values of other types
// (dates, data, arrays, dictionaries) read as 0 or absent, never as an error.
class SettingsSnapshot
{
public:
    SettingsSnapshot();
    explicit SettingsSnapshot(std::unique_ptr<PList::Dictionary> dictionary);
    SettingsSnapshot(SettingsSnapshot&&) noexcept;
    SettingsSnapshot& operator=(SettingsSnapshot&&) noexcept;
    ~SettingsSnapshot();

    bool hasDictionary() const { return m_dictionary != nullptr; }
    bool contains(const SettingKey& key) const;

    bool boolValue(const SettingKey& key) const;
    int intValue(const SettingKey& key) const;
    qint64 longValue(const SettingKey& key) const;
    float floatValue(const SettingKey& key) const;
    // A number kept as an object: absent when the key is missing or holds no number.
    std::optional<int> numberObject(const SettingKey& key) const;
    std::optional<QString> stringValue(const SettingKey& key) const;
    std::optional<QDateTime> dateValue(const SettingKey& key) const;

private:
    const PList::Node* find(const SettingKey& key) const;

    std::unique_ptr<PList::Dictionary> m_dictionary;
};

// Conversions of one property-list value, shared by every reader.
namespace PlistValue {
bool toBool(const PList::Node* node);
int toInt(const PList::Node* node);
qint64 toLong(const PList::Node* node);
double toDouble(const PList::Node* node);
bool isNumeric(const PList::Node* node);
// Seconds between the Unix epoch and the property-list epoch (2001-01-01 UTC).
inline constexpr qint64 referenceDateOffset = 978307200;
} // namespace PlistValue
