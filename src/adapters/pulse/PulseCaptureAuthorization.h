#pragma once

#include "platform/CaptureAuthorization.h"

#include <string>

namespace sonvale::adapters::pulse {

/// Asks the PulseAudio or PipeWire server. Connects for each question and keeps nothing open.
class PulseCaptureAuthorization final : public platform::CaptureAuthorization {
public:
    /// `server` has the form of PULSE_SERVER; empty means the user's server.
    explicit PulseCaptureAuthorization(std::string server = {})
        : server_(std::move(server)) {}

    platform::CaptureStatus status() override;
    platform::RecordPermission recordPermission() override {
        return platform::RecordPermission::undetermined;
    }
    void requestRecordPermission(std::function<void(bool isGranted)> answer) override;

private:
    const std::string server_;
};

} // namespace sonvale::adapters::pulse
