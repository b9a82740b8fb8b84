#include "textprocessing/FocusedAppDetector.h"

#include <utility>

namespace sonvale::textprocessing {

FocusedAppDetector::FocusedAppDetector(platform::Workspace& workspace)
    : workspace_(workspace) {}

FocusedAppInfo FocusedAppDetector::detect() const {
    FocusedAppInfo info;
    if (auto front = workspace_.frontmostApplication()) {
        info.bundleID = std::move(front->bundleIdentifier);
        if (front->localizedName)
            info.appName = std::move(*front->localizedName);
        info.processID = front->processIdentifier;
    }
    return info;
}

} // namespace sonvale::textprocessing
