#pragma once

#include "runtime/Task.h"

#include <cstdint>
#include <string>

namespace sonvale::core {

/// The text of a dictation that is typed piece by piece while the user goes on speaking. Main actor.
struct TypedPieces {
    std::string accumulatedText;            ///< all pieces, joined by single blanks
    std::int64_t insertionCount = 0;        ///< insertions that have ended
    bool isFirst = true;                    ///< no piece with text has come yet
    runtime::TaskHandle<> pendingInsertion; ///< of the newest piece; it waits for the one before

    /// Takes a piece in and returns it as it is to be typed: with a blank before it unless it is the first.
    std::string add(const std::string& text, bool asFirst) {
        auto spaced = asFirst ? text : " " + text;
        accumulatedText += spaced;
        return spaced;
    }

    /// Forgets the text; insertions that are on their way go on.
    void forget() {
        accumulatedText.clear();
        insertionCount = 0;
        isFirst = true;
    }
};

} // namespace sonvale::core
