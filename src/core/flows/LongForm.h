#pragma once

#include "core/flows/DictationContext.h"
#include "core/flows/Endings.h"
#include "core/flows/TypedPieces.h"

#include <cstdint>
#include <memory>

namespace sonvale::core {

/// A push-to-talk dictation whose key is held so long that its text is typed meanwhile. Main actor.
class LongForm {
public:
    /// The referenced objects must outlive it.
    LongForm(DictationContext& context, Finalisation& finalisation, Endings& endings);

    /// Starts to measure how long the key is held.
    void startTimer();
    /// Stops to measure. Typed pieces stay.
    void stopTimer();

    /// Returns whether the key has been held long enough.
    bool isActive() const { return isActive_; }

    /// Ends the dictation of `recording`: types its last piece, and replaces the pieces by the cleaned whole.
    /// `stopTime`: the clock's `now()` when the key went up.
    runtime::Task<> stop(std::shared_ptr<Recording> recording, bool isLocalOnly, double stopTime);

    /// Drops the piece that is not typed yet, and forgets the others. Ends when no insertion runs.
    runtime::Task<> cancel();
    /// Works as `cancel`, but does not wait.
    void drop();

    /// As `AppState::resetPTTLongFormState`.
    void reset();

private:
    void activate();
    runtime::Task<> commitSegment();
    void typeSegment(const std::string& text);

    DictationContext& context_;
    Endings& endings_;
    TypedPieces pieces_;
    runtime::TaskHandle<> timer_;
    bool isActive_ = false;
    bool isCommitting_ = false; ///< whether a piece is being committed
    std::uint64_t cancellations_ = 0;
};

} // namespace sonvale::core
