#pragma once

#include "platform/Updater.h"
#include "runtime/Task.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <memory>
#include <string_view>

namespace sonvale::ui {

/// The version of this program, and the check for a newer one. Main actor.
class UpdateModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The settings make it.")
    Q_PROPERTY(QString version READ version CONSTANT)
    Q_PROPERTY(State state READ state NOTIFY changed)
    Q_PROPERTY(QString detail READ detail NOTIFY changed)

public:
    /// `NewerAt` means that the page of the newer version could not be opened.
    enum class State { Unknown, Checking, UpToDate, Newer, NewerAt, Failed };
    Q_ENUM(State)

    /// `updater` must outlive the model.
    UpdateModel(runtime::Actor main, platform::Updater& updater, std::string_view version);
    /// Cancels a running check.
    ~UpdateModel() override;

    QString version() const { return version_; }
    State state() const { return state_; }
    /// Returns the number of the newer version (`Newer`), its page (`NewerAt`), the reason (`Failed`), or an
    /// empty text.
    QString detail() const { return detail_; }
    /// Starts a check. A running check goes on, and no second one starts.
    Q_INVOKABLE void check();

    Q_SIGNAL void changed();

private:
    void set(State state, const QString& detail = {});
    void take(const platform::UpdateOutcome& outcome);
    static runtime::Task<> run(std::weak_ptr<UpdateModel*> weakSelf, platform::Updater* updater);

    const runtime::Actor main_;
    platform::Updater& updater_;
    const QString version_;
    State state_ = State::Unknown;
    QString detail_;
    std::shared_ptr<UpdateModel*> self_ = std::make_shared<UpdateModel*>(this); ///< tasks hold it weakly
    runtime::TaskHandle<> task_;
};

} // namespace sonvale::ui
