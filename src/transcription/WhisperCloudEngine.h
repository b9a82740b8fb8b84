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

/// Sends a finished recording to the transcription service in one request. Any thread. Owned by a shared
/// pointer, which its tasks hold while they run.
class WhisperCloudEngine final : public TranscriptionEngine,
                                 public std::enable_shared_from_this<WhisperCloudEngine> {
public:
    static constexpr double requestTimeout = 30; ///< seconds without any data
    /// Seconds until the connection is established. Short, because the user waits and the local recognizer is
    /// used if there is no connection.
    static constexpr double connectTimeout = 8;

    /// The objects that it uses. All of them outlive it.
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

    /// Runs on the pool. Throws `TranscriptionError`, or `std::system_error` if the file cannot be read; then
    /// nothing has been sent. Cancelling the task ends the request with `networkError`. Always overwrites the
    /// recording in memory.
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override;

private:
    static runtime::Task<std::string> upload(std::shared_ptr<WhisperCloudEngine> self,
                                             std::filesystem::path audioFileURL,
                                             std::optional<std::string> language);

    const Parts parts_;
    services::SharedUrlSession urlSession_;
};

/// Returns the body of the request (RFC 7578).
std::vector<std::byte> multipartBody(std::string_view boundary, const std::optional<std::string>& language,
                                     std::string_view filename, std::string_view content);

/// Returns the words in the service's answer. Throws `TranscriptionError`.
std::string transcriptFrom(const platform::UrlResponse& response);

} // namespace sonvale::transcription
