#include "ui/settings/UpdateModel.h"

#include "ui/common/Texts.h"

#include <utility>
#include <variant>

namespace sonvale::ui {

UpdateModel::UpdateModel(runtime::Actor main, platform::Updater& updater, std::string_view version)
    : main_(std::move(main))
    , updater_(updater)
    , version_(toQString(version)) {}

UpdateModel::~UpdateModel() {
    task_.cancel();
}

void UpdateModel::check() {
    if (state_ == State::Checking)
        return;
    set(State::Checking);
    task_ = runtime::spawn(main_, run(self_, &updater_));
}

runtime::Task<> UpdateModel::run(std::weak_ptr<UpdateModel*> weakSelf, platform::Updater* updater) {
    const auto outcome = co_await updater->checkForUpdates();
    if (const auto self = weakSelf.lock())
        (*self)->take(outcome);
}

void UpdateModel::take(const platform::UpdateOutcome& outcome) {
    if (const auto* newer = std::get_if<platform::NewerVersion>(&outcome))
        newer->isPageOpened ? set(State::Newer, toQString(newer->version))
                            : set(State::NewerAt, toQString(newer->page));
    else if (const auto* failed = std::get_if<platform::UpdateCheckFailed>(&outcome))
        set(State::Failed, translated(failed->description));
    else
        set(State::UpToDate);
}

void UpdateModel::set(State state, const QString& detail) {
    state_ = state;
    detail_ = detail;
    Q_EMIT changed();
}

} // namespace sonvale::ui
