#pragma once

#include "platform/AudioEngine.h"

#include <memory>
#include <string>

namespace sonvale::adapters::pulse {

/// A capture from a PulseAudio or PipeWire server. Connects at construction. The connection and its thread,
/// which is the capture thread, end with it.
///
/// Records with the source's own rate and channels. It follows when the user moves the capture to another
/// microphone, in the format of the first one, and ends if only the monitor of an output is left.
class PulseAudioEngine final : public platform::AudioEngine {
public:
    /// `server` has the form of PULSE_SERVER; empty means the user's server. Never starts a server.
    explicit PulseAudioEngine(std::string server);
    ~PulseAudioEngine() override;

    platform::AudioFormat inputFormat() const override;
    platform::AudioFormat outputFormat() const override;
    void installTap(std::size_t bufferFrames, TapBlock block) override;
    void drain() override;
    void removeTap() override;
    void start() override;
    void stop() override;
    bool isRunning() const override;

private:
    class Capture;
    std::unique_ptr<Capture> capture_; ///< null if there is no input
};

/// Makes engines and keeps no connection: between recordings there is neither a thread nor a wake-up.
class PulseAudioEngines final : public platform::AudioEngines {
public:
    /// `server` has the form of PULSE_SERVER; empty means the user's server.
    explicit PulseAudioEngines(std::string server = {})
        : server_(std::move(server)) {}

    std::unique_ptr<platform::AudioEngine> makeEngine() override {
        return std::make_unique<PulseAudioEngine>(server_);
    }

private:
    std::string server_;
};

} // namespace sonvale::adapters::pulse
