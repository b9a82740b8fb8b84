#pragma once

#include "persistence/ModelContext.h"
#include "textprocessing/FocusedAppDetector.h"
#include "textprocessing/ProcessingContext.h"

#include <optional>
#include <string>

namespace sonvale::textprocessing {

/// Collects the context for the clean-up of a text. Main actor.
class ContextBuilder {
public:
    explicit ContextBuilder(FocusedAppDetector focusedAppDetector);

    FocusedAppDetector focusedAppDetector;

    /// Builds the context for a text that was dictated into `target`, or into the current front application
    /// if there is none. Tone and vocabulary come from the store. Without a store, or if it cannot be read,
    /// the tone is neutral and the vocabulary empty.
    ProcessingContext build(const std::optional<FocusedAppInfo>& target,
                            const persistence::ModelContext* modelContext) const;
};

/// Returns an entry of the vocabulary in the form for the model.
std::string dictionaryTerm(const std::string& word, const std::optional<std::string>& expansion);

} // namespace sonvale::textprocessing
