#include "platform/Log.h"

#include <cstdio>

namespace {
Log::Sink& sink()
{
    static Log::Sink s;
    return s;
}
} // namespace

void Log::line(const QString& message)
{
    if (sink()) {
        sink()(message);
        return;
    }
    const QByteArray bytes = message.toLocal8Bit();
    std::fprintf(stderr, "tessarine: %s\n", bytes.constData());
    std::fflush(stderr);
}

void Log::setSink(Sink s)
{
    sink() = std::move(s);
}
