#include "adapters/pulse/PulseAudioEngine.h"

#include "adapters/pulse/PcmCutter.h"
#include "adapters/pulse/PulseConnection.h"

#include <atomic>
#include <optional>
#include <utility>

namespace sonvale::adapters::pulse {

namespace {

// The connection and the question for the input follow each other: together they need the 2 s that the port
// allows.
constexpr double connectSeconds = 1.0;
constexpr double querySeconds = 1.0;
constexpr double startSeconds = 2.0;
constexpr double drainSeconds = 0.06;

constexpr std::size_t fragmentFrames = 1024;

} // namespace

/// The record stream. Once it exists, all fields except `isRunning_` are accessed under the connection's
/// lock.
class PulseAudioEngine::Capture {
public:
    Capture(std::unique_ptr<PulseConnection> connection, PulseInput input)
        : connection_(std::move(connection))
        , input_(std::move(input))
        , sampleSpec_{PA_SAMPLE_FLOAT32NE, input_.sampleSpec.rate, input_.sampleSpec.channels} {}

    ~Capture() {
        const PulseConnection::Lock lock(*connection_);
        endStream();
    }

    platform::AudioFormat format() const {
        return {static_cast<double>(sampleSpec_.rate), static_cast<std::uint32_t>(sampleSpec_.channels)};
    }

    void installTap(std::size_t bufferFrames, TapBlock block) {
        const PulseConnection::Lock lock(*connection_);
        cutter_.emplace(format(), bufferFrames, std::move(block));
    }

    void drain() {
        const PulseConnection::Lock lock(*connection_);
        if (!cutter_)
            return;
        if (isRunning_)
            waitForWhatWasSpoken();
        cutter_->flush();
    }

    void removeTap() {
        const PulseConnection::Lock lock(*connection_);
        if (!cutter_)
            return;
        cutter_->flush();
        cutter_.reset();
    }

    void start();

    void stop() {
        const PulseConnection::Lock lock(*connection_);
        endStream();
    }

    bool isRunning() const { return isRunning_; }

private:
    bool beginStream();
    void endStream();
    void waitForWhatWasSpoken();
    bool isStreamGood() const { return PA_STREAM_IS_GOOD(pa_stream_get_state(stream_)); }

    // On the capture thread.
    void takeState();
    void read();
    void checkDevice();
    void takeDevice(const pa_source_info* info, int end);
    void loseDevice();

    std::unique_ptr<PulseConnection> connection_;
    const PulseInput input_;
    const pa_sample_spec sampleSpec_;
    std::optional<PcmCutter> cutter_;
    pa_stream* stream_ = nullptr;
    std::uint64_t bytesRead_ = 0;
    PulseOperation deviceCheck_;
    bool isCheckingDevice_ = false;
    bool isDeviceReal_ = false;
    std::atomic<bool> isRunning_ = false;
};

void PulseAudioEngine::Capture::start() {
    const PulseConnection::Lock lock(*connection_);
    if (stream_)
        return;
    const PulseConnection::TimeLimit limit(*connection_, startSeconds);
    if (beginStream() && connection_->waitUntil(limit, [this] { return isRunning_ || !isStreamGood(); }) &&
        isRunning_)
        return;
    const std::string reason = limit.isOver() ? "The sound server does not answer" : connection_->lastError();
    endStream();
    throw platform::AudioEngineError("The microphone cannot be opened. " + reason + ".");
}

bool PulseAudioEngine::Capture::beginStream() {
    bytesRead_ = 0;
    stream_ = pa_stream_new(connection_->context(), "Dictation", &sampleSpec_, &input_.channelMap);
    if (!stream_)
        return false;
    pa_stream_set_state_callback(
        stream_, [](pa_stream*, void* data) { static_cast<Capture*>(data)->takeState(); }, this);
    pa_stream_set_read_callback(
        stream_, [](pa_stream*, std::size_t, void* data) { static_cast<Capture*>(data)->read(); }, this);
    pa_stream_set_moved_callback(
        stream_, [](pa_stream*, void* data) { static_cast<Capture*>(data)->checkDevice(); }, this);

    // Without a fragment size the server collects up to 2 s before it sends.
    constexpr auto serverDefault = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr attributes{
        .maxlength = serverDefault,
        .tlength = serverDefault,
        .prebuf = serverDefault,
        .minreq = serverDefault,
        .fragsize = static_cast<std::uint32_t>(fragmentFrames * pa_frame_size(&sampleSpec_)),
    };
    const char* source = input_.source.empty() ? nullptr : input_.source.c_str();
    return pa_stream_connect_record(stream_, source, &attributes, PA_STREAM_ADJUST_LATENCY) >= 0;
}

void PulseAudioEngine::Capture::endStream() {
    isRunning_ = false;
    isCheckingDevice_ = false;
    deviceCheck_.reset();
    if (!stream_)
        return;
    pa_stream_set_state_callback(stream_, nullptr, nullptr);
    pa_stream_set_read_callback(stream_, nullptr, nullptr);
    pa_stream_set_moved_callback(stream_, nullptr, nullptr);
    pa_stream_disconnect(stream_);
    pa_stream_unref(stream_);
    stream_ = nullptr;
}

void PulseAudioEngine::Capture::waitForWhatWasSpoken() {
    const PulseConnection::TimeLimit limit(*connection_, drainSeconds);
    const auto isAnswered = [](pa_stream*, int, void* data) {
        const auto& [connection, done] = *static_cast<std::pair<PulseConnection*, bool*>*>(data);
        *done = true;
        connection->signal();
    };
    bool hasTiming = false;
    std::pair<PulseConnection*, bool*> answer(connection_.get(), &hasTiming);
    const PulseOperation question(pa_stream_update_timing_info(stream_, isAnswered, &answer));
    if (!question)
        return;
    connection_->waitUntil(limit, [&] { return hasTiming || !isRunning_; });

    // The audio that the server had sent when it answered, and the audio that was then still inside the
    // device.
    const pa_timing_info* timing = hasTiming ? pa_stream_get_timing_info(stream_) : nullptr;
    const bool isKnown = timing && !timing->write_index_corrupt && timing->write_index >= 0;
    const std::uint64_t spoken = isKnown ? static_cast<std::uint64_t>(timing->write_index) +
                                               pa_usec_to_bytes(timing->source_usec, &sampleSpec_)
                                         : UINT64_MAX;
    connection_->waitUntil(limit, [&] { return bytesRead_ >= spoken || !isRunning_; });
}

void PulseAudioEngine::Capture::takeState() {
    if (pa_stream_get_state(stream_) == PA_STREAM_READY)
        isRunning_ = true;
    else if (!isStreamGood())
        loseDevice();
    connection_->signal();
}

void PulseAudioEngine::Capture::read() {
    while (isRunning_ && !isCheckingDevice_) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(stream_, &data, &bytes) < 0 || bytes == 0)
            break;
        bytesRead_ += bytes;
        // No data means a hole: the server has lost some audio. Silence keeps the time right.
        if (cutter_)
            cutter_->take(static_cast<const float*>(data), bytes / pa_frame_size(&sampleSpec_));
        pa_stream_drop(stream_);
    }
    connection_->signal();
}

