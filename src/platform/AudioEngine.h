#pragma once

#include "platform/AudioTypes.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace sonvale::platform {

/// A capture that could not be started. `what()` is fit for the user.
class AudioEngineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One capture from the default input, for one recording.
///
/// Made on, and called from, the main actor. Making it connects to the sound server and asks for the input's
/// format: some milliseconds, 2 s at most when the server hangs.
class AudioEngine {
public:
    /// Receives the captured audio on the capture thread, in order and without gaps, in buffers of the asked
    /// size; the last buffer before the end, or of a `drain()`, may be shorter. It must not block.
    using TapBlock = std::function<void(const PcmBufferPtr&)>;

    AudioEngine() = default;
    AudioEngine(const AudioEngine&) = delete;
    AudioEngine& operator=(const AudioEngine&) = delete;
    /// Ends the capture.
    virtual ~AudioEngine() = default;

    /// The device's own format. 0 channels when there is no real input (no server, or only monitors of
    /// outputs).
    virtual AudioFormat inputFormat() const = 0;

    /// The format in which the tap delivers.
    virtual AudioFormat outputFormat() const = 0;

    /// Sets the one receiver; before `start()`.
    virtual void installTap(std::size_t bufferFrames, TapBlock block) = 0;

    /// Delivers everything that was spoken before this call; the capture goes on. Waits for what the device
    /// still holds by its own report, 60 ms at most, then delivers an unfinished buffer as it is. Does
    /// nothing if no tap is installed. Does not wait if the capture does not run.
    virtual void drain() = 0;

    /// Delivers an unfinished buffer, then lets go of the receiver: when it returns, no block runs or will
    /// run. Does not wait for the device. Does nothing if no tap is installed.
    virtual void removeTap() = 0;

    /// Begins capturing; returns once the device delivers or is sure to. Throws `AudioEngineError`.
    virtual void start() = 0;

    /// Ends capturing. Nothing when not running.
    virtual void stop() = 0;

    /// False before `start()`, after `stop()`, and once the device or the server has gone; the tap then gets
    /// what was captured and nothing more.
    virtual bool isRunning() const = 0;
};

/// Makes engines; main actor. Kept for the life of the program.
class AudioEngines {
public:
    AudioEngines() = default;
    AudioEngines(const AudioEngines&) = delete;
    AudioEngines& operator=(const AudioEngines&) = delete;
    virtual ~AudioEngines() = default;

    /// Never fails: without an input the engine's format has 0 channels.
    virtual std::unique_ptr<AudioEngine> makeEngine() = 0;
};

} // namespace sonvale::platform
