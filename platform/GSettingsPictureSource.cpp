// GIO's headers name struct members `signals`, which Qt defines as a macro.
#pragma push_macro("signals")
#undef signals
#include <gio/gio.h>
#pragma pop_macro("signals")

#include "platform/GSettingsPictureSource.h"

#include "platform/PictureFile.h"

#include <QFile>

#include <memory>

namespace {

struct GObjectDeleter
{
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct SchemaDeleter
{
    void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
};
struct VariantDeleter
{
    void operator()(GVariant* value) const { g_variant_unref(value); }
};

// A key's value names a picture as a URI (GNOME, Cinnamon) or as a path (MATE).
QString urlOfPicture(const QString& value)
{
    if (value.isEmpty())
        return {};
    return PictureFile::urlOfExistingFile(PictureFile::localPath(value));
}

} // namespace

GSettingsPictureSource::GSettingsPictureSource(GSettingsDesktop desktop, Values values,
                                               const QString& schemaDirectory)
    : m_desktop(desktop), m_values(values)
{
    if (schemaDirectory.isEmpty()) {
        m_schemas = g_settings_schema_source_get_default();
        return;
    }
    GError* error = nullptr;
    m_schemas = g_settings_schema_source_new_from_directory(
        QFile::encodeName(schemaDirectory).constData(), nullptr, TRUE, &error);
    m_ownsSchemas = m_schemas != nullptr;
    if (error)
        g_error_free(error);
}

GSettingsPictureSource::~GSettingsPictureSource()
{
    if (m_ownsSchemas)
        g_settings_schema_source_unref(m_schemas);
}

QString GSettingsPictureSource::urlForScreen(const PictureScreen&)
{
    switch (m_desktop) {
    case GSettingsDesktop::Gnome:
        return gnomeUrl();
    case GSettingsDesktop::Cinnamon:
        return urlOfPicture(stringValue("org.cinnamon.desktop.background", "picture-uri"));
    case GSettingsDesktop::Mate:
        return urlOfPicture(stringValue("org.mate.background", "picture-filename"));
    }
    return {};
}

QString GSettingsPictureSource::gnomeUrl() const
{
    // In the dark style GNOME shows the dark picture; a dark picture that is not there falls back
    // to the light one, as it does on older versions that have only picture-uri.
    const char* background = "org.gnome.desktop.background";
    if (stringValue("org.gnome.desktop.interface", "color-scheme") == "prefer-dark") {
        const QString dark = urlOfPicture(stringValue(background, "picture-uri-dark"));
        if (!dark.isEmpty())
            return dark;
    }
    return urlOfPicture(stringValue(background, "picture-uri"));
}

QString GSettingsPictureSource::stringValue(const char* schemaId, const char* key) const
{
    // g_settings_new() aborts the program on a schema or key that is not installed: both are
    // looked up first.
    if (!m_schemas)
        return {};
    std::unique_ptr<GSettingsSchema, SchemaDeleter> schema(
        g_settings_schema_source_lookup(m_schemas, schemaId, TRUE));
    if (!schema || !g_settings_schema_has_key(schema.get(), key))
        return {};
    std::unique_ptr<GSettingsSchemaKey, void (*)(GSettingsSchemaKey*)> schemaKey(
        g_settings_schema_get_key(schema.get(), key), g_settings_schema_key_unref);
    if (!g_variant_type_equal(g_settings_schema_key_get_value_type(schemaKey.get()),
                              G_VARIANT_TYPE_STRING))
        return {};
    std::unique_ptr<GSettings, GObjectDeleter> settings(
        g_settings_new_full(schema.get(), nullptr, nullptr));
    std::unique_ptr<GVariant, VariantDeleter> value(
        m_values == Values::Effective ? g_settings_get_value(settings.get(), key)
                                      : g_settings_get_user_value(settings.get(), key));
    if (!value)
        return {};
    return QString::fromUtf8(g_variant_get_string(value.get(), nullptr));
}
