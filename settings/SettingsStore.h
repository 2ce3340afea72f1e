#pragma once

#include "settings/SettingKeys.h"
#include "settings/SettingsSnapshot.h"

#include <QString>

#include <vector>

// The options file properties.plist in the Library folder.
//
// There is no cache: every change rereads the whole file, sets its keys and writes the whole file
// back atomically, so two writers that run one after the other never lose each other's keys. If
// the file cannot be read as a dictionary (missing, unreadable, not ours), a change does nothing
// on disk and lives in memory only; the file is then never overwritten. The store never creates
// the Library folder.
class SettingsStore
{
public:
    explicit SettingsStore(QString libraryFolder);

    QString libraryFolder() const { return m_libraryFolder; }
    QString propertiesPath() const;

    bool propertiesFileExists() const;

    // First start: when no file exists at the path, writes exactly the first-run keys.
    // Returns true when it wrote them.
    bool writeFirstRunSettingsIfMissing() const;

    // One read-modify-write. Returns false when nothing was written.
    bool set(const SettingKey& key, const SettingValue& value) const;
    bool set(const std::vector<SettingAssignment>& assignments) const;

    SettingsSnapshot load() const;

    static constexpr mode_t fileMode = 0644;

private:
    QString m_libraryFolder;
};
