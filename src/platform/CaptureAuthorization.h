#pragma once

#include <cstdint>
#include <functional>

namespace sonvale::platform {

/// Raw values are those of the system's own interface.
enum class CaptureStatus { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// Four-character codes, as the system's own interface has them.
enum class RecordPermission : std::uint32_t {
    undetermined = 0x756E6474, ///< "undt"
    denied = 0x64656E79,       ///< "deny"
    granted = 0x67726E74,      ///< "grnt"
};

/// Whether the microphone may be used. Any thread; some milliseconds, 2 s at most when the sound server
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

    /// The system's second record of the same grant, which may know of it before `status()` does. On Linux
    /// there is none: always undetermined.
    virtual RecordPermission recordPermission() = 0;

    /// Asks the user for the microphone, where the system has a prompt for that; `answer` is called once, on
    /// any thread, possibly inside this call. On Linux nobody is asked: the answer is whether `status()` is
    /// authorised now, and it comes inside this call.
    virtual void requestRecordPermission(std::function<void(bool isGranted)> answer) = 0;
};

} // namespace sonvale::platform
