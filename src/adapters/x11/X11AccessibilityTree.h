#pragma once

#include "platform/AccessibilityTree.h"
#include "runtime/Clock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::adapters::freedesktop {
class AccessibilityBus;
}

namespace sonvale::adapters::x11 {

class X11Connection;
class X11SelectionReader;

/// The right to press keys and to use the clipboard in an X session, and what is selected in its programs.
///
/// X grants the right to every program that it lets in, so it comes down to whether the server is there, has
/// XTEST, and lets a selection be owned. What is selected comes by AT-SPI, from the process of the active
/// window; from programs of the xterm family, which do not know that, it is the PRIMARY selection. Both are
/// connected to at the first question.
class X11AccessibilityTree final : public platform::AccessibilityTree {
public:
    /// Asks the server `displayName`, or that of DISPLAY when it is empty, and the accessibility bus that
    /// this display names, or else the session of this D-Bus address (empty: that of the environment). The
    /// clock must outlive it.
    explicit X11AccessibilityTree(const runtime::Clock& clock, std::string displayName = {},
                                  std::string sessionAddress = {});

    ~X11AccessibilityTree() override;

    bool isTrusted() override;
    bool isTrustedWithPrompt() override;
    std::optional<std::string> selectedText() override;

private:
    const char* whatIsMissing();
    bool connect();
    std::string busAddress(double deadline);
    std::optional<std::string> textInFocus(std::uint32_t window, double deadline);
    std::optional<std::string> markedText(std::uint32_t window, double deadline);
    void dropEvents();

    const runtime::Clock& clock_;
    const std::string displayName_;
    const std::unique_ptr<freedesktop::AccessibilityBus> bus_;
    std::unique_ptr<X11Connection> connection_;      ///< made anew when there was no server, or it has gone
    std::unique_ptr<X11SelectionReader> selections_; ///< on that connection, once it was needed
};

} // namespace sonvale::adapters::x11
