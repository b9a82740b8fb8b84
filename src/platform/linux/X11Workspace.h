#pragma once

#include "platform/Workspace.h"
#include "platform/linux/UrlOpener.h"
#include "runtime/Clock.h"

#include <memory>
#include <string>

namespace sonvale::platform::linux {

class X11Client;

/// The front application as the window manager tells it (EWMH: _NET_ACTIVE_WINDOW, _NET_WM_PID; ICCCM:
/// WM_CLASS). Its name is the class of WM_CLASS, which programs do not translate; the window's title is never
/// used, because it often names a document. Without such a window manager, and without a server, there is
/// none.
class X11Workspace final : public Workspace {
public:
    /// Connects to `displayName`, or to DISPLAY when it is empty. The clock must outlive it. `environment`
    /// decides about the programs that open addresses.
    explicit X11Workspace(const runtime::Clock& clock, const std::string& displayName = {},
                          UrlOpener::Environment environment = UrlOpener::Environment::ofThisProcess());
    ~X11Workspace() override;

    std::optional<FrontApplication> frontmostApplication() override;
    bool openURL(const std::string& address) override;
    std::string fullUserName() override;

private:
    const runtime::Clock& clock_;
    std::unique_ptr<X11Client> client_;
    const UrlOpener opener_;
};

} // namespace sonvale::platform::linux
