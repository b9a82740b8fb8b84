#include "adapters/pulse/PulseCaptureAuthorization.h"

#include "adapters/pulse/PulseConnection.h"

namespace sonvale::adapters::pulse {

namespace {

// Two waits follow each other: together they need the 2 s that the port allows.
constexpr double waitSeconds = 1.0;

} // namespace

platform::CaptureStatus PulseCaptureAuthorization::status() {
    PulseConnection connection(server_);
    switch (connection.connect(waitSeconds)) {
    case PulseConnection::Outcome::refused:
        return platform::CaptureStatus::denied;
    case PulseConnection::Outcome::unreachable:
        return platform::CaptureStatus::notDetermined;
    case PulseConnection::Outcome::connected:
        break;
    }
    return connection.findInput(waitSeconds) ? platform::CaptureStatus::authorized
                                             : platform::CaptureStatus::notDetermined;
}

void PulseCaptureAuthorization::requestRecordPermission(std::function<void(bool isGranted)> answer) {
    answer(status() == platform::CaptureStatus::authorized);
}

} // namespace sonvale::adapters::pulse
