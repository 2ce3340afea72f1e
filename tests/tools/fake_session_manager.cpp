// A stand-in for a desktop's session manager on the session bus, for the end-to-end tests: it
// takes the name given (org.xfce.SessionManager, say), answers every method call on any object
// path with an empty reply, and prints each call as "call PATH INTERFACE.MEMBER ARGUMENTS".
//   fake_session_manager NAME
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QStringList>

#include <cstdio>

namespace {

class AnswerEverything : public QDBusVirtualObject
{
public:
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.type() != QDBusMessage::MethodCallMessage)
            return false;
        QStringList arguments;
        for (const QVariant& argument : message.arguments())
            arguments << argument.toString();
        std::printf("call %s %s.%s %s\n", qPrintable(message.path()),
                    qPrintable(message.interface()), qPrintable(message.member()),
                    qPrintable(arguments.join(QLatin1Char(' '))));
        std::fflush(stdout);
        return connection.send(message.createReply());
    }
    QString introspect(const QString&) const override { return QString(); }
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: fake_session_manager NAME\n");
        return 2;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    AnswerEverything object;
    if (!bus.registerVirtualObject(QStringLiteral("/"), &object, QDBusConnection::SubPath) ||
        !bus.registerService(QString::fromLocal8Bit(argv[1]))) {
        std::fprintf(stderr, "fake_session_manager: cannot take the name\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return app.exec();
}
