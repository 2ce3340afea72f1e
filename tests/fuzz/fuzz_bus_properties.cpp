// Random requests to the program's object on the session bus, the way any program of the session
// can send them: org.freedesktop.DBus.Properties Set, Get and GetAll with any interface and
// property name and a value of any type, and calls of other members. The program is the real one
// against fake platform services, its object exported by its own SessionBus::claim on a private
// bus (a dbus-daemon of this process's own), so the requests go through QtDBus's property
// handling to ScriptingInterface as they do in use.
//
// Besides never crashing: every request is answered; no property but `lock` and `mail` takes a
// write; only `lock` set to the integer 1 starts a lock, and nothing unlocks; `mail` set to an
// integer reports exactly that count; a read of `lock` or `mail` answers 1; and neither the options
// file, the password file nor the settings in memory change.

#include "PrivateBus.h"
#include "StartedProgram.h"

#include "input/PasswordFile.h"
#include "lockscreen/MailBadge.h"
#include "platform/SessionBus.h"
#include "triggers/ScriptingInterface.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <QApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>
#include <cstdlib>

namespace {

const QString service = QString::fromLatin1(ScriptingInterface::serviceName);
const QString path = QString::fromLatin1(ScriptingInterface::objectPath);
const QString interface = QString::fromLatin1(ScriptingInterface::interfaceName);
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

[[noreturn]] void fail(const char* what, const QString& detail = QString())
{
    std::fprintf(stderr, "%s %s\n", what, qPrintable(detail));
    std::abort();
}

PrivateBus* bus = nullptr;

QString pickName(FuzzedDataProvider& data)
{
    static const char* const common[] = {
        "lock",
        "mail",
        "Lock",
        "MAIL",
        "objectName",
        "",
        "lock\0x",
        "mail ",
        "destroyed",
        "deleteLater",
        "org.tessarine.Tessarine.lock",
    };
    const uint8_t choice = data.ConsumeIntegral<uint8_t>();
    if (choice < 224)
        return QString::fromLatin1(common[choice % std::size(common)]);
    return QString::fromStdString(data.ConsumeRandomLengthString(24));
}

QString pickInterface(FuzzedDataProvider& data)
{
    switch (data.ConsumeIntegralInRange<int>(0, 5)) {
    case 0:
    case 1:
        return interface;
    case 2:
        return QString();
    case 3:
        return QStringLiteral("org.tessarine.Other");
    case 4:
        return properties;
    default:
        return QString::fromStdString(data.ConsumeRandomLengthString(24));
    }
}

qint64 pickInteger(FuzzedDataProvider& data)
{
    static const qint64 common[] = {1, 0, -1, 2, 9, 10, 2147483647, -2147483647 - 1, 4294967297LL};
    if (data.ConsumeBool())
        return common[data.ConsumeIntegralInRange<size_t>(0, std::size(common) - 1)];
    return data.ConsumeIntegral<qint64>();
}

// A value of one of the types a D-Bus message can carry.
QVariant pickValue(FuzzedDataProvider& data, int depth = 0)
{
    const qint64 n = pickInteger(data);
    switch (data.ConsumeIntegralInRange<int>(0, 15)) {
    case 0:
    case 1:
    case 2:
        return QVariant::fromValue(int(n));
    case 3:
        return QVariant::fromValue(uint(n));
    case 4:
        return QVariant::fromValue(qlonglong(n));
    case 5:
        return QVariant::fromValue(qulonglong(n));
    case 6:
        return QVariant::fromValue(short(n));
    case 7:
        return QVariant::fromValue(ushort(n));
    case 8:
        return QVariant::fromValue(uchar(n));
    case 9:
        return QVariant::fromValue(n % 2 != 0);
    case 10:
        return QVariant::fromValue(data.ConsumeFloatingPoint<double>());
    case 11:
        return data.ConsumeBool() ? QVariant::fromValue(QString::number(n))
                                  : QVariant::fromValue(
                                        QString::fromStdString(data.ConsumeRandomLengthString(16)));
    case 12:
        return QVariant::fromValue(QDBusObjectPath(QStringLiteral("/a/b")));
    case 13:
        return QVariant::fromValue(QList<int>{int(n), 1});
    case 14:
        return QVariant::fromValue(QStringList{
            QString::number(n), QString::fromStdString(data.ConsumeRandomLengthString(8))});
    default:
        if (depth < 2)
            return QVariant::fromValue(QDBusVariant(pickValue(data, depth + 1)));
        return QVariant::fromValue(QByteArray::fromStdString(data.ConsumeRandomLengthString(8)));
    }
}

// The request, and its answer once the program has handled it.
QDBusMessage call(QDBusConnection& client, const QDBusMessage& request)
{
    QDBusPendingCall pending = client.asyncCall(request, 5000);
    QElapsedTimer waited;
    waited.start();
    while (!pending.isFinished()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (waited.elapsed() > 10000)
            fail("the program did not answer a request");
    }
    return pending.reply();
}

QByteArray contents(const QString& file)
{
    QFile f(file);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("(none)");
}

bool samePreferences(const Preferences& a, const Preferences& b)
{
    return a.dimEnabled == b.dimEnabled && a.lockBrightness == b.lockBrightness &&
           a.timeout == b.timeout && a.timeoutTime == b.timeoutTime &&
           a.lockOnWakeVariable == b.lockOnWakeVariable && a.textIsBlack == b.textIsBlack &&
           a.showMusic == b.showMusic && a.showTime == b.showTime &&
           a.showBattery == b.showBattery && a.showCapslock == b.showCapslock &&
           a.showDoNotDisturb == b.showDoNotDisturb && a.showShutDown == b.showShutDown &&
           a.lockImageType == b.lockImageType && a.backgroundType == b.backgroundType &&
           a.flat == b.flat && a.openAtLogin == b.openAtLogin && a.useShortcut == b.useShortcut &&
           a.useTimer == b.useTimer && a.hour == b.hour && a.minute == b.minute &&
           a.date == b.date && a.shortcutModifier1 == b.shortcutModifier1 &&
           a.shortcutModifier2 == b.shortcutModifier2 &&
           a.shortcutModifier3 == b.shortcutModifier3 && a.shortcutKey == b.shortcutKey &&
           a.shortcutString == b.shortcutString && a.orderMatters == b.orderMatters &&
           a.startAnimation == b.startAnimation && a.closeAnimation == b.closeAnimation &&
           a.wiggleStrength == b.wiggleStrength && a.wiggleLock == b.wiggleLock;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Made once and never destroyed: Qt's own statics go first at exit, and a QApplication
    // destroyed after them crashes.
    new QApplication(*argc, *argv);
    static PrivateBus privateBus;
    if (!privateBus.isUp())
        fail("dbus-daemon did not start");
    bus = &privateBus;
    // The program's own connection is the session bus: this one.
    qputenv("DBUS_SESSION_BUS_ADDRESS", privateBus.address().toUtf8());

    // Libraries that set themselves up on first use (fontconfig's caches, say) keep what they
    // made for the life of the process: done here once, it is not taken for a leak of an input.
    TestLibrary library;
    library.configure(QStringLiteral("<key>showShutDown</key><true/>"), {"a"});
    StartedProgram program(library.folder());
    program.delegate->lock();
    program.scheduler.advance(std::chrono::milliseconds(1000));
    for (int count : {3, 12, -1, 0})
        program.delegate->scriptingInterface()->setMail(count);
    program.delegate->unlock();
    program.scheduler.advance(std::chrono::milliseconds(1000));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    TestLibrary library;
    library.configure(QStringLiteral("<key>showShutDown</key><true/>"), {"a"});
    StartedProgram program(library.folder());
    if (SessionBus::claim(*program.delegate->scriptingInterface()) != SessionBus::Claim::Claimed)
        fail("the program could not claim its name on the private bus");
    static QDBusConnection client = bus->connect(QStringLiteral("client"));

    const QByteArray options = contents(library.propertiesPath());
    const QByteArray password = contents(library.passwordPath());
    const Preferences settings = program.delegate->preferences();
    MailBadge& badge = *program.delegate->mailBadge();

    for (int step = 0; data.remaining_bytes() > 0 && step < 16; ++step) {
        const bool wasLocked = program.delegate->isLockActive();
        const int mailBefore = badge.lastMailCount();
        const int kind = data.ConsumeIntegralInRange<int>(0, 9);
        QDBusMessage request;
        QString name;
        QString iface;
        QVariant value;
        if (kind <= 5) {
            iface = pickInterface(data);
            name = pickName(data);
            value = pickValue(data);
            request = QDBusMessage::createMethodCall(service, path, properties, "Set");
            request << iface << name << QVariant::fromValue(QDBusVariant(value));
        } else if (kind == 6) {
            iface = pickInterface(data);
            name = pickName(data);
            request = QDBusMessage::createMethodCall(service, path, properties, "Get");
            request << iface << name;
        } else if (kind == 7) {
            request = QDBusMessage::createMethodCall(service, path, properties, "GetAll");
            request << pickInterface(data);
        } else {
            // Any member, with arguments of any type: Set with a value that is not a variant,
            // or the property names called as methods.
            QString member = pickName(data);
            if (member.isEmpty() || member.contains(QChar(0)) || member.contains(QChar(' ')))
                member = QStringLiteral("Set");
            request = QDBusMessage::createMethodCall(service, path,
                                                     kind == 8 ? properties : interface, member);
            const int count = data.ConsumeIntegralInRange<int>(0, 3);
            for (int i = 0; i < count; ++i)
                request << pickValue(data);
        }
        const QDBusMessage reply = call(client, request);
        // The lock's first steps are timers of the fake scheduler: let them run.
        program.scheduler.advance(std::chrono::milliseconds(500));

        const bool setsOurs = kind <= 5 && (iface.isEmpty() || iface == interface);
        const bool isInt = value.metaType() == QMetaType::fromType<int>();
        if (wasLocked && !program.delegate->isLockActive())
            fail("a request unlocked the screen");
        if (!wasLocked && program.delegate->isLockActive() && !(setsOurs && name == "lock"))
            fail("a request other than setting lock locked the screen:", name);
        if (kind <= 5 && reply.type() == QDBusMessage::ReplyMessage && name != "lock" &&
            name != "mail")
            fail("the bus wrote a property other than lock and mail:", name);
        if (setsOurs && name == "lock" && isInt) {
            if (reply.type() != QDBusMessage::ReplyMessage)
                fail("setting lock to an integer was refused:", reply.errorMessage());
            if (!wasLocked && program.delegate->isLockActive() != (value.toInt() == 1))
                fail("setting lock to an integer other than 1 locked, or 1 did not");
        }
        if (setsOurs && name == "mail" && isInt) {
            if (reply.type() != QDBusMessage::ReplyMessage)
                fail("setting mail to an integer was refused:", reply.errorMessage());
            if (badge.lastMailCount() != value.toInt())
                fail("the mail count is not the one set");
        } else if (!(setsOurs && name == "mail") && badge.lastMailCount() != mailBefore) {
            fail("a request other than setting mail changed the mail count:", name);
        }
        // (QtDBus answers a read without the interface's name with an error.)
        if (kind == 6 && iface == interface && (name == "lock" || name == "mail")) {
            const QVariant answer =
                reply.arguments().isEmpty() ? QVariant() : reply.arguments().first();
            if (qvariant_cast<QDBusVariant>(answer).variant() != QVariant(1))
                fail("reading a property did not answer 1:",
                     name + QStringLiteral(" (") + reply.errorMessage() + answer.typeName() +
                         QStringLiteral(")"));
        }
        if (contents(library.propertiesPath()) != options)
            fail("a request changed the options file");
        if (contents(library.passwordPath()) != password)
            fail("a request changed the password file");
        if (!samePreferences(settings, program.delegate->preferences()))
            fail("a request changed the settings in memory");
    }

    // Still answering.
    QDBusMessage get = QDBusMessage::createMethodCall(service, path, properties, "Get");
    get << interface << QStringLiteral("lock");
    if (call(client, get).type() != QDBusMessage::ReplyMessage)
        fail("the program no longer answers");

    if (program.delegate->isLockActive()) {
        program.delegate->unlock();
        program.scheduler.advance(std::chrono::milliseconds(1000));
    }
    QDBusConnection::sessionBus().unregisterObject(path);
    QDBusConnection::sessionBus().unregisterService(service);
    return 0;
}
