#pragma once

#include "core/flows/Finalisation.h"

#include <cstdint>
#include <string>

namespace sonvale::core {

/// The text of a dictation that is typed piece by piece while the user still speaks, and cleaned up as a
/// whole at its end. Main actor.
class TypedPieces {
public:
    /// What is referred to must outlive it.
    TypedPieces(DictationContext& context, Finalisation& finalisation);

    /// Keeps a piece in the history and types it after the earlier ones, with a blank before it unless it is
    /// the first. Returns at once.
    void type(const std::string& text);

    /// All pieces, joined by single blanks.
    const std::string& text() const { return text_; }

    /// Waits until everything is typed, also a piece that comes meanwhile.
    runtime::Task<> finishTyping();
    /// As `finishTyping`, but gives up the newest piece unless it is being typed.
    runtime::Task<> cancelTyping();
    /// Gives up the newest piece unless it is being typed, and waits for nothing.
    void dropTyping();

    /// Replaces the typed pieces by the cleaned whole, if that is wanted, and shows the text. Does nothing
    /// if nothing was typed.
    runtime::Task<> replaceByWhole(bool isLocalOnly);

    /// Forgets the text; insertions that are on their way go on.
    void forget();

private:
    runtime::Task<> typeAfter(runtime::TaskHandle<> previous, std::string text);

    DictationContext& context_;
    Finalisation& finalisation_;
    std::string text_;
    std::int64_t insertionCount_ = 0;   ///< insertions that have ended
    runtime::TaskHandle<> newestPiece_; ///< its insertion, which waits for the one before
};

} // namespace sonvale::core
