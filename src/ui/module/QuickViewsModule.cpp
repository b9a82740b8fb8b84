#include "ui/module/QuickViewsModule.h"

#include "ui/common/QuickViews.h"

namespace sonvale::ui {

std::unique_ptr<Views> QuickViewsModule::makeViews(platform::Appearance& appearance) {
    return std::make_unique<QuickViews>(appearance);
}

} // namespace sonvale::ui
