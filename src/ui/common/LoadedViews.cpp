#include "ui/common/LoadedViews.h"

#include <QPluginLoader>
#include <utility>

namespace sonvale::ui {

LoadedViews::LoadedViews(QString file, platform::Appearance& appearance)
    : file_(std::move(file))
    , appearance_(appearance) {}

bool LoadedViews::load() {
    if (views_)
        return true;
    // The library stays loaded when the loader is destroyed.
    QPluginLoader loader(file_);
    if (auto* module = qobject_cast<ViewsModule*>(loader.instance())) {
        views_ = module->makeViews(appearance_);
        return true;
    }
    const auto reason =
        loader.isLoaded() ? QStringLiteral("The library is not a module of views.") : loader.errorString();
    if (onFailure)
        onFailure(QStringLiteral("%1: %2").arg(file_, reason).toStdString());
    return false;
}

View LoadedViews::make(const QString& file, const QVariantMap& properties) {
    return load() ? views_->make(file, properties) : View();
}

void LoadedViews::trim() {
    if (views_)
        views_->trim();
}

} // namespace sonvale::ui
