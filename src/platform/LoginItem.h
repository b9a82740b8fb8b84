#pragma once

#include <stdexcept>

namespace sonvale::platform {

/// The program's start at login could not be turned on or off. `what()` is fit for the user.
class LoginItemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Starts this program when the user logs in. Main actor; each call needs some milliseconds.
class LoginItem {
public:
    LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;
    virtual ~LoginItem() = default;

    /// Has the desktop start the program at login from now on, even if another tool had turned that off.
    /// Throws `LoginItemError`; the earlier registration then stays.
    virtual void registerItem() = 0;

    /// Ends that. Does nothing if the program is not registered. Throws `LoginItemError`; the program then
    /// stays registered.
    virtual void unregisterItem() = 0;

    /// Returns whether the desktop would start the program at login. Other tools turn this on and off too.
    /// Never fails: an entry that cannot be read counts as off.
    virtual bool isEnabled() = 0;
};

} // namespace sonvale::platform
