#include "input/PasswordFile.h"

#include "settings/PropertyListFile.h"

#include <plist/plist++.h>

#include <cstdlib>

QString PasswordFile::pathIn(const QString& libraryFolder)
{
    return libraryFolder + QStringLiteral("/settings.plist");
}

std::optional<QStringList> PasswordFile::read(const QString& path)
{
    auto array = PropertyListFile::readArray(path);
    if (!array)
        return std::nullopt;
    const plist_t node = array.get();
    const uint32_t size = plist_array_get_size(node);
    QStringList entries;
    entries.reserve(static_cast<qsizetype>(size));
    for (uint32_t i = 0; i < size; ++i) {
        const plist_t item = plist_array_get_item(node, i);
        if (!item || plist_get_node_type(item) != PLIST_STRING)
            return std::nullopt;
        char* text = nullptr;
        plist_get_string_val(item, &text);
        entries.append(QString::fromUtf8(text ? text : ""));
        std::free(text);
    }
    return entries;
}

bool PasswordFile::write(const QString& path, const QStringList& entries)
{
    PList::Array array;
    for (const QString& entry : entries) {
        // Append copies the node it is given.
        PList::String node(entry.toStdString());
        array.Append(&node);
    }
    return PropertyListFile::writeAtomically(path, array, fileMode);
}
