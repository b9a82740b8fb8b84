#pragma once

#include "core/flows/Dictation.h"
#include "core/flows/DictationContext.h"
#include "core/flows/Endings.h"
#include "core/flows/TypedPieces.h"

#include <cstdint>
#include <memory>
#include <string>

namespace sonvale::core {

/// Dictation without a key: each pause ends an utterance, which is typed at once while the recording goes on.
/// Main actor.
class HandsFreeMode {
public:
    /// What is referred to must outlive it.
    HandsFreeMode(DictationContext& context, Dictation& dictation, Finalisation& finalisation,
                  Endings& endings);

    /// As `AppState::startHandsFreeMode`.
    runtime::Task<> start();

    /// As `AppState::stopHandsFreeMode`.
    runtime::Task<> stop();

    /// Leaves the mode at once and throws the recording away; what was typed stays. The caller carries out
    /// the ending.
    runtime::Task<> cancel();

    /// Whether an end of the mode still waits for what was said. No key up may end it a second time.
    bool isLeaving() const { return isLeaving_; }

private:
    void follow(std::shared_ptr<Recording> recording);
    bool feedDetector(const Recording& recording);
    void beginCommit();
    runtime::Task<> commit();
    runtime::Task<> commitUtterance();
    runtime::Task<> recoverLostUtterance(std::shared_ptr<Recording> recording, bool isSpeechHeard);
    bool openNextSegment(Recording& recording);
    void endSegment(Recording& recording);
    void typeUtterance(const std::string& transcript);
    runtime::Task<> restart();
    runtime::Task<> leave();
    runtime::Task<> finishUtterances();
    runtime::Task<> waitForCommit();
    runtime::Task<> finishLastUtterance(std::shared_ptr<Recording> recording);
    void endDetection();

    DictationContext& context_;
    Dictation& dictation_;
    Endings& endings_;
    TypedPieces pieces_;
    bool isCommitting_ = false;       ///< an utterance is being committed
    std::uint64_t cancellations_ = 0; ///< of the mode
    bool isLeaving_ = false;
    int endsUnderWay_ = 0; ///< ends of the mode
};

} // namespace sonvale::core
