#pragma once

#include "platform/DesktopPictureSource.h"

typedef struct _GSettingsSchemaSource GSettingsSchemaSource;

// The desktops that keep their picture in GSettings.
enum class GSettingsDesktop
{
    Gnome,    // org.gnome.desktop.background picture-uri, or picture-uri-dark in dark style
    Cinnamon, // org.cinnamon.desktop.background picture-uri
    Mate,     // org.mate.background picture-filename (a path)
};

// A desktop's picture from its GSettings keys (dconf on a real session). A schema that is not
// installed, a key that is empty or names no existing file: no picture, never an abort.
class GSettingsPictureSource final : public DesktopPictureSource
{
public:
    enum class Values
    {
        Effective, // the desktop runs: its defaults are what it shows
        UserSet,   // another desktop: only what a user chose there counts, not its defaults
    };

    // The schemas come from `schemaDirectory` alone when given (tests), else from the system's
    // usual places (GSETTINGS_SCHEMA_DIR, the XDG data folders).
    GSettingsPictureSource(GSettingsDesktop desktop, Values values,
                           const QString& schemaDirectory = QString());
    ~GSettingsPictureSource() override;
    GSettingsPictureSource(const GSettingsPictureSource&) = delete;
    GSettingsPictureSource& operator=(const GSettingsPictureSource&) = delete;

    QString urlForScreen(const PictureScreen& screen) override;

private:
    QString gnomeUrl() const;
    QString stringValue(const char* schemaId, const char* key) const;

    GSettingsDesktop m_desktop;
    Values m_values;
    GSettingsSchemaSource* m_schemas = nullptr; // owned when made from a directory
    bool m_ownsSchemas = false;
};
