// Random key streams against the password matcher and, beside it, a reference model of the two
// matching rules written afresh from their description (docs/TESTING.md). Any disagreement
// aborts: a different answer (unlock, nudge or nothing) at any key, or different match flags.
// The guard process matches with the same rules; while it is comparable (the password read, no
// other step yet) it must open at the same key.
//
// An input is a password (absent, or a few entries) and the mode, then steps: keys with the time
// since the previous step, a flip of the mode, a new lock, a password saved, or the hidden field.

#include "guard/GuardPassword.h"
#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "input/PasswordMatcher.h"
#include "platform/Clock.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace {

using Text = std::u16string;

// The reference model: each step as the description of the rules words it, nothing shared with
// the program.
struct ReferenceModel
{
    enum class Answer
    {
        Unlock,
        Nudge,
        Nothing
    };

    std::optional<std::vector<Text>> buffer; // absent: no password file was read
    std::vector<int> flags;                  // one per buffer entry
    double lastTime = 0;                     // the chord's last accepted key; 0: no chord
    bool unlocking = false;
    double lastNudge = 0; // 0: never

    void load(std::optional<std::vector<Text>> entries)
    {
        buffer = std::move(entries);
        flags.assign(buffer ? buffer->size() : 0, 0);
    }

    void clearFlags()
    {
        for (int& flag : flags)
            flag = 0;
    }

    Answer key(const Text& key, bool orderMatters, double now)
    {
        if (orderMatters) {
            // The first position whose flag is 0.
            size_t p = 0;
            while (p < flags.size() && flags[p] != 0)
                ++p;
            if (!buffer) {
                // The lookup in an absent buffer yields nothing, which is unequal to the key.
                clearFlags();
            } else if (p >= buffer->size()) {
                // Out of range (an empty password): the press is abandoned here.
                return Answer::Nothing;
            } else if (key == (*buffer)[p]) {
                flags[p] = 1;
            } else {
                clearFlags();
            }
        } else if (buffer) {
            bool seenMatched = false;
            for (size_t i = 0; i < buffer->size(); ++i) {
                if (key == (*buffer)[i] && flags[i] == 0) {
                    if (lastTime == 0 || now - lastTime < 1.0) {
                        flags[i] = 1;
                        lastTime = now;
                    } else {
                        clearFlags();
                        flags[i] = 1;
                        lastTime = now;
                    }
                    break;
                } else if (key == (*buffer)[i] && flags[i] == 1) {
                    seenMatched = true;
                } else if (!seenMatched && i == buffer->size() - 1) {
                    clearFlags();
                    lastTime = 0;
                }
            }
        }
        return decide(now);
    }

    Answer decide(double now)
    {
        size_t sum = 0;
        for (int flag : flags)
            sum += size_t(flag);
        if (sum == (buffer ? buffer->size() : 0)) {
            clearFlags();
            unlocking = true;
            return Answer::Unlock;
        }
        if (unlocking)
            return Answer::Nothing;
        if (lastNudge != 0 && now - lastNudge <= 0.4)
            return Answer::Nothing;
        lastNudge = now;
        return Answer::Nudge;
    }

    // The hidden field's whole text: the entries joined, starting from the empty string.
    Answer passwordEntered(const Text& text)
    {
        Text joined;
        if (buffer) {
            for (const Text& entry : *buffer)
                joined += entry;
        }
        if (text == joined) {
            clearFlags();
            unlocking = true;
            return Answer::Unlock;
        }
        return text.empty() ? Answer::Nothing : Answer::Nudge; // a shake, not rate-limited
    }

    // A saved password: one entry per UTF-16 unit, formatted with %c (its low byte).
    void save(const Text& password)
    {
        std::vector<Text> entries;
        for (char16_t unit : password)
            entries.push_back(Text(1, char16_t(unit & 0xFF)));
        load(std::move(entries));
    }
};

class SteppedClock final : public Clock
{
public:
    QDateTime now() const override { return QDateTime::fromSecsSinceEpoch(qint64(seconds)); }
    double absoluteSeconds() const override { return seconds; }
    double seconds = 0;
};

