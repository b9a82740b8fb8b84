#pragma once

#include "core/flows/Dictation.h"
#include "core/flows/DictationContext.h"
#include "core/flows/Endings.h"
#include "core/flows/TypedPieces.h"

#include <cstdint>
#include <memory>
#include <string>

namespace sonvale::core {

/// Dictation without a key: each pause ends an utterance, which is typed at once while the recording
/// continues. Main actor.
class HandsFreeMode {
public:
    /// The referenced objects must outlive it.
    HandsFreeMode(DictationContext& context, Dictation& dictation, Finalisation& finalisation,
                  Endings& endings);

    /// As `AppState::startHandsFreeMode`.
    runtime::Task<> start();

    /// As `AppState::stopHandsFreeMode`.
    runtime::Task<> stop();

    /// Leaves the mode at once and discards the recording. Typed pieces stay. The caller carries out the
    /// ending.
    runtime::Task<> cancel();

    /// Returns whether an end of the mode still waits for the last utterance. No key up may end the mode a
    /// second time.
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
    bool isCommitting_ = false;       ///< whether an utterance is being committed
    std::uint64_t cancellations_ = 0; ///< number of cancels of the mode
    bool isLeaving_ = false;
    int runningEnds_ = 0; ///< number of ends of the mode that still run
};

} // namespace sonvale::core
