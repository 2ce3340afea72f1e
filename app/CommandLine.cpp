#include "app/CommandLine.h"

#include <dbus/dbus.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <unistd.h>

#ifndef TESSARINE_VERSION
#define TESSARINE_VERSION "0"
#endif

namespace {

constexpr const char* serviceName = "org.tessarine.Tessarine";
constexpr const char* objectPath = "/org/tessarine/Tessarine";
constexpr const char* interfaceName = "org.tessarine.Tessarine";

bool wholeNumber(const std::string& text, int& value)
{
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    const long parsed = std::strtol(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0' || parsed < INT_MIN || parsed > INT_MAX)
        return false;
    value = static_cast<int>(parsed);
    return true;
}

// Frees what libdbus hands out, on every path.
struct Connection
{
    DBusConnection* bus = nullptr;
    ~Connection()
    {
        if (bus)
            dbus_connection_unref(bus);
    }
};
struct Message
{
    DBusMessage* message = nullptr;
    ~Message()
    {
        if (message)
            dbus_message_unref(message);
    }
};
struct Error
{
    DBusError error;
    Error() { dbus_error_init(&error); }
    ~Error() { dbus_error_free(&error); }
};

} // namespace

CommandLine::Request CommandLine::parse(const std::vector<std::string>& arguments)
{
    Request request;
    if (arguments.size() < 2)
        return request;
    const std::string& first = arguments[1];
    const size_t words = arguments.size() - 1;
    if (first == "--help" || first == "-h" || first == "help") {
        request.action = Action::Help;
    } else if (first == "--version" || first == "-v") {
        request.action = Action::Version;
    } else if (first == "lock" && words == 1) {
        request.action = Action::Lock;
    } else if (first == "mail" && words == 2) {
        if (wholeNumber(arguments[2], request.mailCount)) {
            request.action = Action::Mail;
        } else {
            request.action = Action::Invalid;
            request.error = "tessarine: mail wants a whole number, not \"" + arguments[2] + "\"";
        }
    } else {
        std::string all;
        for (size_t i = 1; i < arguments.size(); ++i)
            all += (i > 1 ? " " : "") + arguments[i];
        request.action = Action::Invalid;
        request.error = "tessarine: unknown command \"" + all + "\"";
    }
    return request;
}

CommandLine::Request CommandLine::parse(int argc, char** argv)
{
    return parse(std::vector<std::string>(argv, argv + argc));
}

std::string CommandLine::helpText()
{
    return "Usage: tessarine [COMMAND]\n"
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
           "org.tessarine.Tessarine, on the session bus.\n";
}

std::string CommandLine::versionText()
{
    return std::string("tessarine ") + TESSARINE_VERSION + "\n";
}

namespace {

// xss-lock --transfer-sleep-lock hands its sleep inhibitor to the locker as the descriptor named
// by XSS_SLEEP_LOCK_FD, for the locker to close once the screen is locked. It is held here until
// the running Tessarine answers that the lock screen shows on every display (at most 5 s, the
// login manager's own limit), then closed, so that the machine sleeps only then.
void holdSleepLockUntilShown(DBusConnection* bus)
{
    const char* named = std::getenv("XSS_SLEEP_LOCK_FD");
    if (!named || !*named)
        return;
    char* end = nullptr;
    errno = 0;
    const long fd = std::strtol(named, &end, 10);
    if (errno != 0 || *end != '\0' || fd < 0 || fd > INT_MAX)
        return;
    Message call;
    call.message =
        dbus_message_new_method_call(serviceName, objectPath, interfaceName, "WaitUntilShown");
    Error error;
    Message reply;
    reply.message =
        dbus_connection_send_with_reply_and_block(bus, call.message, 5000, &error.error);
    ::close(int(fd));
}

} // namespace

int CommandLine::send(const Request& request, std::string& errors)
{
    Error error;
    Connection connection;
    connection.bus = dbus_bus_get_private(DBUS_BUS_SESSION, &error.error);
    if (!connection.bus) {
        errors = std::string("tessarine: cannot reach the session bus: ") +
                 (error.error.message ? error.error.message : "unknown error") + "\n";
        return 1;
    }
    dbus_connection_set_exit_on_disconnect(connection.bus, FALSE);
    // One call and no ownership query first: the time from `tessarine lock` to the grab is
    // mostly round trips through the bus. Where a service file is installed, the bus starts
    // Tessarine for the call; otherwise the call fails with ServiceUnknown.
    const bool lock = request.action == Action::Lock;
    Message call;
    if (lock) {
        // The lock method, not a write of `lock`: its answer says whether the lock holds the
        // keyboard and the pointer.
        call.message =
            dbus_message_new_method_call(serviceName, objectPath, interfaceName, "lockScreen");
    } else {
        call.message = dbus_message_new_method_call(serviceName, objectPath,
                                                    "org.freedesktop.DBus.Properties", "Set");
        const char* interface = interfaceName;
        const char* property = "mail";
        const dbus_int32_t value = request.mailCount;
        DBusMessageIter arguments;
        DBusMessageIter variant;
        dbus_message_iter_init_append(call.message, &arguments);
        dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &interface);
        dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &property);
        dbus_message_iter_open_container(&arguments, DBUS_TYPE_VARIANT, DBUS_TYPE_INT32_AS_STRING,
                                         &variant);
        dbus_message_iter_append_basic(&variant, DBUS_TYPE_INT32, &value);
        dbus_message_iter_close_container(&arguments, &variant);
    }
    Message reply;
    reply.message =
        dbus_connection_send_with_reply_and_block(connection.bus, call.message, 5000, &error.error);
    if (lock && reply.message)
        holdSleepLockUntilShown(connection.bus);
    dbus_connection_close(connection.bus);
    if (!reply.message) {
        if (dbus_error_has_name(&error.error, DBUS_ERROR_SERVICE_UNKNOWN) ||
            dbus_error_has_name(&error.error, DBUS_ERROR_NAME_HAS_NO_OWNER)) {
            errors = "tessarine: Tessarine is not running in this session\n";
            return 1;
        }
        errors = std::string("tessarine: ") +
                 (error.error.message ? error.error.message : "no answer") + "\n";
        return 1;
    }
    return 0;
}
