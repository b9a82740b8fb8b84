#pragma once

#include "core/flows/DictationState.h"
#include "runtime/Clock.h"

#include <string>

namespace sonvale::core {

/// The places besides the document that receive the texts of dictations: the views, paste-last, and the
/// history. Main actor.
class Transcripts {
public:
    /// The referenced objects must outlive it.
    Transcripts(DictationState& state, const persistence::Settings& settings, const runtime::Clock& clock);

    /// Makes a text the last one, for views and for paste-last.
    void show(const std::string& text);

    /// Works as `show`, for a text whose pieces are in the document. If a text of this dictation is not in
    /// the document, paste-last keeps that text.
    void showTyped(const std::string& text);

    /// Returns whether the user wants no history.
    bool isPrivate() const;

    /// Writes a row of the history. An empty `processedText` means `rawText`. Does nothing if the store is
    /// not open.
    void record(const std::string& rawText, const std::string& processedText);
    void recordUnlessPrivate(const std::string& rawText, const std::string& processedText);

    /// Keeps a text that is not typed: in the history, and in paste-last after the earlier such texts of this
    /// dictation. Does nothing if it is blank.
    void keepUntyped(const std::string& text);
    /// Called when a new dictation begins: forgets the untyped texts of the last one.
    void forgetUntyped() { untyped_.clear(); }

private:
    DictationState& state_;
    const persistence::Settings& settings_;
    const runtime::Clock& clock_;
    std::string untyped_; ///< the texts of this dictation that were not typed
};

} // namespace sonvale::core
