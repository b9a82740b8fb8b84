#pragma once

#include "core/flows/CommandMode.h"
#include "core/flows/DictationContext.h"
#include "core/flows/Endings.h"
#include "core/flows/Finalisation.h"
#include "core/flows/LongForm.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::core {

/// One dictation, from the key down to the text at the cursor. Main actor.
class Dictation {
public:
    /// What is referred to must outlive it.
    Dictation(DictationContext& context, CommandMode& commandMode, Finalisation& finalisation,
              LongForm& longForm, Endings& endings);

    /// As `AppState::startDictation`.
    runtime::Task<> start();
    /// Abandons a start that still reads the selection.
    void giveUpStart() { ++startsGivenUp_; }

    /// As `AppState::stopDictation`.
    runtime::Task<> stop();

    /// Discards the recording and its text in an open session. Pieces that are already typed stay. The caller
    /// carries out the ending.
    runtime::Task<> cancel();
    /// If the end of a recording waits for audio that is not sent, makes it continue with the file.
    void cancelStalledEnd();

    /// Called when a recording of hands-free mode has begun.
    std::function<void(std::shared_ptr<Recording>)> onHandsFreeRecording;

    /// Returns whether it is the newest recording and still runs.
    bool isRecording(const Recording& recording) const;

private:
    runtime::Task<bool> chooseMeaning();
    bool startRecorder();
    runtime::Task<bool> startEngine(std::shared_ptr<Recording> recording);
    void failToConnect();
    void showLevels(std::shared_ptr<Recording> recording);
    std::optional<std::filesystem::path> closeFile(Recording& recording, bool isTextThere);
    runtime::Task<std::optional<std::string>> transcribe(std::shared_ptr<Recording> recording,
                                                         std::filesystem::path file, double stopTime);
    void endWithoutAudio(Recording& recording, const std::optional<std::string>& text);

    DictationContext& context_;
    CommandMode& commandMode_;
    Finalisation& finalisation_;
    LongForm& longForm_;
    Endings& endings_;
    std::uint64_t startsGivenUp_ = 0;
};

} // namespace sonvale::core
