#pragma once

#include "platform/AudioTypes.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace sonvale::platform {

/// A capture that failed to start. `what()` is fit for the user.
class AudioEngineError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One capture from the default input, for one recording.
///
/// Made on the main actor and called from it. Construction connects to the sound server and asks for the
/// input's format, which needs some milliseconds, and up to 2 s if the server hangs.
class AudioEngine {
public:
    /// Receives the captured audio on the capture thread, in order and without gaps, in buffers of the
    /// requested size. The last buffer, and the last one of a `drain()`, may be shorter. It must not block.
    using TapBlock = std::function<void(const PcmBufferPtr&)>;

    AudioEngine() = default;
    AudioEngine(const AudioEngine&) = delete;
    AudioEngine& operator=(const AudioEngine&) = delete;
    /// Ends the capture.
    virtual ~AudioEngine() = default;

    /// Returns the device's own format. It has 0 channels if there is no real input: no server, or only
    /// monitors of outputs.
    virtual AudioFormat inputFormat() const = 0;

    /// Returns the format that the tap delivers.
    virtual AudioFormat outputFormat() const = 0;

    /// Sets the receiver. Must be called before `start()`.
    virtual void installTap(std::size_t bufferFrames, TapBlock block) = 0;

    /// Delivers everything that was spoken before this call; the capture continues. Waits for the audio that
    /// the device still holds by its own report, up to 60 ms, then delivers an unfinished buffer as it is.
    /// Does nothing if no tap is installed. Does not wait if the capture does not run.
    virtual void drain() = 0;

    /// Delivers an unfinished buffer, then removes the receiver. After it returns, the block neither runs nor
    /// is called again. Does not wait for the device. Does nothing if no tap is installed.
    virtual void removeTap() = 0;

    /// Starts the capture. Returns when the device delivers audio or is certain to. Throws
    /// `AudioEngineError`.
    virtual void start() = 0;

    /// Ends the capture. Does nothing if it does not run.
    virtual void stop() = 0;

    /// Returns false before `start()`, after `stop()`, and after the device or the server is lost. The tap
    /// then gets what was captured and nothing more.
    virtual bool isRunning() const = 0;
};

/// Makes engines. Main actor. Lives as long as the program.
class AudioEngines {
public:
    AudioEngines() = default;
    AudioEngines(const AudioEngines&) = delete;
    AudioEngines& operator=(const AudioEngines&) = delete;
    virtual ~AudioEngines() = default;

    /// Makes an engine. Never fails: without an input the engine's format has 0 channels.
    virtual std::unique_ptr<AudioEngine> makeEngine() = 0;
};

} // namespace sonvale::platform
