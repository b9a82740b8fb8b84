#pragma once

#include "platform/AccessibilityTree.h"
#include "runtime/Clock.h"

#include <memory>
#include <string>

namespace sonvale::platform::linux {

class X11Client;

/// The right to press keys and to use the clipboard in an X session: X grants it to every program that it
/// lets in, so it comes down to whether the server is there, has XTEST, and lets a selection be owned.
class X11AccessibilityTree final : public AccessibilityTree {
public:
    /// Asks the server `displayName`, or that of DISPLAY when it is empty. The clock must outlive it.
    explicit X11AccessibilityTree(const runtime::Clock& clock, std::string displayName = {});

    ~X11AccessibilityTree() override;

    bool isTrusted() override;

private:
    const runtime::Clock& clock_;
    std::string displayName_;
    std::unique_ptr<X11Client> client_; ///< made anew when there was no server, or it has gone
};

} // namespace sonvale::platform::linux
