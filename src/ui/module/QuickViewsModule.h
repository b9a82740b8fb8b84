#pragma once

#include "ui/common/Views.h"

#include <QObject>

namespace sonvale::ui {

/// The module of the views, as the program loads it.
class QuickViewsModule final : public QObject, public ViewsModule {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.sonvale.ViewsModule")
    Q_INTERFACES(sonvale::ui::ViewsModule)

public:
    std::unique_ptr<Views> makeViews(platform::Appearance& appearance) override;
};

} // namespace sonvale::ui
