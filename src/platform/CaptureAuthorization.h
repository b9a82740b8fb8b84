#pragma once

namespace sonvale::platform {

/// Raw values are those of the system's own interface.
enum class CaptureStatus { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// Whether the microphone may be used. Main actor; some milliseconds, 2 s at most when the sound server
/// hangs.
class CaptureAuthorization {
public:
    CaptureAuthorization() = default;
    CaptureAuthorization(const CaptureAuthorization&) = delete;
    CaptureAuthorization& operator=(const CaptureAuthorization&) = delete;
    virtual ~CaptureAuthorization() = default;

    /// On Linux: authorised with at least one real input, not determined with a server and none (and without
    /// a server), denied when the server refuses this program.
    virtual CaptureStatus status() = 0;
};

} // namespace sonvale::platform
