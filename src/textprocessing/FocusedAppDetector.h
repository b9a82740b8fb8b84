#pragma once

#include "platform/Workspace.h"
#include "textprocessing/FocusedAppInfo.h"

namespace sonvale::textprocessing {

/// Detects the application that the user works in. Main actor; the workspace must outlive it.
class FocusedAppDetector {
public:
    explicit FocusedAppDetector(platform::Workspace& workspace);

    /// Returns the application that has the keyboard focus. Never fails.
    FocusedAppInfo detect() const;

private:
    platform::Workspace& workspace_;
};

} // namespace sonvale::textprocessing
