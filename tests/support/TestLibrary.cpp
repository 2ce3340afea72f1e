#include "TestLibrary.h"

#include "input/PasswordFile.h"
#include "platform/Log.h"
#include "settings/PropertyListFile.h"

#include <plist/plist++.h>

#include <QFile>

TestLibrary::TestLibrary() = default;

void TestLibrary::writeFile(const QString& path, const QByteArray& bytes) const
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    file.write(bytes);
}

QByteArray TestLibrary::readFile(const QString& path) const
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

void TestLibrary::writeProperties(const QString& body) const
{
    writeFile(propertiesPath(), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                           "<plist version=\"1.0\">\n<dict>\n") +
                                    body.toUtf8() + QByteArray("\n</dict>\n</plist>\n"));
}

std::optional<QMap<QString, QString>> describeProperties(const QString& path)
{
    const auto dictionary = PropertyListFile::readDictionary(path);
    if (!dictionary)
        return std::nullopt;
    QMap<QString, QString> result;
    for (auto it = dictionary->Begin(); it != dictionary->End(); ++it) {
        const PList::Node* node = it->second;
        QString value;
        switch (node->GetType()) {
        case PLIST_BOOLEAN:
            value = static_cast<const PList::Boolean*>(node)->GetValue() ? "boolean:true"
                                                                         : "boolean:false";
            break;
        case PLIST_UINT:
            value = QStringLiteral("integer:%1")
                        .arg(qint64(static_cast<const PList::Integer*>(node)->GetValue()));
            break;
        case PLIST_REAL:
            value =
                QStringLiteral("real:%1").arg(static_cast<const PList::Real*>(node)->GetValue());
            break;
        case PLIST_STRING:
            value = QStringLiteral("string:") +
                    QString::fromStdString(static_cast<const PList::String*>(node)->GetValue());
            break;
        default:
            value = QStringLiteral("other");
        }
        result.insert(QString::fromStdString(it->first), value);
    }
    return result;
}

void TestLibrary::configure(const QString& options, const QStringList& password) const
{
    writeProperties(options);
    PasswordFile::write(passwordPath(), password);
}

LogCapture::LogCapture()
{
    Log::setSink([this](const QString& line) { m_lines << line; });
}

LogCapture::~LogCapture()
{
    Log::setSink({});
}
