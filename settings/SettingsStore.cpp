#include "settings/SettingsStore.h"

#include "settings/PlistNode.h"
#include "settings/PropertyListFile.h"

#include <plist/plist++.h>

#include <QFileInfo>

SettingsStore::SettingsStore(QString libraryFolder) : m_libraryFolder(std::move(libraryFolder)) {}

QString SettingsStore::propertiesPath() const
{
    // The leading slash belongs to the file name, so a folder given with a trailing slash still
    // forms a valid path.
    return m_libraryFolder + QStringLiteral("/properties.plist");
}

bool SettingsStore::propertiesFileExists() const
{
    return QFileInfo::exists(propertiesPath());
}

bool SettingsStore::writeFirstRunSettingsIfMissing() const
{
    if (propertiesFileExists())
        return false;
    PList::Dictionary dictionary;
    for (const SettingAssignment& assignment : firstRunSettings())
        PlistNode::assign(dictionary, *assignment.key, assignment.value);
    return PropertyListFile::writeAtomically(propertiesPath(), dictionary, fileMode,
                                             PropertyListFile::Mode::KeepExisting);
}

bool SettingsStore::set(const SettingKey& key, const SettingValue& value) const
{
    return set(std::vector<SettingAssignment>{{&key, value}});
}

bool SettingsStore::set(const std::vector<SettingAssignment>& assignments) const
{
    auto dictionary = PropertyListFile::readDictionary(propertiesPath());
    if (!dictionary)
        return false;
    for (const SettingAssignment& assignment : assignments)
        PlistNode::assign(*dictionary, *assignment.key, assignment.value);
    return PropertyListFile::writeAtomically(propertiesPath(), *dictionary, fileMode,
                                             PropertyListFile::Mode::KeepExisting);
}

SettingsSnapshot SettingsStore::load() const
{
    return SettingsSnapshot(PropertyListFile::readDictionary(propertiesPath()));
}
