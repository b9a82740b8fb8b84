#pragma once

#include "core/flows/Finalisation.h"

#include <cstdint>
#include <string>

namespace sonvale::core {

/// The text of a dictation that is typed piece by piece while the user still speaks, and cleaned up as a
/// whole at its end. Main actor.
class TypedPieces {
public:
    /// The referenced objects must outlive it.
    TypedPieces(DictationContext& context, Finalisation& finalisation);

    /// Keeps a piece in the history and types it after the earlier ones, with a blank before it unless it is
    /// the first. Returns at once.
    void type(const std::string& text);

    /// Returns all pieces, joined by single blanks.
    const std::string& text() const { return text_; }

    /// Waits until all pieces are typed, also a piece that comes meanwhile.
    runtime::Task<> finishTyping();
    /// Works as `finishTyping`, but drops the newest piece unless it is being typed.
    runtime::Task<> cancelTyping();
    /// Drops the newest piece unless it is being typed. Does not wait.
    void dropTyping();

    /// Replaces the typed pieces by the cleaned whole, if the settings want that, and shows the text. Does
    /// nothing if no piece was typed.
    runtime::Task<> replaceByWhole(bool isLocalOnly);

    /// Forgets the text. Running insertions continue.
    void forget();

private:
    runtime::Task<> typeAfter(runtime::TaskHandle<> previous, std::string text);

    DictationContext& context_;
    Finalisation& finalisation_;
    std::string text_;
    std::int64_t insertionCount_ = 0;   ///< number of insertions that have ended
    runtime::TaskHandle<> newestPiece_; ///< its insertion, which waits for the previous one
};

} // namespace sonvale::core
