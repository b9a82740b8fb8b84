#pragma once

#include "persistence/ModelContext.h"
#include "textprocessing/FocusedAppDetector.h"
#include "textprocessing/ProcessingContext.h"

#include <optional>
#include <string>

namespace sonvale::textprocessing {

/// Puts together what the clean-up of a text goes by. Main actor.
class ContextBuilder {
public:
    explicit ContextBuilder(FocusedAppDetector focusedAppDetector);

    FocusedAppDetector focusedAppDetector;

    /// For a text that was dictated into `target`, or without one into the application in front now. The tone
    /// and the vocabulary come from the store; without one, or when it cannot be read, the tone is neutral
    /// and the vocabulary empty.
    ProcessingContext build(const std::optional<FocusedAppInfo>& target,
                            const persistence::ModelContext* modelContext) const;
};

/// An entry of the vocabulary as the model is told it.
std::string dictionaryTerm(const std::string& word, const std::optional<std::string>& expansion);

} // namespace sonvale::textprocessing
