#include "ui/dashboard/DashboardParts.h"

#include <utility>

namespace sonvale::ui {

DashboardParts DashboardParts::from(const core::Environment& environment,
                                    std::shared_ptr<core::AppState> appState) {
    return {.main = environment.main,
            .clock = environment.clock,
            .addresses = environment.addresses,
            .version = environment.version,
            .dateLocale = environment.currentDateLocale(),
            .settings = environment.settings,
            .workspace = environment.workspace,
            .urlSessions = environment.urlSessions,
            .application = environment.application,
            .nativeKeys = environment.nativeKeys,
            .loginItem = environment.loginItem,
            .updater = environment.updater,
            .appState = std::move(appState)};
}

} // namespace sonvale::ui