void PulseAudioEngine::Capture::checkDevice() {
    // When a microphone is unplugged, its captures are moved to the default source, which may be the monitor
    // of an output. The new device's audio is dropped until it is known to be a real input.
    isCheckingDevice_ = true;
    isDeviceReal_ = false;
    deviceCheck_.reset(pa_context_get_source_info_by_index(
        connection_->context(), pa_stream_get_device_index(stream_),
        [](pa_context*, const pa_source_info* info, int end, void* data) {
            static_cast<Capture*>(data)->takeDevice(info, end);
        },
        this));
    if (!deviceCheck_)
        loseDevice();
}

void PulseAudioEngine::Capture::takeDevice(const pa_source_info* info, int end) {
    if (end == 0) {
        isDeviceReal_ = info->monitor_of_sink == PA_INVALID_INDEX;
        return;
    }
    if (!isDeviceReal_) {
        loseDevice();
        return;
    }
    isCheckingDevice_ = false;
    read();
}

void PulseAudioEngine::Capture::loseDevice() {
    if (isRunning_ && cutter_)
        cutter_->flush();
    isRunning_ = false;
    connection_->signal();
    if (isStreamGood())
        pa_stream_disconnect(stream_);
}

PulseAudioEngine::PulseAudioEngine(std::string server) {
    auto connection = std::make_unique<PulseConnection>(std::move(server));
    if (connection->connect(connectSeconds) != PulseConnection::Outcome::connected)
        return;
    if (auto input = connection->findInput(querySeconds))
        capture_ = std::make_unique<Capture>(std::move(connection), std::move(*input));
}

PulseAudioEngine::~PulseAudioEngine() = default;

platform::AudioFormat PulseAudioEngine::inputFormat() const {
    return capture_ ? capture_->format() : platform::AudioFormat{};
}

platform::AudioFormat PulseAudioEngine::outputFormat() const {
    return inputFormat();
}

void PulseAudioEngine::installTap(std::size_t bufferFrames, TapBlock block) {
    if (capture_)
        capture_->installTap(bufferFrames, std::move(block));
}

void PulseAudioEngine::drain() {
    if (capture_)
        capture_->drain();
}

void PulseAudioEngine::removeTap() {
    if (capture_)
        capture_->removeTap();
}

void PulseAudioEngine::start() {
    if (!capture_)
        throw platform::AudioEngineError("There is no microphone.");
    capture_->start();
}

void PulseAudioEngine::stop() {
    if (capture_)
        capture_->stop();
}

bool PulseAudioEngine::isRunning() const {
    return capture_ && capture_->isRunning();
}

} // namespace sonvale::adapters::pulse
