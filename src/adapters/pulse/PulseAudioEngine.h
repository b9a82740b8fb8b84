#pragma once

#include "platform/AudioEngine.h"

#include <memory>
#include <string>

namespace sonvale::adapters::pulse {

/// A capture from a PulseAudio server, or PipeWire's in its place. Connects when it is made; the connection
/// and its thread, which is the capture thread, end with it.
///
/// Records at the source's own rate and channels. It goes along when the user moves the capture to another
/// microphone, in the format of the first one, and ends when nothing but the monitor of an output would be
/// left.
class PulseAudioEngine final : public platform::AudioEngine {
public:
    /// `server` as in PULSE_SERVER; empty: the user's own. Never starts a server.
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
    std::unique_ptr<Capture> capture_; ///< absent: there is no input
};

/// Keeps no connection of its own: between recordings there is neither a thread nor a wake-up.
class PulseAudioEngines final : public platform::AudioEngines {
public:
    /// `server` as in PULSE_SERVER; empty: the user's own.
    explicit PulseAudioEngines(std::string server = {})
        : server_(std::move(server)) {}

    std::unique_ptr<platform::AudioEngine> makeEngine() override {
        return std::make_unique<PulseAudioEngine>(server_);
    }

private:
    std::string server_;
};

} // namespace sonvale::adapters::pulse
