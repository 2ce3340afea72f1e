#include "platform/wayland/WaylandLockRecord.h"

#include "platform/RegularFile.h"

#include <QFile>
#include <QSaveFile>

#include <sys/socket.h>
#include <sys/types.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <fstream>
#include <string>

namespace {

// The start time of a process in clock ticks since boot (the 22nd field of /proc/PID/stat,
// counted after the command's closing parenthesis); empty when it is gone.
QByteArray startTimeOf(pid_t pid)
{
    // The kernel's own file, of no size until read: read as a stream.
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(stat, text);
    const QByteArray line = QByteArray::fromStdString(text);
    const qsizetype end = line.lastIndexOf(')');
    if (end < 0)
        return {};
    const QList<QByteArray> fields = line.mid(end + 2).split(' ');
    // The field after the parenthesis is the third.
    return fields.size() > 19 ? fields.at(19) : QByteArray();
}

// The program a process runs, as the kernel names it; empty when it is gone or a zombie.
QByteArray programOf(pid_t pid)
{
    char target[PATH_MAX];
    const std::string link = "/proc/" + std::to_string(pid) + "/exe";
    const ssize_t size = ::readlink(link.c_str(), target, sizeof(target));
    return size > 0 ? QByteArray(target, size) : QByteArray();
}

// Another process of this program lives under that id (an id taken again by something else,
// or by ourselves, does not count).
bool tessarineRuns(pid_t pid)
{
    if (pid <= 0 || pid == ::getpid() || ::kill(pid, 0) != 0)
        return false;
    const QByteArray program = programOf(pid);
    return !program.isEmpty() && program == programOf(::getpid());
}

} // namespace

WaylandLockRecord::WaylandLockRecord(int displaySocket) : m_path(path())
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (displaySocket < 0 ||
        ::getsockopt(displaySocket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid <= 0)
        return;
    const QByteArray started = startTimeOf(peer.pid);
    if (!started.isEmpty())
        m_compositor = QByteArray::number(peer.pid) + '@' + started;
}

QString WaylandLockRecord::path()
{
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (folder.isEmpty())
        return {};
    QString display = qEnvironmentVariable("WAYLAND_DISPLAY", QStringLiteral("wayland-0"));
    for (QChar& c : display) {
        if (!(c.isLetterOrNumber() && c.unicode() < 128) && c != u'.' && c != u'-')
            c = u'_';
    }
    return folder + QStringLiteral("/tessarine-wayland-lock-") + display;
}

void WaylandLockRecord::writeHeld() const
{
    if (m_path.isEmpty() || m_compositor.isEmpty())
        return;
    // Whole or not at all: a note cut short by a crash would name nobody.
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(QByteArray::number(::getpid()) + ' ' + m_compositor + '\n');
    file.commit();
}

void WaylandLockRecord::remove() const
{
    if (!m_path.isEmpty())
        QFile::remove(m_path);
}

bool WaylandLockRecord::leftStanding() const
{
    if (m_path.isEmpty() || m_compositor.isEmpty())
        return false;
    const RegularFile::Content note = RegularFile::read(m_path.toStdString(), 256);
    if (!note.isRead())
        return false;
    const QList<QByteArray> fields = QByteArray::fromStdString(note.bytes).trimmed().split(' ');
    if (fields.size() != 2 || fields.at(1) != m_compositor)
        return false;
    bool valid = false;
    const pid_t holder = pid_t(fields.at(0).toInt(&valid));
    return valid && !tessarineRuns(holder);
}
