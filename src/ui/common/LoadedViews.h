#pragma once

#include "ui/common/Views.h"

#include <QString>
#include <QtGlobal>
#include <functional>
#include <memory>
#include <string>

namespace sonvale::ui {

/// The views of a module that is loaded with the first window, so that the program without a window needs
/// no memory for Qt Quick. Main thread.
class LoadedViews final : public Views {
public:
    /// The message for the user when the module cannot be loaded.
    static constexpr const char* unavailable =
        QT_TRANSLATE_NOOP("Texts", "The windows of Son Vale cannot be opened. Try installing it again.");

    /// `file` is the path of the module. `appearance` must outlive the object.
    LoadedViews(QString file, platform::Appearance& appearance);

    /// Loads the module first, if it is not loaded. Returns no window if the module cannot be loaded; the
    /// next call tries again.
    View make(const QString& file, const QVariantMap& properties) override;
    void trim() override;

    /// Called each time that the module cannot be loaded.
    std::function<void(const std::string& reason)> onFailure;

private:
    bool load();

    const QString file_;
    platform::Appearance& appearance_;
    std::unique_ptr<Views> views_; ///< null until the module is loaded
};

} // namespace sonvale::ui
