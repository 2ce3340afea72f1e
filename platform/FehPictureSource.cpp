#include "platform/FehPictureSource.h"

#include "platform/PictureFile.h"

#include <QDir>
#include <QFileInfo>

#include <utility>

namespace {

struct Word
{
    QString text;
    bool quoted = false; // any part of it was quoted or escaped: not an operator, no `~`
};

// How many characters of `line` from `i` on name the home folder: `$HOME` or `${HOME}`, and not
// the start of a longer name.
qsizetype homeVariableAt(const QString& line, qsizetype i)
{
    const QStringView rest = QStringView(line).mid(i);
    if (rest.startsWith(u"${HOME}"))
        return 7;
    if (!rest.startsWith(u"$HOME"))
        return 0;
    const qsizetype after = i + 5;
    if (after < line.size() && (line.at(after).isLetterOrNumber() || line.at(after) == '_'))
        return 0;
    return 5;
}

// The words of one line of shell, quotes and backslashes undone, `$HOME` expanded where the shell
// would. A `#` that starts a word ends the line. Shell operators (`;`, `&`, `|`, `>`...) come out
// as words of their own.
QList<Word> shellWords(const QString& line, const QString& home)
{
    QList<Word> words;
    Word word;
    bool inWord = false;
    auto finish = [&] {
        if (inWord)
            words.append(std::exchange(word, Word{}));
        inWord = false;
    };
    for (qsizetype i = 0; i < line.size(); ++i) {
        const QChar c = line.at(i);
        if (c == '\'') {
            const qsizetype end = line.indexOf('\'', i + 1);
            const qsizetype stop = end < 0 ? line.size() : end;
            word.text += line.mid(i + 1, stop - i - 1);
            word.quoted = inWord = true;
            i = stop;
        } else if (c == '"') {
            word.quoted = inWord = true;
            for (++i; i < line.size() && line.at(i) != '"'; ++i) {
                if (const qsizetype length = homeVariableAt(line, i)) {
                    word.text += home;
                    i += length - 1;
                    continue;
                }
                if (line.at(i) == '\\' && i + 1 < line.size() &&
                    QStringLiteral("\"\\$`").contains(line.at(i + 1)))
                    ++i;
                word.text += line.at(i);
            }
        } else if (c == '\\') {
            if (i + 1 < line.size())
                word.text += line.at(++i);
            word.quoted = inWord = true;
        } else if (c.isSpace()) {
            finish();
        } else if (c == '#' && !inWord) {
            break;
        } else if (const qsizetype length = homeVariableAt(line, i)) {
            word.text += home;
            word.quoted = inWord = true;
            i += length - 1;
        } else if (QStringLiteral(";&|<>()").contains(c)) {
            finish();
            words.append(Word{QString(c), false});
        } else {
            word.text += c;
            inWord = true;
        }
    }
    finish();
    return words;
}

bool isFehCommand(const Word& word)
{
    return word.text == "feh" || word.text.endsWith("/feh");
}

bool isOperator(const Word& word)
{
    return !word.quoted && word.text.size() == 1 && QStringLiteral(";&|<>()").contains(word.text);
}

// feh's options that take their value as the next word.
bool takesValue(const QString& option)
{
    static const QStringList options = {"--image-bg", "-B", "--geometry", "-g", "--xinerama-index"};
    return options.contains(option);
}

} // namespace

FehPictureSource::FehPictureSource(QString home) : m_home(std::move(home)) {}

QStringList FehPictureSource::picturesIn(const QString& script, const QString& home)
{
    const QStringList lines = script.split('\n');
    for (const QString& line : lines) {
        const QList<Word> words = shellWords(line, home);
        qsizetype i = 0;
        while (i < words.size() && !isFehCommand(words.at(i)))
            ++i;
        if (i == words.size())
            continue;
        QStringList pictures;
        bool optionsEnded = false;
        for (++i; i < words.size() && !isOperator(words.at(i)); ++i) {
            const Word& word = words.at(i);
            if (!optionsEnded && word.text == "--" && !word.quoted) {
                optionsEnded = true;
            } else if (!optionsEnded && word.text.startsWith('-')) {
                if (takesValue(word.text))
                    ++i;
            } else if (!word.quoted && word.text.startsWith("~/")) {
                pictures.append(home + word.text.mid(1));
            } else if (QFileInfo(word.text).isRelative()) {
                pictures.append(QDir(home).filePath(word.text));
            } else {
                pictures.append(word.text);
            }
        }
        return pictures;
    }
    return {};
}

QString FehPictureSource::urlForScreen(const PictureScreen& screen)
{
    // A script written by feh is small; anything large is not one.
    const QString path = QDir(m_home).filePath(".fehbg");
    if (QFileInfo(path).size() > 64 * 1024)
        return {};
    const QStringList pictures = picturesIn(QString::fromUtf8(PictureFile::read(path)), m_home);
    if (pictures.isEmpty() || screen.index < 0)
        return {};
    return PictureFile::urlOfExistingFile(
        pictures.at(std::min<qsizetype>(screen.index, pictures.size() - 1)));
}
