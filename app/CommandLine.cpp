#include "app/CommandLine.h"

#include "triggers/ScriptingInterface.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QTextStream>

#ifndef TESSARINE_VERSION
#define TESSARINE_VERSION "0"
#endif

CommandLine::Request CommandLine::parse(const QStringList& arguments)
{
    Request request;
    const QStringList words = arguments.mid(1);
    if (words.isEmpty())
        return request;
    const QString& first = words.first();
    if (first == QLatin1String("--help") || first == QLatin1String("-h") ||
        first == QLatin1String("help")) {
        request.action = Action::Help;
    } else if (first == QLatin1String("--version") || first == QLatin1String("-v")) {
        request.action = Action::Version;
    } else if (first == QLatin1String("lock") && words.size() == 1) {
        request.action = Action::Lock;
    } else if (first == QLatin1String("mail") && words.size() == 2) {
        bool ok = false;
        request.mailCount = words.at(1).toInt(&ok);
        request.action = ok ? Action::Mail : Action::Invalid;
        if (!ok)
            request.error =
                QStringLiteral("tessarine: mail wants a whole number, not \"%1\"").arg(words.at(1));
    } else {
        request.action = Action::Invalid;
        request.error = QStringLiteral("tessarine: unknown command \"%1\"").arg(words.join(' '));
    }
    return request;
}

QString CommandLine::helpText()
{
    return QStringLiteral(
        "Usage: tessarine [COMMAND]\n"
        "A screen locker that lives in the system tray.\n"
        "\n"
        "With no command, starts Tessarine (once per session).\n"
        "\n"
        "Commands, for the Tessarine already running in this session:\n"
        "  lock        lock the screen now\n"
        "  mail N      report N unread mails for the lock screen's mail badge\n"
        "\n"
        "Options:\n"
        "  -h, --help     show this help and exit\n"
        "  -v, --version  show the version and exit\n"
        "\n"
        "The same requests can be made over D-Bus: set the int32 property \"lock\" (to 1) or\n"
        "\"mail\" of org.tessarine.Tessarine on /org/tessarine/Tessarine, interface\n"
        "org.tessarine.Tessarine, on the session bus.\n");
}

QString CommandLine::versionText()
{
    return QStringLiteral("tessarine %1\n").arg(QLatin1String(TESSARINE_VERSION));
}

int CommandLine::send(const Request& request, QTextStream& errors)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        errors << "tessarine: cannot reach the session bus: " << bus.lastError().message() << "\n";
        return 1;
    }
    const QString service = QString::fromLatin1(ScriptingInterface::serviceName);
    if (!bus.interface()->isServiceRegistered(service)) {
        errors << "tessarine: Tessarine is not running in this session\n";
        return 1;
    }
    const bool lock = request.action == CommandLine::Action::Lock;
    QDBusMessage set = QDBusMessage::createMethodCall(
        service, QString::fromLatin1(ScriptingInterface::objectPath),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"));
    set << QString::fromLatin1(ScriptingInterface::interfaceName)
        << (lock ? QStringLiteral("lock") : QStringLiteral("mail"))
        << QVariant::fromValue(QDBusVariant(lock ? 1 : request.mailCount));
    const QDBusMessage reply = bus.call(set);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        errors << "tessarine: " << reply.errorMessage() << "\n";
        return 1;
    }
    return 0;
}
