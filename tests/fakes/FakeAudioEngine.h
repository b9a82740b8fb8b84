#pragma once

#include "platform/AudioEngine.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// The microphone of `FakeAudioEngines`, controlled by a test. Any thread. Spoken samples reach the tap
/// inside the call.
class FakeMicrophone {
public:
    /// Sets the format of later engines; 0 channels mean no input.
    void setFormat(platform::AudioFormat format) {
        const std::lock_guard lock(mutex_);
        format_ = format;
    }

    /// Makes the next `start()` throw `text`.
    void failNextStart(std::string text) {
        const std::lock_guard lock(mutex_);
        startFailure_ = std::move(text);
    }

    /// Delivers these samples inside the next `start()`, successful or not, before it returns or throws.
    void speakDuringNextStart(std::vector<float> samples) {
        const std::lock_guard lock(mutex_);
        spokenDuringStart_ = std::move(samples);
    }

    /// Captures `samples` on channel 0 and their negatives on the others, in buffers of the tap's size. An
    /// unfinished buffer waits for more samples, or for the tap's removal. Does nothing if no engine runs.
    void speak(const std::vector<float>& samples) {
        if (const auto session = running())
            session->take(samples);
    }

    /// Adds samples that the device holds: the next `drain()` delivers them to the tap, as `speak` would.
    /// Without one they are lost.
    void speakIntoDevice(const std::vector<float>& samples) {
        if (const auto session = running())
            session->hold(samples);
    }

    /// Passes `buffer` to the tap unchanged.
    void deliver(const platform::PcmBufferPtr& buffer) {
        if (const auto session = running())
            session->hand(buffer);
    }

    /// Removes the device during a capture, or before the next one.
    void unplug() {
        if (const auto session = running()) {
            session->flush();
            session->isRunning = false;
        }
        setFormat({});
    }

    /// Returns the calls that engines received, in order: "make", "installTap", "start", "drain",
    /// "removeTap", "stop", "destroy".
    std::vector<std::string> calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }

    /// Returns the number of engines that were made.
    int madeCount() const {
        const std::lock_guard lock(mutex_);
        return static_cast<int>(std::count(calls_.begin(), calls_.end(), "make"));
    }

    bool isCapturing() const { return running() != nullptr; }

private:
    friend class FakeAudioEngine;
    friend class FakeAudioEngines;

    /// The capture of one engine.
    struct Session {
        explicit Session(platform::AudioFormat f)
            : format(f) {}

        void take(const std::vector<float>& samples) {
            std::size_t bufferFrames = 0;
            std::vector<platform::PcmBufferPtr> full;
            {
                const std::lock_guard lock(mutex);
                bufferFrames = tapFrames;
                rest.insert(rest.end(), samples.begin(), samples.end());
                while (bufferFrames > 0 && rest.size() >= bufferFrames)
                    full.push_back(cut(bufferFrames));
            }
            for (const auto& buffer : full)
                hand(buffer);
        }

        void hold(const std::vector<float>& samples) {
            const std::lock_guard lock(mutex);
            held.insert(held.end(), samples.begin(), samples.end());
        }

        void drain() {
            std::vector<float> samples;
            {
                const std::lock_guard lock(mutex);
                samples.swap(held);
            }
            take(samples);
            flush();
        }

        void flush() {
            platform::PcmBufferPtr last;
            {
                const std::lock_guard lock(mutex);
                if (!rest.empty())
                    last = cut(rest.size());
            }
            if (last)
                hand(last);
        }

        void hand(const platform::PcmBufferPtr& buffer) {
            // Held while the block runs, because the removal of the tap waits for it.
            const std::lock_guard lock(tapMutex);
            if (tap)
                tap(buffer);
        }

        platform::PcmBufferPtr cut(std::size_t frames) {
            auto buffer = std::make_shared<platform::PcmBuffer>(format, frames);
            for (std::size_t channel = 0; channel < format.channelCount; ++channel) {
                for (std::size_t i = 0; i < frames; ++i)
                    buffer->channel(channel)[i] = channel == 0 ? rest[i] : -rest[i];
            }
            rest.erase(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(frames));
            return buffer;
        }

        const platform::AudioFormat format;
        std::atomic<bool> isRunning = false;
        std::mutex mutex;
        std::vector<float> rest;   ///< guarded by `mutex`
        std::vector<float> held;   ///< guarded by `mutex`
        std::size_t tapFrames = 0; ///< guarded by `mutex`
        std::mutex tapMutex;
        platform::AudioEngine::TapBlock tap; ///< guarded by `tapMutex`
    };

    std::shared_ptr<Session> running() const {
        const std::lock_guard lock(mutex_);
        return session_ && session_->isRunning ? session_ : nullptr;
    }

    void note(std::string call) {
        const std::lock_guard lock(mutex_);
        calls_.push_back(std::move(call));
    }

    mutable std::mutex mutex_;
    platform::AudioFormat format_{48000, 1};
    std::optional<std::string> startFailure_;
    std::vector<float> spokenDuringStart_;
    std::vector<std::string> calls_;
    std::shared_ptr<Session> session_; ///< the session of the engine that was started last
};

