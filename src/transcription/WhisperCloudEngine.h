#pragma once

#include "persistence/AuditLogger.h"
#include "platform/UrlSession.h"
#include "runtime/Clock.h"
#include "services/ServiceAddresses.h"
#include "services/SharedUrlSession.h"
#include "services/TokenProvider.h"
#include "transcription/TranscriptionEngine.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sonvale::transcription {

/// Sends a finished recording to the transcription service in one request. Any thread; held by a shared
/// pointer for as long as a task of its own runs.
class WhisperCloudEngine final : public TranscriptionEngine,
                                 public std::enable_shared_from_this<WhisperCloudEngine> {
public:
    static constexpr double requestTimeout = 30; ///< seconds without a byte moving
    /// Seconds until a connection stands. Where none comes about, the recogniser of this machine is next, and
    /// the user waits.
    static constexpr double connectTimeout = 8;

    /// What it works with; everything referred to outlives it.
    struct Parts {
        runtime::Actor pool;
        runtime::Clock& clock;
        platform::UrlSessions& urlSessions;
        persistence::AuditLogger& auditLogger;
        services::ServiceAddresses addresses;
        services::TokenProvider tokenProvider;
    };

    explicit WhisperCloudEngine(Parts parts);

    bool isAvailable() const override { return true; }

    /// Runs on the pool. Throws `TranscriptionError`, or `std::system_error` for a file that cannot be read:
    /// nothing has been sent then. Cancelling the task ends the request with `networkError`. The recording in
    /// memory is overwritten on every way out.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override;

private:
    static runtime::Task<std::string> upload(std::shared_ptr<WhisperCloudEngine> self,
                                             std::filesystem::path audioFileURL,
                                             std::optional<std::string> language);

    const Parts parts_;
    services::SharedUrlSession urlSession_;
};

/// The body of the request (RFC 7578).
std::vector<std::byte> multipartBody(std::string_view boundary, const std::optional<std::string>& language,
                                     std::string_view filename, std::string_view content);

/// The words in the service's answer. Throws `TranscriptionError`.
std::string transcriptFrom(const platform::UrlResponse& response);

} // namespace sonvale::transcription
