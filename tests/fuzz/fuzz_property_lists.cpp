// Any bytes as the options file and as the password file, read the ways the program and its guard
// read them. Besides never crashing, hanging or leaking:
// - the guard reads the same password and the same orderMatters as the program;
// - the settings the program loaded, saved back from memory the way the program saves them (its
//   preference actions where they exist), load again as the same settings, each key written in
//   its declared type, no other key lost or changed;
// - a password file that reads, written again, reads as the same password.

#include "PlatformFakes.h"
#include "TestLibrary.h"

#include "guard/GuardPassword.h"
#include "input/PasswordFile.h"
#include "settings/PreferenceActions.h"
#include "settings/Preferences.h"
#include "settings/PropertyListFile.h"
#include "settings/SettingKeys.h"
#include "settings/SettingsStore.h"

#include <plist/plist++.h>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace {

[[noreturn]] void fail(const char* what, const QString& detail = QString())
{
    std::fprintf(stderr, "%s %s\n", what, qPrintable(detail));
    std::abort();
}

QString folder()
{
    static QTemporaryDir dir;
    return dir.path();
}

void writeBytes(const QString& path, const uint8_t* bytes, size_t size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        fail("cannot write", path);
    file.write(reinterpret_cast<const char*>(bytes), qint64(size));
}

std::optional<PasswordRules::Buffer> asUtf16(const std::optional<QStringList>& entries)
{
    if (!entries)
        return std::nullopt;
    PasswordRules::Buffer buffer;
    for (const QString& entry : *entries)
        buffer.push_back(entry.toStdU16String());
    return buffer;
}

// Saves every setting the program saves from memory, as it saves it: the numbers through their
// preference actions, the rest as the check boxes, the hot key and the time picker write their
// key. Returns the keys written.
std::vector<const SettingKey*> saveFromMemory(Preferences& p, const SettingsStore& store,
                                              const SettingsSnapshot& file)
{
    static FakeLoginItems loginItems;
    static FakeDialogs dialogs;
    PreferenceActions actions(p, store, loginItems, dialogs,
                              {[] {}, [] {}, [](const QString&) {}, [](const QImage&) {}, [] {},
                               [](bool) {}, [] { return nullptr; }});
    actions.setTimeout(p.timeoutTime);
    actions.setLockBrightness(p.lockBrightness);
    actions.screenSliderChanged(p.wiggleStrength);
    actions.lockAnimationChosen(p.startAnimation);
    actions.unlockAnimationChosen(p.closeAnimation);
    std::vector<const SettingKey*> written = {&Keys::timeoutTime, &Keys::lockBrightnes,
                                              &Keys::wiggleStrength, &Keys::startAnimation,
                                              &Keys::closeAnimation};

    // The check boxes write their boolean as it is in memory; written in one go, for speed.
    std::vector<SettingAssignment> others = {
        {&Keys::showMusic, p.showMusic},
        {&Keys::showTime, p.showTime},
        {&Keys::showBattery, p.showBattery},
        {&Keys::showDoNotDisturb, p.showDoNotDisturb},
        {&Keys::showShutDown, p.showShutDown},
        {&Keys::showCapslock, p.showCapslock},
        {&Keys::wiggleLock, p.wiggleLock},
        {&Keys::flat, p.flat},
        {&Keys::dim, p.dimEnabled},
        {&Keys::timeout, p.timeout},
        {&Keys::openAtLogin, p.openAtLogin},
        {&Keys::lockOnWake, p.lockOnWakeVariable},
        {&Keys::useShortcut, p.useShortcut},
        {&Keys::useTimer, p.useTimer},
        {&Keys::orderMatters, p.orderMatters},
        {&Keys::shortcutKey, qint64(p.shortcutKey)},
    };
    if (p.date)
        others.push_back({&Keys::date, *p.date});
    if (p.shortcutString)
        others.push_back({&Keys::shortcutString, *p.shortcutString});
    if (p.shortcutModifier1)
        others.push_back({&Keys::shortcutModifier1, qint64(*p.shortcutModifier1)});
    if (p.shortcutModifier2)
        others.push_back({&Keys::shortcutModifier2, qint64(*p.shortcutModifier2)});
    if (p.shortcutModifier3)
        others.push_back({&Keys::shortcutModifier3, qint64(*p.shortcutModifier3)});
    for (const SettingKey* key : {&Keys::lockImageURL, &Keys::desktopImageURL}) {
        if (const auto url = file.stringValue(*key))
            others.push_back({key, *url});
    }
    store.set(others);
    for (const SettingAssignment& assignment : others)
        written.push_back(assignment.key);
    return written;
}

