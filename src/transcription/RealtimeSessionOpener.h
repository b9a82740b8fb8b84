#pragma once

#include "base/Log.h"
#include "transcription/RealtimeAudioSender.h"
#include "transcription/RealtimeConnection.h"
#include "transcription/RealtimeParts.h"
#include "transcription/RealtimeReceiver.h"
#include "transcription/RealtimeTranscript.h"

#include <memory>

namespace sonvale::transcription {

/// Opens a session: the token, the socket, the settings, and then the audio that was captured meanwhile. Has
/// no state of its own and no lock. Any thread.
class RealtimeSessionOpener {
public:
    RealtimeSessionOpener(RealtimeParts parts, std::shared_ptr<RealtimeConnection> connection,
                          std::shared_ptr<RealtimeAudioSender> sender,
                          std::shared_ptr<RealtimeReceiver> receiver,
                          std::shared_ptr<RealtimeTranscript> transcript);

    /// Opens a session in place of the present one. The object must outlive the task. Throws
    /// `TranscriptionError`, `platform::UrlError`, or `runtime::CancellationError` if another opening or a
    /// cancel overtakes it. Cancelling the task ends the request for the token.
    runtime::Task<> open(platform::AudioFormat inputFormat);

private:
    using Socket = RealtimeConnection::Socket;

    runtime::Task<std::string> fetchEphemeralToken(std::string authToken);
    Socket connect(std::uint64_t session, const std::string& token, const platform::AudioFormat& inputFormat);
    void closePreviousSession();
    void becomeReady(std::uint64_t session, const Socket& socket, std::optional<std::string> language);

    base::Logger logger_{"RealtimeSTT"};
    const RealtimeParts parts_;
    const std::shared_ptr<RealtimeConnection> connection_;
    const std::shared_ptr<RealtimeAudioSender> sender_;
    const std::shared_ptr<RealtimeReceiver> receiver_;
    const std::shared_ptr<RealtimeTranscript> transcript_;
};

} // namespace sonvale::transcription
