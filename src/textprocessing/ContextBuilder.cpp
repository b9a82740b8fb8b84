#include "textprocessing/ContextBuilder.h"

#include "textprocessing/AppCategory.h"
#include "textprocessing/ContextResolver.h"

#include <utility>

namespace sonvale::textprocessing {

namespace {

std::vector<std::string> dictionaryTerms(const persistence::ModelContext& modelContext) {
    std::vector<std::string> terms;
    try {
        for (const auto& entry : modelContext.fetch<persistence::DictionaryEntry>())
            terms.push_back(dictionaryTerm(entry.word, entry.expansion));
    } catch (const persistence::StoreError&) {
        // Without the vocabulary the text is still worth cleaning.
    }
    return terms;
}

} // namespace

std::string dictionaryTerm(const std::string& word, const std::optional<std::string>& expansion) {
    return expansion && !expansion->empty() ? word + " → " + *expansion : word;
}

ContextBuilder::ContextBuilder(FocusedAppDetector detector)
    : focusedAppDetector(detector) {}

ProcessingContext ContextBuilder::build(const std::optional<FocusedAppInfo>& target,
                                        const persistence::ModelContext* modelContext) const {
    const auto application = target ? *target : focusedAppDetector.detect();
    ProcessingContext context;
    context.appCategory = displayPhrase(forBundleID(application.bundleID));
    if (modelContext == nullptr)
        return context;
    auto style = ContextResolver(*modelContext).resolve(application.bundleID);
    context.formality = style.formality;
    context.customInstructions = std::move(style.customInstructions);
    context.dictionaryEntries = dictionaryTerms(*modelContext);
    return context;
}

} // namespace sonvale::textprocessing
