#pragma once

#include "platform/CaptureAuthorization.h"

namespace sonvale::tests {

class FakeCaptureAuthorization final : public platform::CaptureAuthorization {
public:
    /// The test's side.
    struct Control {
        platform::CaptureStatus status = platform::CaptureStatus::authorized;
        int queries = 0; ///< how often the status was asked for
    };

    platform::CaptureStatus status() override {
        ++control_.queries;
        return control_.status;
    }

    Control& control() { return control_; }

private:
    Control control_;
};

} // namespace sonvale::tests
