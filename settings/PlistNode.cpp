#include "settings/PlistNode.h"

#include "settings/SettingsSnapshot.h"

#include <plist/plist++.h>

#include <cmath>
#include <limits>
#include <memory>

namespace {

double asDouble(const SettingValue& value)
{
    if (const bool* b = std::get_if<bool>(&value))
        return *b ? 1.0 : 0.0;
    if (const qint64* i = std::get_if<qint64>(&value))
        return static_cast<double>(*i);
    if (const double* d = std::get_if<double>(&value))
        return *d;
    if (const QString* s = std::get_if<QString>(&value))
        return s->toDouble();
    return 0.0;
}

qint64 asInteger(const SettingValue& value)
{
    if (const qint64* i = std::get_if<qint64>(&value))
        return *i;
    const double d = std::trunc(asDouble(value));
    if (std::isnan(d))
        return 0;
    if (d >= static_cast<double>(std::numeric_limits<qint64>::max()))
        return std::numeric_limits<qint64>::max();
    if (d <= static_cast<double>(std::numeric_limits<qint64>::min()))
        return std::numeric_limits<qint64>::min();
    return static_cast<qint64>(d);
}

QString asString(const SettingValue& value)
{
    if (const QString* s = std::get_if<QString>(&value))
        return *s;
    return QString::number(asDouble(value));
}

// libplist 2.2 cannot copy a date node it made with plist_new_date (its own length check fails),
// while dates it parsed copy fine; so a date is made by parsing its XML form.
std::unique_ptr<PList::Structure> parsedDate(const SettingValue& value)
{
    QDateTime when;
    if (const QDateTime* d = std::get_if<QDateTime>(&value))
        when = *d;
    if (!when.isValid())
        when = QDateTime::fromSecsSinceEpoch(PlistValue::referenceDateOffset, Qt::UTC);
    const QString iso = when.toUTC().toString(Qt::ISODate);
    const std::string xml = "<plist version=\"1.0\"><dict><key>v</key><date>" + iso.toStdString() +
                            "</date></dict></plist>";
    return std::unique_ptr<PList::Structure>(PList::Structure::FromXml(xml));
}

} // namespace

void PlistNode::assign(PList::Dictionary& dictionary, const SettingKey& key,
                       const SettingValue& value)
{
    switch (key.type) {
    case SettingType::Boolean:
        dictionary.Set(key.name, PList::Boolean(asDouble(value) != 0.0));
        break;
    case SettingType::Integer:
        dictionary.Set(key.name, PList::Integer(static_cast<uint64_t>(asInteger(value))));
        break;
    case SettingType::Real:
        // Reals are stored at single precision, as the in-memory settings are floats.
        dictionary.Set(key.name,
                       PList::Real(static_cast<double>(static_cast<float>(asDouble(value)))));
        break;
    case SettingType::String:
        dictionary.Set(key.name, PList::String(asString(value).toStdString()));
        break;
    case SettingType::Date:
        if (const auto holder = parsedDate(value); holder && holder->GetType() == PLIST_DICT) {
            const auto& parsed = static_cast<const PList::Dictionary&>(*holder);
            if (const auto it = parsed.Find("v"); it != parsed.End())
                dictionary.Set(key.name, it->second);
        }
        break;
    }
}
