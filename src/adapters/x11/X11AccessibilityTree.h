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

/// The permission to press keys and to use the clipboard in an X session, and the text that is selected in
/// its programs.
///
/// X gives the permission to every program that may connect. So it is missing only if there is no server, if
/// the server has no XTEST, or if no selection can be owned. The selected text comes through AT-SPI from the
/// process of the active window. Programs of the xterm family do not support that; their selected text is the
/// PRIMARY selection. The connections to the server and to the bus are made at the first question.
class X11AccessibilityTree final : public platform::AccessibilityTree {
public:
    /// Uses the server `displayName`, or the server in DISPLAY if it is empty. Uses the accessibility bus
    /// that this display names, or else the bus of the session with this D-Bus address (empty: the address in
    /// the environment). The clock must outlive it.
    explicit X11AccessibilityTree(const runtime::Clock& clock, std::string displayName = {},
                                  std::string sessionAddress = {});

    ~X11AccessibilityTree() override;

    bool isTrusted() override;
    bool isTrustedWithPrompt() override;
    std::optional<std::string> selectedText() override;

private:
    const char* missingRequirement();
    bool connect();
    std::string busAddress(double deadline);
    std::optional<std::string> textInFocus(std::uint32_t window, double deadline);
    std::optional<std::string> markedText(std::uint32_t window, double deadline);
    void drainEvents();

    const runtime::Clock& clock_;
    const std::string displayName_;
    const std::unique_ptr<freedesktop::AccessibilityBus> bus_;
    std::unique_ptr<X11Connection>
        connection_; ///< made again if there was no server or the connection has ended
    std::unique_ptr<X11SelectionReader> selections_; ///< on that connection; made when it is first needed
};

} // namespace sonvale::adapters::x11
