#pragma once

#include "platform/CaptureAuthorization.h"

namespace sonvale::services {

/// The two records of the system about the permission for the microphone.
struct MicrophoneState {
    platform::CaptureStatus status;
    platform::RecordPermission recordPermission;

    /// Asks the system, which can take 2 s if the sound server hangs. Any thread.
    static MicrophoneState read(platform::CaptureAuthorization& authorization) {
        const auto status = authorization.status();
        return {status, authorization.recordPermission()};
    }

    /// Returns whether one of the records allows the microphone.
    bool isGranted() const {
        return status == platform::CaptureStatus::authorized ||
               recordPermission == platform::RecordPermission::granted;
    }
};

} // namespace sonvale::services