// Keys and password entries come mostly from a few characters, so that they meet.
Text pickText(FuzzedDataProvider& data)
{
    static const Text common[] = {
        u"a",  u"b",    u"c",      u"A",      u"\u00e9", u"\u0101", u"",  u"ab",
        u"\r", u"\x7f", u"\ufffd", u"\u00ff", u"\u01ff", u"1",      u" ",
    };
    const uint8_t choice = data.ConsumeIntegral<uint8_t>();
    if (choice < 240)
        return common[choice % std::size(common)];
    Text raw;
    const size_t length = data.ConsumeIntegralInRange<size_t>(0, 3);
    for (size_t i = 0; i < length; ++i)
        raw.push_back(data.ConsumeIntegral<char16_t>());
    return raw;
}

double pickDelay(FuzzedDataProvider& data)
{
    static const double common[] = {0, 0.05, 0.3, 0.4, 0.41, 0.5, 0.6, 0.999, 1.0, 1.5, 60, 0.1};
    const uint8_t choice = data.ConsumeIntegral<uint8_t>();
    if (choice < 240)
        return common[choice % std::size(common)];
    return data.ConsumeFloatingPointInRange<double>(0, 3);
}

// Unit for unit (QString::fromUtf16 would drop a leading U+FEFF as a byte order mark).
QString toQString(const Text& text)
{
    return QString(reinterpret_cast<const QChar*>(text.data()), qsizetype(text.size()));
}

const char* name(ReferenceModel::Answer answer)
{
    switch (answer) {
    case ReferenceModel::Answer::Unlock:
        return "unlock";
    case ReferenceModel::Answer::Nudge:
        return "nudge";
    case ReferenceModel::Answer::Nothing:
        break;
    }
    return "nothing";
}

ReferenceModel::Answer answerOf(PasswordMatcher::Outcome outcome)
{
    switch (outcome) {
    case PasswordMatcher::Outcome::Unlock:
        return ReferenceModel::Answer::Unlock;
    case PasswordMatcher::Outcome::Nudge:
        return ReferenceModel::Answer::Nudge;
    case PasswordMatcher::Outcome::Nothing:
        break;
    }
    return ReferenceModel::Answer::Nothing;
}

// What happened so far, printed when the program and the model part.
std::string history;

std::string describe(const Text& text)
{
    std::string out = "\"";
    for (char16_t unit : text) {
        char hex[8];
        if (unit >= 0x20 && unit < 0x7f && unit != '"' && unit != '\\') {
            out += char(unit);
        } else {
            std::snprintf(hex, sizeof hex, "\\u%04x", unsigned(unit));
            out += hex;
        }
    }
    return out + "\"";
}

std::string describe(const std::vector<int>& flags)
{
    std::string out = "[";
    for (int flag : flags)
        out += std::to_string(flag);
    return out + "]";
}

[[noreturn]] void disagree(int step, const char* what, const char* program, const char* model)
{
    std::fprintf(stderr, "%s\nstep %d (%s): the program says %s, the rules say %s\n",
                 history.c_str(), step, what, program, model);
    std::abort();
}

void compareFlags(int step, const ReferenceModel& model)
{
    const QList<int>& flags = PasswordBuffer::matchFlags();
    const std::vector<int> programFlags(flags.begin(), flags.end());
    if (programFlags != model.flags)
        disagree(step, "match flags", describe(programFlags).c_str(),
                 describe(model.flags).c_str());
    if (PasswordBuffer::getUnlocking() != model.unlocking)
        disagree(step, "unlocking flag", PasswordBuffer::getUnlocking() ? "set" : "clear",
                 model.unlocking ? "set" : "clear");
}

