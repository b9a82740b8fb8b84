#pragma once

#include <functional>

namespace sonvale::platform {

/// Whether the user's session is locked, or hidden by its screen saver. Main actor.
class SessionLock {
public:
    SessionLock() = default;
    SessionLock(const SessionLock&) = delete;
    SessionLock& operator=(const SessionLock&) = delete;
    virtual ~SessionLock() = default;

    /// Sets the observer. It is called on the main actor for every change. Before the first call the session
    /// counts as unlocked; for a session that is already locked the call may come some milliseconds after
    /// this operation. If the desktop does not report its lock, the observer is never called. Set once;
    /// called until this object is destroyed.
    virtual void setOnLockChange(std::function<void(bool isLocked)> observer) = 0;
};

} // namespace sonvale::platform
