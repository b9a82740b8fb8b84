#pragma once

#include "platform/Workspace.h"
#include "textprocessing/FocusedAppInfo.h"

namespace sonvale::textprocessing {

/// Tells which application the user works in. Main actor; the workspace must outlive it.
class FocusedAppDetector {
public:
    explicit FocusedAppDetector(platform::Workspace& workspace);

    /// The application that has the keyboard now. Never fails.
    FocusedAppInfo detect() const;

private:
    platform::Workspace& workspace_;
};

} // namespace sonvale::textprocessing