class FakeAudioEngine final : public platform::AudioEngine {
public:
    FakeAudioEngine(std::shared_ptr<FakeMicrophone> microphone, platform::AudioFormat format)
        : microphone_(std::move(microphone))
        , session_(std::make_shared<FakeMicrophone::Session>(format)) {
        microphone_->note("make");
    }

    ~FakeAudioEngine() override {
        end();
        letGoOfTap();
        microphone_->note("destroy");
    }

    platform::AudioFormat inputFormat() const override { return session_->format; }
    platform::AudioFormat outputFormat() const override { return session_->format; }

    void installTap(std::size_t bufferFrames, TapBlock block) override {
        microphone_->note("installTap");
        {
            const std::lock_guard lock(session_->mutex);
            session_->tapFrames = bufferFrames;
        }
        const std::lock_guard lock(session_->tapMutex);
        session_->tap = std::move(block);
    }

    void drain() override {
        microphone_->note("drain");
        if (session_->isRunning)
            session_->drain();
        else
            session_->flush();
    }

    void removeTap() override {
        microphone_->note("removeTap");
        session_->flush();
        letGoOfTap();
    }

    void start() override {
        microphone_->note("start");
        std::optional<std::string> failure;
        std::vector<float> spoken;
        {
            const std::lock_guard lock(microphone_->mutex_);
            failure = std::exchange(microphone_->startFailure_, std::nullopt);
            spoken = std::exchange(microphone_->spokenDuringStart_, {});
            microphone_->session_ = session_;
        }
        if (session_->format.channelCount == 0)
            throw platform::AudioEngineError("There is no input.");
        session_->isRunning = !failure;
        session_->take(spoken);
        if (failure)
            throw platform::AudioEngineError(*failure);
    }

    void stop() override {
        microphone_->note("stop");
        end();
    }

    bool isRunning() const override { return session_->isRunning; }

private:
    void end() { session_->isRunning = false; }

    void letGoOfTap() {
        const std::lock_guard lock(session_->tapMutex);
        session_->tap = nullptr;
    }

    std::shared_ptr<FakeMicrophone> microphone_;
    std::shared_ptr<FakeMicrophone::Session> session_;
};

class FakeAudioEngines final : public platform::AudioEngines {
public:
    std::unique_ptr<platform::AudioEngine> makeEngine() override {
        platform::AudioFormat format;
        {
            const std::lock_guard lock(microphone_->mutex_);
            format = microphone_->format_;
        }
        return std::make_unique<FakeAudioEngine>(microphone_, format);
    }

    FakeMicrophone& control() { return *microphone_; }

private:
    std::shared_ptr<FakeMicrophone> microphone_ = std::make_shared<FakeMicrophone>();
};

} // namespace sonvale::tests