bool sameFloat(float a, float b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Every field the program reads, compared; the name of the first that differs.
const char* differingSetting(const Preferences& a, const Preferences& b)
{
#define SAME(field)                                                                                \
    if (!(a.field == b.field))                                                                     \
        return #field;
    SAME(dimEnabled)
    SAME(timeout)
    SAME(lockOnWakeVariable)
    SAME(textIsBlack)
    SAME(showMusic)
    SAME(showTime)
    SAME(showBattery)
    SAME(showCapslock)
    SAME(showDoNotDisturb)
    SAME(showShutDown)
    SAME(lockImageType)
    SAME(backgroundType)
    SAME(flat)
    SAME(openAtLogin)
    SAME(useShortcut)
    SAME(useTimer)
    SAME(hour)
    SAME(minute)
    SAME(date)
    SAME(shortcutModifier1)
    SAME(shortcutModifier2)
    SAME(shortcutModifier3)
    SAME(shortcutKey)
    SAME(shortcutString)
    SAME(orderMatters)
    SAME(startAnimation)
    SAME(closeAnimation)
    SAME(wiggleStrength)
    SAME(wiggleLock)
#undef SAME
    if (!sameFloat(a.lockBrightness, b.lockBrightness))
        return "lockBrightness";
    if (!sameFloat(a.timeoutTime, b.timeoutTime))
        return "timeoutTime";
    return nullptr;
}

const char* declaredTypeName(SettingType type)
{
    switch (type) {
    case SettingType::Boolean:
        return "boolean";
    case SettingType::Integer:
        return "integer";
    case SettingType::Real:
        return "real";
    case SettingType::String:
        return "string";
    case SettingType::Date:
        break;
    }
    return "other"; // describeProperties names dates "other"
}

void checkOptions(const QString& path)
{
    const SettingsStore store(folder());
    const SettingsSnapshot first = store.load();
    Preferences before;
    before.loadFrom(first);

    // The guard decides the mode of its own matching from the same file.
    if (GuardPassword::readOrderMatters(QFile::encodeName(path).toStdString()) !=
        before.orderMatters)
        fail("the guard reads another orderMatters than the program");

    const auto described = describeProperties(path);
    if (described.has_value() != first.hasDictionary())
        fail("the file is a dictionary to one reader and not to the other");
    if (!first.hasDictionary())
        return;

    Preferences memory = before;
    const std::vector<const SettingKey*> saved = saveFromMemory(memory, store, first);
    if (const char* field = differingSetting(before, memory))
        fail("saving every setting as it was changed one in memory:", QString::fromLatin1(field));

    const SettingsSnapshot second = store.load();
    if (!second.hasDictionary())
        fail("the options file written back no longer reads");
    Preferences after;
    after.loadFrom(second);
    if (const char* field = differingSetting(before, after))
        fail("a setting changed by saving it as it was:", QString::fromLatin1(field));

    const auto rewritten = describeProperties(path);
    for (const SettingKey* key : saved) {
        const QString name = QString::fromLatin1(key->name);
        const QString value = rewritten->value(name);
        if (!value.startsWith(QString::fromLatin1(declaredTypeName(key->type))))
            fail("a key is written in another type than declared:", name + " " + value);
    }
    for (auto it = described->begin(); it != described->end(); ++it) {
        if (!rewritten->contains(it.key()))
            fail("a key was lost by writing the file back:", it.key());
        bool ours = false;
        for (const SettingKey* key : saved)
            ours = ours || it.key() == QString::fromLatin1(key->name);
        if (!ours && rewritten->value(it.key()) != it.value())
            fail("a key the program does not write changed:", it.key());
    }
}

void checkPassword(const QString& path)
{
    const std::optional<QStringList> entries = PasswordFile::read(path);
    const std::string nativePath = QFile::encodeName(path).toStdString();
    if (GuardPassword::readPassword(nativePath) != asUtf16(entries))
        fail("the guard reads another password than the program");
    if (!entries)
        return;

    const QString copy = folder() + QStringLiteral("/copy.plist");
    if (!PasswordFile::write(copy, *entries))
        fail("a password that was read could not be written");
    if (PasswordFile::read(copy) != entries)
        fail("a password written and read again is another password");
    if (GuardPassword::readPassword(QFile::encodeName(copy).toStdString()) != asUtf16(entries))
        fail("the guard reads a written password otherwise");
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
    // The same bytes serve as both files: a dictionary tries the options, an array the password.
    const QString options = folder() + QStringLiteral("/properties.plist");
    const QString password = PasswordFile::pathIn(folder());
    writeBytes(options, bytes, size);
    writeBytes(password, bytes, size);
    checkOptions(options);
    checkPassword(password);
    return 0;
}
