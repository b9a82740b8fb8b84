#pragma once

#include "core/flows/DictationState.h"
#include "runtime/Clock.h"

#include <string>

namespace sonvale::core {

/// Where the texts of dictations go beside the document: what views show, paste-last, and the history. Main
/// actor.
class Transcripts {
public:
    /// What is referred to must outlive it.
    Transcripts(DictationState& state, const persistence::Settings& settings, const runtime::Clock& clock);

    /// Makes a text the last one, for views and for paste-last.
    void show(const std::string& text);

    /// As `show`, for a text whose pieces are in the document. If a text of this dictation is not there,
    /// paste-last has that one.
    void showTyped(const std::string& text);

    /// Whether the user wants no history.
    bool isPrivate() const;

    /// Writes a row of the history. An empty `processedText` stands for `rawText`. Does nothing if the store
    /// is not open.
    void record(const std::string& rawText, const std::string& processedText);
    void recordUnlessPrivate(const std::string& rawText, const std::string& processedText);

    /// Keeps a text that is not typed: in the history, and after the earlier ones of this dictation in
    /// paste-last. Does nothing if it is blank.
    void keepUntyped(const std::string& text);
    /// A new dictation begins: its texts that are not typed are counted from here.
    void forgetUntyped() { untyped_.clear(); }

private:
    DictationState& state_;
    const persistence::Settings& settings_;
    const runtime::Clock& clock_;
    std::string untyped_; ///< of this dictation
};

} // namespace sonvale::core