QString guardFolder()
{
    static QTemporaryDir folder;
    return folder.path();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // Made once and never destroyed: Qt's own statics go first at exit.
    new QCoreApplication(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    ReferenceModel model;
    SteppedClock clock;
    clock.seconds = 1000.0;
    double now = 1000.0;

    // The password as read at start-up, and the process's state afresh.
    std::optional<std::vector<Text>> entries;
    if (data.ConsumeBool()) {
        entries.emplace();
        const size_t length = data.ConsumeIntegralInRange<size_t>(0, 6);
        for (size_t i = 0; i < length; ++i)
            entries->push_back(pickText(data));
    }
    bool orderMatters = data.ConsumeBool();
    model.load(entries);
    history = "password";
    if (entries) {
        for (const Text& entry : *entries)
            history += " " + describe(entry);
    } else {
        history += " absent";
    }
    history += orderMatters ? ", in order" : ", chord";
    std::optional<QStringList> stored;
    if (entries) {
        stored.emplace();
        for (const Text& entry : *entries)
            stored->append(toQString(entry));
    }
    PasswordBuffer::load(stored);
    PasswordBuffer::setUnlocking(false);
    PasswordBuffer::setLastNudgeTime(0);
    PasswordMatcher matcher(clock);

    // The guard reads the same files; it opens only with a password, so it is compared only when
    // there is one, and only until the first step other than a key.
    std::optional<GuardPassword> guard;
    if (stored) {
        const QString folder = guardFolder();
        PasswordFile::write(PasswordFile::pathIn(folder), *stored);
        QFile properties(folder + QStringLiteral("/properties.plist"));
        if (properties.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            properties.write(QByteArrayLiteral("<?xml version=\"1.0\"?><plist version=\"1.0\">"
                                               "<dict><key>orderMatters</key>") +
                             (orderMatters ? "<true/>" : "<false/>") + "</dict></plist>");
            properties.close();
        }
        guard.emplace(QFile::encodeName(folder).toStdString());
        guard->load();
        // Entries the file cannot hold as they are (lone surrogates) are not the guard's to keep.
        const auto read = PasswordFile::read(PasswordFile::pathIn(folder));
        if (!guard->isReadable() || read != stored)
            guard.reset();
    }

    for (int step = 0; data.remaining_bytes() > 0 && step < 256; ++step) {
        const uint8_t kind = data.ConsumeIntegral<uint8_t>();
        if (kind < 200) {
            const Text key = pickText(data);
            const double delay = pickDelay(data);
            history += "\n+" + std::to_string(delay) + " s key " + describe(key);
            clock.seconds += delay;
            now += delay;
            const auto program = answerOf(matcher.keyPressed(toQString(key), orderMatters));
            const auto expected = model.key(key, orderMatters, now);
            if (program != expected)
                disagree(step, "key", name(program), name(expected));
            compareFlags(step, model);
            if (guard) {
                const bool opened = guard->keyPressed(key, clock.seconds);
                if (opened != (expected == ReferenceModel::Answer::Unlock))
                    disagree(step, "guard key", opened ? "unlock" : "no unlock",
                             expected == ReferenceModel::Answer::Unlock ? "unlock" : "no unlock");
                if (opened)
                    guard.reset(); // the guard ends with its unlock
            }
            continue;
        }
        guard.reset();
        switch (kind % 4) {
        case 0: // the preferences flip the mode
            orderMatters = !orderMatters;
            history += "\nmode flipped";
            break;
        case 1: // a new lock starts
            history += "\nnew lock";
            PasswordBuffer::setUnlocking(false);
            model.unlocking = false;
            break;
        case 2: { // a password is saved
            Text password;
            const size_t length = data.ConsumeIntegralInRange<size_t>(0, 4);
            for (size_t i = 0; i < length; ++i)
                password += pickText(data);
            history += "\npassword saved " + describe(password);
            PasswordBuffer::rebuildFrom(toQString(password));
            model.save(password);
            break;
        }
        default: { // the hidden field's text is entered
            Text text;
            const size_t length = data.ConsumeIntegralInRange<size_t>(0, 4);
            for (size_t i = 0; i < length; ++i)
                text += pickText(data);
            history += "\nfield " + describe(text);
            const auto program = answerOf(matcher.passwordEntered(toQString(text)));
            const auto expected = model.passwordEntered(text);
            if (program != expected)
                disagree(step, "whole password", name(program), name(expected));
            break;
        }
        }
        compareFlags(step, model);
    }
    return 0;
}
