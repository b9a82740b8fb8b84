#include "platform/linux/PulseCaptureAuthorization.h"

#include "platform/linux/PulseConnection.h"

namespace sonvale::platform::linux {

namespace {

// Two waits, one after the other: together the 2 s that the port allows.
constexpr double waitSeconds = 1.0;

} // namespace

CaptureStatus PulseCaptureAuthorization::status() {
    PulseConnection connection(server_);
    switch (connection.connect(waitSeconds)) {
    case PulseConnection::Outcome::refused:
        return CaptureStatus::denied;
    case PulseConnection::Outcome::unreachable:
        return CaptureStatus::notDetermined;
    case PulseConnection::Outcome::connected:
        break;
    }
    return connection.findInput(waitSeconds) ? CaptureStatus::authorized : CaptureStatus::notDetermined;
}

void PulseCaptureAuthorization::requestRecordPermission(std::function<void(bool isGranted)> answer) {
    answer(status() == CaptureStatus::authorized);
}

} // namespace sonvale::platform::linux
