#include "transcription/WhisperCloudEngine.h"

#include "base/Log.h"
#include "base/Text.h"
#include "base/Uuid.h"
#include "services/RequestBody.h"
#include "transcription/TranscriptionError.h"

#include <strings.h>

#include <cerrno>
#include <fstream>
#include <system_error>
#include <utility>

namespace sonvale::transcription {

namespace {

using Bytes = std::vector<std::byte>;

/// The content of a file in memory. The destructor overwrites it.
class FileContent {
public:
    explicit FileContent(const std::filesystem::path& path) {
        std::ifstream file(path, std::ios::binary | std::ios::ate);
        if (!file)
            fail(errno);
        const auto size = static_cast<std::streamoff>(file.tellg());
        if (size < 0)
            fail(EIO);
        bytes_.resize(static_cast<std::size_t>(size));
        file.seekg(0);
        if (!file.read(bytes_.data(), size))
            fail(EIO);
    }
    FileContent(const FileContent&) = delete;
    FileContent& operator=(const FileContent&) = delete;
    ~FileContent() { explicit_bzero(bytes_.data(), bytes_.size()); }

    std::string_view bytes() const { return bytes_; }

private:
    [[noreturn]] static void fail(int code) {
        throw std::system_error(code, std::generic_category(), "The recording could not be read");
    }

    std::string bytes_;
};

void append(Bytes& body, std::string_view text) {
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    body.insert(body.end(), first, first + text.size());
}

void appendField(Bytes& body, std::string_view boundary, std::string_view name, std::string_view value) {
    append(body, fmt::format("--{}\r\nContent-Disposition: form-data; name=\"{}\"\r\n\r\n{}\r\n", boundary,
                             name, value));
}

} // namespace

Bytes multipartBody(std::string_view boundary, const std::optional<std::string>& language,
                    std::string_view filename, std::string_view content) {
    Bytes body;
    // Reserves all memory at once: growing would leave copies of the recording in freed memory.
    body.reserve(content.size() + filename.size() + 8 * boundary.size() + 1024);
    appendField(body, boundary, "model", "gpt-4o-mini-transcribe");
    if (language && !language->empty() && *language != "auto")
        appendField(body, boundary, "language", *language);
    appendField(body, boundary, "response_format", "text");
    appendField(body, boundary, "store", "false");

    append(body, fmt::format("--{}\r\nContent-Disposition: form-data; name=\"file\"; filename=\"{}\"\r\n"
                             "Content-Type: audio/m4a\r\n\r\n",
                             boundary, filename));
    append(body, content);
    append(body, fmt::format("\r\n--{}--\r\n", boundary));
    return body;
}

std::string transcriptFrom(const platform::UrlResponse& response) {
    if (!response.statusCode)
        throw TranscriptionError::invalidResponse();
    const int status = *response.statusCode;
    const bool isText = base::isValidUtf8(response.body);
    if (status == 426)
        throw TranscriptionError::upgradeRequired();
    if (status < 200 || status > 299)
        throw TranscriptionError::apiError(status, isText ? response.body : "Unknown error");
    auto text = isText ? base::trimmed(response.body) : std::string();
    if (text.empty())
        throw TranscriptionError::invalidResponse();
    return text;
}

WhisperCloudEngine::WhisperCloudEngine(Parts parts)
    : parts_(std::move(parts))
    , urlSession_(parts_.urlSessions) {}

runtime::Task<std::string> WhisperCloudEngine::transcribe(std::filesystem::path audioFileURL,
                                                          std::optional<std::string> language) {
    return runtime::runOn(parts_.pool,
                          upload(shared_from_this(), std::move(audioFileURL), std::move(language)));
}

runtime::Task<std::string> WhisperCloudEngine::upload(std::shared_ptr<WhisperCloudEngine> self,
                                                      std::filesystem::path audioFileURL,
                                                      std::optional<std::string> language) {
    const auto& parts = self->parts_;
    const auto token = co_await parts.tokenProvider();
    if (!token || token->empty())
        throw TranscriptionError::apiKeyMissing();

    const auto boundary = base::Uuid::make().toString();
    auto request = parts.addresses.post("api/transcribe", "/v1/audio/transcriptions", *token,
                                        "multipart/form-data; boundary=" + boundary);
    request.timeoutSeconds = requestTimeout;
    request.connectTimeoutSeconds = connectTimeout;
    std::int64_t fileSize = 0;
    std::optional<services::RequestBody> body;
    {
        const FileContent file(audioFileURL);
        fileSize = static_cast<std::int64_t>(file.bytes().size());
        body.emplace(multipartBody(boundary, language, audioFileURL.filename().string(), file.bytes()));
    }
    request.body = body->bytes();
    parts.auditLogger.logTranscriptionRequested(fileSize, "whisper-api");

    const double startTime = parts.clock.now();
    platform::UrlResponse response;
    std::optional<UnderlyingError> failure;
    try {
        response = co_await self->urlSession_.get().data(std::move(request));
    } catch (const std::exception& error) {
        failure = UnderlyingError::from(error, "WhisperCloudEngine");
    }
    if (failure)
        throw TranscriptionError::networkError(*std::move(failure));

    auto text = transcriptFrom(response);
    const auto elapsed = runtime::millisecondsSince(parts.clock, startTime);
    base::perfLog(fmt::format("Whisper cloud transcribe: {}ms", elapsed));
    parts.auditLogger.logTranscriptionReceived(
        static_cast<std::int64_t>(base::piecesBetweenBlanks(text).size()), elapsed);
    co_return text;
}

} // namespace sonvale::transcription
