#pragma once

#include "settings/SettingKeys.h"

namespace PList {
class Dictionary;
}

// Builds the property-list value of a setting in the type the key is declared with: booleans as
// booleans, integers truncated toward zero, reals as reals, strings and dates as themselves.
namespace PlistNode {
void assign(PList::Dictionary& dictionary, const SettingKey& key, const SettingValue& value);
}
