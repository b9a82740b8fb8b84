#include "core/flows/TranscriptText.h"
#include "persistence/ModelContainer.h"
#include "services/BundleInfo.h"
#include "tests/cases/runner/CaseInput.h"
#include "textprocessing/AppCategory.h"
#include "textprocessing/CleanUpPrompt.h"
#include "textprocessing/ContextBuilder.h"
#include "textprocessing/ContextResolver.h"
#include "textprocessing/ModelOutput.h"
#include "textprocessing/PostProcessor.h"
#include "textprocessing/SnippetMatcher.h"

namespace sonvale::tests {

using nlohmann::json;

namespace {

json systemPrompt(const json& in) {
    textprocessing::ProcessingContext context;
    context.formality = integer(in, "formality");
    context.customInstructions = text(in, "customInstructions");
    context.appCategory = text(in, "appCategory");
    for (const auto& entry : array(in, "dictionaryEntries"))
        context.dictionaryEntries.push_back(entry.get<std::string>());
    return textprocessing::buildSystemPrompt(context, boolean(in, "isFragment"));
}

json userMessage(const json& in) {
    const auto dictated = text(in, "text");
    if (!textprocessing::isWorthProcessing(dictated))
        return nullptr;
    return textprocessing::dictationMessage(dictated);
}

json resolveStyle(const json& in) {
    const auto store = persistence::ModelContainer::openInMemory();
    auto& modelContext = store->mainContext();
    for (const auto& each : array(in, "styles")) {
        persistence::WritingStyle style;
        style.category = text(each, "category");
        style.formality = integer(each, "formality");
        style.customInstructions = text(each, "customInstructions");
        modelContext.insert(style);
    }
    modelContext.save();
    const auto style = textprocessing::ContextResolver(modelContext).resolve(textOrNull(in, "bundleID"));
    return {{"formality", style.formality}, {"customInstructions", style.customInstructions}};
}

json snippetMatch(const json& in) {
    const auto store = persistence::ModelContainer::openInMemory();
    auto& modelContext = store->mainContext();
    for (const auto& each : array(in, "snippets")) {
        persistence::Snippet snippet;
        snippet.trigger = text(each, "trigger");
        snippet.content = text(each, "content");
        modelContext.insert(snippet);
    }
    modelContext.save();
    const auto match = textprocessing::SnippetMatcher(modelContext).match(text(in, "transcript"));
    auto usage = json::array();
    for (const auto& snippet : modelContext.fetch<persistence::Snippet>())
        usage.push_back(snippet.usageCount);
    return {{"matched", match.matched},
            {"content", match.content ? json(*match.content) : json()},
            {"usage", usage}};
}

} // namespace

void addTextCases(CaseRegistry& registry) {
    registry["stripTrailingEllipsis"] = [](const json& in) {
        return core::stripTrailingEllipsis(text(in, "text"));
    };
    registry["wordCount"] = [](const json& in) { return core::wordCount(text(in, "text")); };
    registry["usableBundleKey"] = [](const json& in) {
        return services::isUsableBundleKey(field(in, "value"));
    };
    registry["cleanOutput"] = [](const json& in) {
        return textprocessing::cleanOutput(text(in, "output"), text(in, "rawText"));
    };
    registry["buildSystemPrompt"] = systemPrompt;
    registry["userMessage"] = userMessage;
    registry["dictionaryTerm"] = [](const json& in) {
        return textprocessing::dictionaryTerm(text(in, "word"), textOrNull(in, "expansion"));
    };
    registry["resolveStyle"] = resolveStyle;
    registry["snippetMatch"] = snippetMatch;
    registry["appCategory"] = [](const json& in) {
        return textprocessing::rawValue(textprocessing::forBundleID(textOrNull(in, "bundleID")));
    };
    registry["displayPhrase"] = [](const json& in) {
        const auto category = text(in, "category");
        return textprocessing::displayPhrase(
            known(textprocessing::appCategoryFromRawValue(category), "category \"" + category + "\""));
    };
}

} // namespace sonvale::tests
