// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

// What ThreadSanitizer cannot see in a Qt that is built without it: locks, deferred deletion, the end of threads, writes.
// Linked into a test, these definitions come before Qt's own, call them and report what they do. Without them correct
// code is reported and races in Qt's containers are not. Compiled without instrumentation: nothing here synchronises
// threads.

#include <QtCore/QDeadlineTimer>
#include <QtCore/QEvent>
#include <QtCore/QEventLoop>
#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QReadWriteLock>
#include <QtCore/QString>
#include <QtCore/QThread>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

extern "C" void __tsan_write_range(void *address, unsigned long size);

// What Qt and its event loop do with memory, with mutexes and file descriptors of their own is none of the tests' business.
extern "C" const char *__tsan_default_suppressions()
{
    return "called_from_lib:libQt5Core.so.5\ncalled_from_lib:libQt5Test.so.5\ncalled_from_lib:libglib-2.0.so.0\n";
}

// Qt's own definition. A member function takes its object first.
template <typename Function>
static Function *real(const char *mangledName)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, mangledName));
}

using TryLock = bool(QReadWriteLock *, int);
static bool lock(QReadWriteLock *lock, TryLock *tryLock, int timeout, unsigned kind)
{
    const unsigned flags = timeout < 0 ? kind : kind | __tsan_mutex_try_lock;
    __tsan_mutex_pre_lock(lock, flags);
    const bool locked = tryLock(lock, timeout);
    __tsan_mutex_post_lock(lock, locked ? flags : flags | __tsan_mutex_try_lock_failed, 0);
    return locked;
}

QReadWriteLock::~QReadWriteLock()
{
    static const auto destroy = real<void(QReadWriteLock *)>("_ZN14QReadWriteLockD1Ev");
    destroy(this);
    __tsan_mutex_destroy(this, 0);
}

bool QReadWriteLock::tryLockForRead(int timeout)
{
    static const auto tryLock = real<TryLock>("_ZN14QReadWriteLock14tryLockForReadEi");
    return lock(this, tryLock, timeout, __tsan_mutex_read_lock);
}

bool QReadWriteLock::tryLockForWrite(int timeout)
{
    static const auto tryLock = real<TryLock>("_ZN14QReadWriteLock15tryLockForWriteEi");
    return lock(this, tryLock, timeout, 0);
}

bool QReadWriteLock::tryLockForRead()
{
    return tryLockForRead(0);
}

bool QReadWriteLock::tryLockForWrite()
{
    return tryLockForWrite(0);
}

void QReadWriteLock::lockForRead()
{
    tryLockForRead(-1);
}

void QReadWriteLock::lockForWrite()
{
    tryLockForWrite(-1);
}

void QReadWriteLock::unlock()
{
    static const auto realUnlock = real<void(QReadWriteLock *)>("_ZN14QReadWriteLock6unlockEv");
    const unsigned flags = stateForWaitCondition() == LockedForRead ? __tsan_mutex_read_lock : 0;
    __tsan_mutex_pre_unlock(this, flags);
    realUnlock(this);
    __tsan_mutex_post_unlock(this, flags);
}

void QObject::deleteLater()
{
    static const auto realDeleteLater = real<void(QObject *)>("_ZN7QObject11deleteLaterEv");
    __tsan_release(this);
    realDeleteLater(this);
}

bool QObject::event(QEvent *event)
{
    static const auto realEvent = real<bool(QObject *, QEvent *)>("_ZN7QObject5eventEP6QEvent");
    if (event->type() == QEvent::DeferredDelete)
        __tsan_acquire(this);
    return realEvent(this, event);
}

// Whoever has waited for a thread sees what that one's event loop has run.
int QEventLoop::exec(ProcessEventsFlags flags)
{
    static const auto realExec =
        real<int(QEventLoop *, ProcessEventsFlags)>("_ZN10QEventLoop4execE6QFlagsINS_17ProcessEventsFlagEE");
    const int code = realExec(this, flags);
    __tsan_release(QThread::currentThread());
    return code;
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto realWait = real<bool(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = realWait(this, deadline);
    __tsan_acquire(this);
    return ended;
}

QString &QString::operator=(const QString &other) noexcept
{
    static const auto assign = real<QString &(QString *, const QString &)>("_ZN7QStringaSERKS_");
    __tsan_write_range(this, sizeof *this);
    __tsan_release(d); // what Qt's decrement of the reference count of the old data is to the thread that frees it
    return assign(this, other);
}

// All of a map's own data but its reference count, which is atomic.
static constexpr unsigned long mapBytes = sizeof(QMapDataBase) - offsetof(QMapDataBase, size);

QMapNodeBase *QMapDataBase::createNode(int nodeSize, int alignment, QMapNodeBase *parent, bool left)
{
    static const auto create = real<QMapNodeBase *(QMapDataBase *, int, int, QMapNodeBase *, bool)>(
        "_ZN12QMapDataBase10createNodeEiiP12QMapNodeBaseb");
    __tsan_write_range(&size, mapBytes);
    return create(this, nodeSize, alignment, parent, left);
}

void QMapDataBase::freeNodeAndRebalance(QMapNodeBase *node)
{
    static const auto freeNode =
        real<void(QMapDataBase *, QMapNodeBase *)>("_ZN12QMapDataBase20freeNodeAndRebalanceEP12QMapNodeBase");
    __tsan_write_range(&size, mapBytes);
    freeNode(this, node);
}
