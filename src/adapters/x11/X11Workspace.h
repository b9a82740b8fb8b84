#pragma once

#include "adapters/freedesktop/UrlOpener.h"

#include "platform/Workspace.h"
#include "runtime/Clock.h"

#include <memory>
#include <string>

namespace sonvale::adapters::x11 {

class X11Connection;

/// The front application, as the window manager reports it (EWMH: _NET_ACTIVE_WINDOW, _NET_WM_PID; ICCCM:
/// WM_CLASS). Its name is the class in WM_CLASS, which programs do not translate. The window's title is never
/// used, because it often names a document. Without such a window manager, and without a server, there is no
/// front application.
class X11Workspace final : public platform::Workspace {
public:
    /// Connects to `displayName`, or to DISPLAY if it is empty. The clock must outlive it. `environment`
    /// selects the programs that open addresses.
    explicit X11Workspace(const runtime::Clock& clock, const std::string& displayName = {},
                          freedesktop::UrlOpener::Environment environment =
                              freedesktop::UrlOpener::Environment::ofThisProcess());
    ~X11Workspace() override;

    std::optional<platform::FrontApplication> frontmostApplication() override;
    bool openURL(const std::string& address) override;
    std::string fullUserName() override;

private:
    const runtime::Clock& clock_;
    std::unique_ptr<X11Connection> connection_;
    const freedesktop::UrlOpener opener_;
};

} // namespace sonvale::adapters::x11
