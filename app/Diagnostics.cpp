#include "app/Diagnostics.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QThread>
#include <QWindow>
#include <QtCore/private/qhooks_p.h>

#include <cstdlib>
#include <malloc.h>
#include <mutex>
#include <unordered_set>

namespace {

// Objects are made and destroyed on every thread; the set is shared.
std::mutex objectsMutex;
std::unordered_set<QObject*>* liveObjects = nullptr;
QHooks::AddQObjectCallback previousAdd = nullptr;
QHooks::RemoveQObjectCallback previousRemove = nullptr;

void objectAdded(QObject* object)
{
    {
        const std::lock_guard lock(objectsMutex);
        liveObjects->insert(object);
    }
    if (previousAdd)
        previousAdd(object);
}

void objectRemoved(QObject* object)
{
    {
        const std::lock_guard lock(objectsMutex);
        liveObjects->erase(object);
    }
    if (previousRemove)
        previousRemove(object);
}

} // namespace

bool Diagnostics::requested()
{
    const char* value = std::getenv("TESSARINE_DIAGNOSTICS");
    return value && std::string_view(value) == "1";
}

void Diagnostics::startFollowingObjects()
{
    if (liveObjects)
        return;
    // Lives as long as the process: objects are still destroyed during its exit.
    liveObjects = new std::unordered_set<QObject*>;
    previousAdd = reinterpret_cast<QHooks::AddQObjectCallback>(qtHookData[QHooks::AddQObject]);
    previousRemove =
        reinterpret_cast<QHooks::RemoveQObjectCallback>(qtHookData[QHooks::RemoveQObject]);
    qtHookData[QHooks::AddQObject] = reinterpret_cast<quintptr>(&objectAdded);
    qtHookData[QHooks::RemoveQObject] = reinterpret_cast<quintptr>(&objectRemoved);
}

QString Diagnostics::Counts() const
{
    qsizetype objects = 0;
    qsizetype timers = 0;
    if (liveObjects) {
        QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance(thread());
        QThread* main = thread();
        const std::lock_guard lock(objectsMutex);
        objects = qsizetype(liveObjects->size());
        // Only the main thread's: another thread's dispatcher may not be asked from here.
        for (QObject* object : *liveObjects) {
            if (dispatcher && object->thread() == main)
                timers += dispatcher->registeredTimers(object).size();
        }
    }
    // The heap's bytes in use, apart from what the allocator keeps free: growth here is memory
    // held, not fragmentation.
    const size_t heap = mallinfo2().uordblks;
    return QStringLiteral("objects %1 timers %2 widgets %3 windows %4 heap %5")
        .arg(objects)
        .arg(timers)
        .arg(QApplication::allWidgets().size())
        .arg(QGuiApplication::allWindows().size())
        .arg(qulonglong(heap));
}
