// Built into every test only under the thread sanitizer (Clang, Linux; see
// tessera_test and scripts/tsan.sh). Debian's Qt is not instrumented: the
// sanitizer cannot see that QMutex and QReadWriteLock order the threads
// that take them, and would report every access they guard as a race. These
// definitions come before Qt's in symbol look-up (the executable's own), tell
// the sanitizer what each lock orders, and call Qt's.
//
// A write lock orders after every earlier holder; a read lock only after the
// writers, so that two readers still race when they write what they share.

#include <QMutex>
#include <QReadWriteLock>

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>
#include <utility>
#include <vector>

namespace {

template <typename Function>
Function qtOwn(const char* symbol)
{
    void* address = dlsym(RTLD_NEXT, symbol);
    if (!address)
        std::abort();
    Function function;
    std::memcpy(&function, &address, sizeof function);
    return function;
}

// Where writers release (and everyone acquires) and where readers release
// (and writers acquire).
void* writers(const void* lock)
{
    return const_cast<void*>(lock);
}
void* readers(const void* lock)
{
    return static_cast<char*>(const_cast<void*>(lock)) + 1;
}

// The read-write locks this thread holds, last taken last, and how.
thread_local std::vector<std::pair<const void*, bool>> held;

void lockedForRead(const QReadWriteLock* lock)
{
    __tsan_acquire(writers(lock));
    held.emplace_back(lock, true);
}

void lockedForWrite(const QReadWriteLock* lock)
{
    __tsan_acquire(writers(lock));
    __tsan_acquire(readers(lock));
    held.emplace_back(lock, false);
}

} // namespace

#define TESSERA_VISIBLE __attribute__((visibility("default")))

TESSERA_VISIBLE void QReadWriteLock::lockForRead()
{
    static const auto own = qtOwn<void (*)(QReadWriteLock*)>("_ZN14QReadWriteLock11lockForReadEv");
    own(this);
    lockedForRead(this);
}

TESSERA_VISIBLE bool QReadWriteLock::tryLockForRead()
{
    static const auto own = qtOwn<bool (*)(QReadWriteLock*)>("_ZN14QReadWriteLock14tryLockForReadEv");
    const bool locked = own(this);
    if (locked)
        lockedForRead(this);
    return locked;
}

TESSERA_VISIBLE bool QReadWriteLock::tryLockForRead(int timeout)
{
    static const auto own = qtOwn<bool (*)(QReadWriteLock*, int)>("_ZN14QReadWriteLock14tryLockForReadEi");
    const bool locked = own(this, timeout);
    if (locked)
        lockedForRead(this);
    return locked;
}

TESSERA_VISIBLE void QReadWriteLock::lockForWrite()
{
    static const auto own = qtOwn<void (*)(QReadWriteLock*)>("_ZN14QReadWriteLock12lockForWriteEv");
    own(this);
    lockedForWrite(this);
}

TESSERA_VISIBLE bool QReadWriteLock::tryLockForWrite()
{
    static const auto own = qtOwn<bool (*)(QReadWriteLock*)>("_ZN14QReadWriteLock15tryLockForWriteEv");
    const bool locked = own(this);
    if (locked)
        lockedForWrite(this);
    return locked;
}

TESSERA_VISIBLE bool QReadWriteLock::tryLockForWrite(int timeout)
{
    static const auto own = qtOwn<bool (*)(QReadWriteLock*, int)>("_ZN14QReadWriteLock15tryLockForWriteEi");
    const bool locked = own(this, timeout);
    if (locked)
        lockedForWrite(this);
    return locked;
}

TESSERA_VISIBLE void QReadWriteLock::unlock()
{
    static const auto own = qtOwn<void (*)(QReadWriteLock*)>("_ZN14QReadWriteLock6unlockEv");
    bool read = false;
    for (auto it = held.rbegin(); it != held.rend(); ++it) {
        if (it->first == this) {
            read = it->second;
            held.erase(std::next(it).base());
            break;
        }
    }
    __tsan_release(read ? readers(this) : writers(this));
    own(this);
}

TESSERA_VISIBLE void QMutex::lock() noexcept
{
    static const auto own = qtOwn<void (*)(QMutex*)>("_ZN6QMutex4lockEv");
    own(this);
    __tsan_acquire(this);
}

TESSERA_VISIBLE bool QMutex::tryLock(int timeout) noexcept
{
    static const auto own = qtOwn<bool (*)(QMutex*, int)>("_ZN6QMutex7tryLockEi");
    const bool locked = own(this, timeout);
    if (locked)
        __tsan_acquire(this);
    return locked;
}

TESSERA_VISIBLE void QMutex::unlock() noexcept
{
    static const auto own = qtOwn<void (*)(QMutex*)>("_ZN6QMutex6unlockEv");
    __tsan_release(this);
    own(this);
}
