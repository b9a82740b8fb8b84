#pragma once

#include "ui/common/Appearance.h"
#include "ui/common/Views.h"

#include <functional>
#include <memory>

class QQmlEngine;

namespace sonvale::ui {

/// The views by Qt Quick. The engine is loaded with the first window. Main thread.
class QuickViews final : public Views {
public:
    /// `appearance` must outlive the object.
    explicit QuickViews(platform::Appearance& appearance);
    ~QuickViews() override;
    QuickViews(const QuickViews&) = delete;
    QuickViews& operator=(const QuickViews&) = delete;

    View make(const QString& file, const QVariantMap& properties) override;
    void trim() override;

    Appearance& appearance() { return *appearance_; }

    /// Called for every warning of a view. If it is empty, warnings go to Qt's log.
    std::function<void(const QString& warning)> onWarning;

private:
    QQmlEngine& engine();

    std::unique_ptr<Appearance> appearance_;
    std::unique_ptr<QQmlEngine> engine_;
};

} // namespace sonvale::ui
