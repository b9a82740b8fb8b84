#pragma once

#include "core/AppState.h"
#include "core/Environment.h"

#include <memory>
#include <string>

namespace sonvale::ui {

/// What the models of the dashboard work with. Everything referred to must outlive the window.
struct DashboardParts {
    runtime::Actor main;
    runtime::Clock& clock;
    services::ServiceAddresses addresses;
    std::string version;    ///< of this program
    std::string dateLocale; ///< by which dates and times are written
    persistence::Settings& settings;
    platform::Workspace& workspace;
    platform::UrlSessions& urlSessions;
    platform::Application& application;
    const platform::NativeKeys& nativeKeys;
    platform::LoginItem& loginItem;
    platform::Updater& updater;
    std::shared_ptr<core::AppState> appState;

    /// Picks the parts out of the environment of the program.
    static DashboardParts from(const core::Environment& environment,
                               std::shared_ptr<core::AppState> appState);
};

} // namespace sonvale::ui
