#pragma once

#include "platform/CaptureAuthorization.h"

#include <string>

namespace sonvale::platform::linux {

/// Asks the PulseAudio (or PipeWire) server. Connects for each question and keeps nothing open.
class PulseCaptureAuthorization final : public CaptureAuthorization {
public:
    /// `server` as in PULSE_SERVER; empty: the user's own.
    explicit PulseCaptureAuthorization(std::string server = {})
        : server_(std::move(server)) {}

    CaptureStatus status() override;
    RecordPermission recordPermission() override { return RecordPermission::undetermined; }
    void requestRecordPermission(std::function<void(bool isGranted)> answer) override;

private:
    const std::string server_;
};

} // namespace sonvale::platform::linux
