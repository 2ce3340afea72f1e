#include "platform/XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

// The escapes of a string value in a desktop entry: \s, \n, \t, \r and \\.
QString unescapeValue(const QString& value)
{
    QString out;
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c != QLatin1Char('\\') || i + 1 == value.size()) {
            out += c;
            continue;
        }
        const QChar next = value.at(++i);
        if (next == QLatin1Char('s'))
            out += QLatin1Char(' ');
        else if (next == QLatin1Char('n'))
            out += QLatin1Char('\n');
        else if (next == QLatin1Char('t'))
            out += QLatin1Char('\t');
        else if (next == QLatin1Char('r'))
            out += QLatin1Char('\r');
        else
            out += next;
    }
    return out;
}

// The first word of an Exec command line: quoted words keep their spaces and take a backslash
// before " ` $ and itself as an escape; %% is a literal per cent sign.
QString firstWord(const QString& command)
{
    QString word;
    qsizetype i = 0;
    while (i < command.size() && command.at(i).isSpace())
        ++i;
    bool quoted = false;
    for (; i < command.size(); ++i) {
        const QChar c = command.at(i);
        if (c == QLatin1Char('"')) {
            quoted = !quoted;
            continue;
        }
        if (quoted && c == QLatin1Char('\\') && i + 1 < command.size()) {
            word += command.at(++i);
            continue;
        }
        if (c == QLatin1Char('%') && i + 1 < command.size() &&
            command.at(i + 1) == QLatin1Char('%')) {
            word += c;
            ++i;
            continue;
        }
        if (!quoted && c.isSpace())
            break;
        word += c;
    }
    return word;
}

} // namespace

XdgAutostart::XdgAutostart(QString folder, QString binaryPath)
    : m_folder(std::move(folder)), m_binaryPath(std::move(binaryPath))
{
}

QString XdgAutostart::defaultFolder()
{
    QString base = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/autostart");
}

QString XdgAutostart::execValue(const QString& binaryPath)
{
    QString quoted;
    for (const QChar c : binaryPath) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') ||
            c == QLatin1Char('\\'))
            quoted += QLatin1Char('\\');
        if (c == QLatin1Char('%'))
            quoted += QLatin1Char('%');
        quoted += c;
    }
    // The value is a string, whose own escaping doubles every backslash again.
    quoted.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

void XdgAutostart::append()
{
    // The folder is the session's to read; making it is what adding the first login item does.
    if (!QDir().mkpath(m_folder))
        return;
    QSaveFile file(m_folder + QLatin1Char('/') + QLatin1String(entryName));
    if (!file.open(QIODevice::WriteOnly))
        return;
    const QString entry = QStringLiteral("[Desktop Entry]\n"
                                         "Type=Application\n"
                                         "Name=Tessarine\n"
                                         "Comment=Locks the screen\n"
                                         "Exec=%1\n"
                                         "Terminal=false\n")
                              .arg(execValue(m_binaryPath));
    file.write(entry.toUtf8());
    file.commit();
}

void XdgAutostart::removeOwn()
{
    const std::optional<QString> self = resolve(m_binaryPath);
    if (!self)
        return;
    const QFileInfoList entries =
        QDir(m_folder).entryInfoList({QStringLiteral("*.desktop")}, QDir::Files, QDir::Name);
    for (const QFileInfo& entry : entries) {
        QFile file(entry.filePath());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const std::optional<QString> program = execProgram(QString::fromUtf8(file.readAll()));
        if (!program)
            continue;
        const std::optional<QString> resolved = resolve(*program);
        if (resolved && *resolved == *self)
            QFile::remove(entry.filePath());
    }
}

std::optional<QString> XdgAutostart::execProgram(const QString& desktopEntry)
{
    bool inMainGroup = false;
    for (const QString& rawLine : desktopEntry.split(QLatin1Char('\n'))) {
        const QString line = rawLine.trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inMainGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        if (!inMainGroup)
            continue;
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (equals < 0 || line.left(equals).trimmed() != QLatin1String("Exec"))
            continue;
        const QString program = firstWord(unescapeValue(line.mid(equals + 1).trimmed()));
        if (program.isEmpty())
            return std::nullopt;
        return program;
    }
    return std::nullopt;
}

std::optional<QString> XdgAutostart::resolve(const QString& program)
{
    QString path = program;
    if (!program.contains(QLatin1Char('/')))
        path = QStandardPaths::findExecutable(program);
    else if (!QDir::isAbsolutePath(program))
        return std::nullopt; // the session starts no program by a relative path
    if (path.isEmpty())
        return std::nullopt;
    const QString canonical = QFileInfo(path).canonicalFilePath();
    if (canonical.isEmpty())
        return std::nullopt;
    return canonical;
}
