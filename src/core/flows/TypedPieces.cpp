#include "core/flows/TypedPieces.h"

#include "base/Text.h"

#include <utility>

namespace sonvale::core {

TypedPieces::TypedPieces(DictationContext& context, Finalisation& finalisation)
    : context_(context)
    , finalisation_(finalisation) {}

void TypedPieces::type(const std::string& text) {
    auto spaced = text_.empty() ? text : " " + text;
    text_ += spaced;
    context_.transcripts.recordUnlessPrivate(text, text);
    newestPiece_ = context_.tasks.call(*this, &TypedPieces::typeAfter, newestPiece_, std::move(spaced));
}

runtime::Task<> TypedPieces::typeAfter(runtime::TaskHandle<> previous, std::string text) {
    if (previous)
        co_await previous.value();
    if (co_await context_.typing.insert(std::move(text)))
        ++insertionCount_;
}

runtime::Task<> TypedPieces::finishTyping() {
    while (newestPiece_) {
        const auto newest = newestPiece_;
        co_await newest.value();
        if (newestPiece_.state() == newest.state())
            newestPiece_ = {};
    }
}

runtime::Task<> TypedPieces::cancelTyping() {
    newestPiece_.cancel();
    return finishTyping();
}

void TypedPieces::dropTyping() {
    newestPiece_.cancel();
    newestPiece_ = {};
}

runtime::Task<> TypedPieces::replaceByWhole(bool isLocalOnly) {
    const auto whole = base::trimmed(text_);
    const auto count = insertionCount_;
    if (context_.typing.isScreenLocked && !whole.empty()) {
        // The typed pieces cannot be replaced now, and the others were not typed at all.
        context_.transcripts.show(whole);
        co_return;
    }
    if (whole.empty() || count < 1)
        co_return;
    context_.environment.floatingPanel.show(RecordingState::processingHandsFree, 0);
    if (!finalisation_.isCleanUpWanted(isLocalOnly)) {
        context_.transcripts.showTyped(whole);
        co_return;
    }
    const auto result =
        co_await finalisation_.performBatchAICleanup(whole, count, finalisation_.buildProcessingContext());
    context_.transcripts.showTyped(result);
    context_.transcripts.recordUnlessPrivate(whole, result);
}

void TypedPieces::forget() {
    text_.clear();
    insertionCount_ = 0;
}

} // namespace sonvale::core
