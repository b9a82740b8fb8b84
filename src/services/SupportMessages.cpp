#include "services/SupportMessages.h"

#include "base/Text.h"

namespace sonvale::services {

namespace {

constexpr std::string_view dataField = "data: ";
constexpr std::string_view endOfStream = "[DONE]";

/// Returns the text of `choices[0].delta.content`; empty if there is none.
std::string pieceIn(std::string_view payload) {
    const auto json = base::parseJson(std::string(payload));
    const auto* choices = json ? base::jsonMember(*json, "choices") : nullptr;
    if (!choices || !choices->is_array() || choices->empty())
        return {};
    const auto* delta = base::jsonMember(choices->front(), "delta");
    return delta ? base::jsonString(*delta, "content").value_or("") : std::string();
}

} // namespace

base::Json supportBody(std::span<const SupportMessage> messages) {
    auto sent = base::Json::array();
    for (const auto& message : messages) {
        if (message.role != "assistant" || !base::isEqual(message.content, supportGreeting))
            sent.push_back({{"role", message.role}, {"content", message.content}});
    }
    return {{"messages", std::move(sent)}, {"variant", "support"}};
}

SupportStream::Event SupportStream::take(std::string_view line) {
    if (isEnded_ || !line.starts_with(dataField))
        return {};
    line.remove_prefix(dataField.size());
    if (line == endOfStream) {
        isEnded_ = true;
        return {.isData = true};
    }
    return {.isData = true, .text = pieceIn(line)};
}

} // namespace sonvale::services
