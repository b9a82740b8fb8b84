#pragma once

#include "core/AppState.h"
#include "core/Environment.h"

#include <memory>
#include <string>

namespace sonvale::ui {

/// The objects that the models of the dashboard use. All references must outlive the window.
struct DashboardParts {
    runtime::Actor main;
    runtime::Clock& clock;
    services::ServiceAddresses addresses;
    std::string version;    ///< the version of this program
    std::string dateLocale; ///< the locale of dates and times
    persistence::Settings& settings;
    platform::Workspace& workspace;
    platform::UrlSessions& urlSessions;
    platform::Application& application;
    const platform::NativeKeys& nativeKeys;
    platform::LoginItem& loginItem;
    platform::Updater& updater;
    std::shared_ptr<core::AppState> appState;

    /// Returns the parts from the environment of the program.
    static DashboardParts from(const core::Environment& environment,
                               std::shared_ptr<core::AppState> appState);
};

} // namespace sonvale::ui
