// A pointer guard that locks a mutex for the length of one call through operator->.
//
// operator-> returns a LockedTmpObject, a temporary that holds the lock and forwards operator-> again, so the
// lock lasts for the full expression `guard->call(...)` and no longer. With a recursive mutex a thread may
// call through the guard again while it holds it (from a recorder method or a composite command).
#ifndef DEVICEBRIDGE_UNIQUELOCKED_H
#define DEVICEBRIDGE_UNIQUELOCKED_H

#include "LockedRadarInterfacePtr.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace Tervik {

namespace unique_locked_detail {
// A missing target is a broken invariant of the owner; the check must also stop a release build.
[[noreturn]] inline void target_missing(const char* file, unsigned int line, const char* function) {
    std::fprintf(stderr, "%s:%u: %s: Assertion `target' failed.\n", file, line, function);
    std::abort();
}
} // namespace unique_locked_detail

template <typename T, typename MutexType> class LockedTmpObject {
public:
    LockedTmpObject(T* target, MutexType& mutex) : target(target), lock(mutex) {}
    LockedTmpObject(LockedTmpObject&&) = default;
    LockedTmpObject(const LockedTmpObject&) = delete;
    LockedTmpObject& operator=(const LockedTmpObject&) = delete;

    T* operator->() const { return target; }

private:
    T* target;
    std::unique_lock<MutexType> lock;
};

template <typename T, typename MutexType> class UniqueLocked {
public:
    // With `owned` the guard deletes the target when it dies.
    explicit UniqueLocked(T* target, bool owned = true) : target(target), owned(owned) {}
    ~UniqueLocked() {
        if (owned)
            delete target;
    }
    UniqueLocked(const UniqueLocked&) = delete;
    UniqueLocked& operator=(const UniqueLocked&) = delete;

    LockedTmpObject<T, MutexType> operator->() {
        if (!target)
            unique_locked_detail::target_missing(__FILE__, __LINE__, __func__);
        return LockedTmpObject<T, MutexType>(target, mutex);
    }

    // The target without the lock, for callers that lock get_mutex() themselves over several calls.
    T* get() const { return target; }
    MutexType& get_mutex() { return mutex; }

private:
    T* target;
    bool owned;
    MutexType mutex;
};

} // namespace Tervik

#endif
