// Changes preferences through the program's own store, for the test that kills writers at random
// moments:
//   preference_writer write FOLDER FIRST LAST  for each N from FIRST to LAST, one read-modify-write
//                                              of properties.plist in FOLDER setting timeoutTime
//                                              to N and lockImageURL to "file:///lock/N.png";
//                                              prints "writing N" before and "wrote N" after each
//                                              (unbuffered, so a kill loses no line)
//   preference_writer read FOLDER              prints the two keys as the program reads them at
//                                              start ("N file:///lock/N.png"); exits 1 when the
//                                              file is not a readable dictionary
#include "settings/SettingKeys.h"
#include "settings/SettingsStore.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

void say(const std::string& line)
{
    const std::string text = line + "\n";
    // One write(2) per line: nothing sits in a buffer when SIGKILL comes.
    [[maybe_unused]] const ssize_t n = ::write(STDOUT_FILENO, text.data(), text.size());
}

QString urlFor(qint64 n)
{
    return QStringLiteral("file:///lock/%1.png").arg(n);
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "write" && argc == 5) {
        const SettingsStore store(QString::fromLocal8Bit(argv[2]));
        const qint64 first = std::strtoll(argv[3], nullptr, 10);
        const qint64 last = std::strtoll(argv[4], nullptr, 10);
        for (qint64 n = first; n <= last; ++n) {
            say("writing " + std::to_string(n));
            if (!store.set({{&Keys::timeoutTime, n}, {&Keys::lockImageURL, urlFor(n)}})) {
                std::fprintf(stderr, "preference_writer: write %lld failed\n",
                             static_cast<long long>(n));
                return 1;
            }
            say("wrote " + std::to_string(n));
        }
        return 0;
    }
    if (command == "read" && argc == 3) {
        const SettingsStore store(QString::fromLocal8Bit(argv[2]));
        const SettingsSnapshot snapshot = store.load();
        if (!snapshot.hasDictionary())
            return 1;
        std::printf("%lld %s\n", static_cast<long long>(snapshot.longValue(Keys::timeoutTime)),
                    qPrintable(snapshot.stringValue(Keys::lockImageURL).value_or(QString())));
        return 0;
    }
    std::fprintf(stderr, "usage: preference_writer write FOLDER FIRST LAST | read FOLDER\n");
    return 2;
}
