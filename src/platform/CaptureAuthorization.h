#pragma once

#include <cstdint>
#include <functional>

namespace sonvale::platform {

/// The raw values are given by the system's own interface.
enum class CaptureStatus { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// Four-character codes, given by the system's own interface.
enum class RecordPermission : std::uint32_t {
    undetermined = 0x756E6474, ///< "undt"
    denied = 0x64656E79,       ///< "deny"
    granted = 0x67726E74,      ///< "grnt"
};

/// The permission to use the microphone. Any thread; some milliseconds, up to 2 s if the sound server hangs.
class CaptureAuthorization {
public:
    CaptureAuthorization() = default;
    CaptureAuthorization(const CaptureAuthorization&) = delete;
    CaptureAuthorization& operator=(const CaptureAuthorization&) = delete;
    virtual ~CaptureAuthorization() = default;

    /// Returns the permission. On Linux it is authorized if there is a real input, not determined if there is
    /// no input or no server, and denied if the server refuses this program.
    virtual CaptureStatus status() = 0;

    /// Returns the system's second record of the same permission, which may be updated before `status()`. On
    /// Linux there is none: always undetermined.
    virtual RecordPermission recordPermission() = 0;

    /// Asks the user for the microphone if the system has a prompt for it. `answer` is called once, on any
    /// thread, possibly inside this call. Linux has no prompt: the answer comes inside this call and says
    /// whether `status()` is authorized now.
    virtual void requestRecordPermission(std::function<void(bool isGranted)> answer) = 0;
};

} // namespace sonvale::platform
