#pragma once

#include <stdexcept>

namespace sonvale::platform {

/// The program's start at login could not be turned on or off. `what()` is fit for the user.
class LoginItemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Whether the desktop starts this program when the user logs in. Main actor; some milliseconds.
class LoginItem {
public:
    LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;
    virtual ~LoginItem() = default;

    /// Has the program started at every login from now on, also when another tool had turned that off. Throws
    /// `LoginItemError`; what was registered before then stays.
    virtual void registerItem() = 0;

    /// Ends that; nothing when it was not so. Throws `LoginItemError`, and it then stays registered.
    virtual void unregisterItem() = 0;

    /// Whether the desktop would start the program at the next login, as it stands now: other tools turn it
    /// on and off too. Never fails: what cannot be read is off.
    virtual bool isEnabled() = 0;
};

} // namespace sonvale::platform
