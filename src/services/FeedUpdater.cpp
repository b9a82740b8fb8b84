#include "services/FeedUpdater.h"

#include "base/Json.h"
#include "base/Log.h"
#include "base/WebAddress.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace sonvale::services {

namespace {

constexpr double timeoutSeconds = 25;
constexpr std::size_t maxBytes = 64 * 1024;
constexpr std::size_t maxFields = 8;
constexpr std::size_t maxAddressLength = 2048;

const base::Logger& logger() {
    static const base::Logger instance("FeedUpdater");
    return instance;
}

platform::UpdateCheckFailed failed(const std::string& description) {
    logger().error("The check for updates failed: {}", description);
    return {description};
}

std::optional<base::WebAddress> httpAddress(const std::string& text) {
    using Scheme = base::WebAddress::Scheme;
    auto address = base::WebAddress::parse(text);
    const bool isHttp = address && (address->scheme() == Scheme::https || address->scheme() == Scheme::http);
    return isHttp ? std::move(address) : std::nullopt;
}

/// Returns whether the feed's address is safe: an attacker who can change the feed on its way could choose
/// the page that opens.
bool isUsableFeed(const std::string& text) {
    const auto address = httpAddress(text);
    return address && address->isConfidential();
}

bool isUsablePage(const std::string& text) {
    return text.size() <= maxAddressLength && httpAddress(text);
}

/// Returns the numbers of a version without leading zeros and without trailing numbers that are zero; nullopt
/// if the text is not a version.
std::optional<std::vector<std::string_view>> fieldsOf(std::string_view version) {
    constexpr std::string_view digits = "0123456789";
    constexpr std::size_t maxDigits = 18;
    std::vector<std::string_view> fields;
    for (bool isLast = false; !isLast;) {
        const auto dot = version.find('.');
        isLast = dot == std::string_view::npos;
        auto field = version.substr(0, dot);
        version.remove_prefix(isLast ? version.size() : dot + 1);
        if (field.empty() || field.size() > maxDigits || fields.size() == maxFields ||
            field.find_first_not_of(digits) != std::string_view::npos)
            return std::nullopt;
        field.remove_prefix(std::min(field.find_first_not_of('0'), field.size()));
        fields.push_back(field);
    }
    while (!fields.empty() && fields.back().empty())
        fields.pop_back();
    return fields;
}

} // namespace

std::optional<int> compareVersions(std::string_view a, std::string_view b) {
    const auto first = fieldsOf(a);
    const auto second = fieldsOf(b);
    if (!first || !second)
        return std::nullopt;
    for (std::size_t i = 0; i < std::min(first->size(), second->size()); ++i) {
        const auto& x = (*first)[i];
        const auto& y = (*second)[i];
        if (x.size() != y.size())
            return x.size() < y.size() ? -1 : 1;
        if (x != y)
            return x < y ? -1 : 1;
    }
    if (first->size() == second->size())
        return 0;
    return first->size() < second->size() ? -1 : 1;
}

platform::UpdateOutcome readUpdateFeed(std::string_view body, std::string_view version) {
    static const std::string unreadable = "The update server's answer could not be understood.";
    if (body.size() > maxBytes)
        return failed(unreadable);
    const auto feed = base::parseJson(body);
    if (!feed)
        return failed(unreadable);
    const auto offered = base::jsonString(*feed, "version");
    const auto page = base::jsonString(*feed, "page");
    if (!offered || !compareVersions(*offered, *offered) || !page || !isUsablePage(*page))
        return failed(unreadable);

    const auto order = compareVersions(version, *offered);
    if (!order)
        return failed("This build of Son Vale has no version that could be compared.");
    if (*order >= 0)
        return platform::UpToDate{std::string(version)};
    return platform::NewerVersion{.version = *offered, .page = *page};
}

FeedUpdater::FeedUpdater(Parts parts)
    : parts_(std::move(parts)) {}

runtime::Task<platform::UpdateOutcome> FeedUpdater::checkForUpdates() {
    if (!isUsableFeed(parts_.feed))
        co_return failed("This build of Son Vale has no address to ask for updates.");

    auto outcome = co_await runtime::race<platform::UpdateOutcome>(
        parts_.main, fetch(parts_.urlSessions.makeEphemeral(), parts_.feed, parts_.version),
        giveUpLater(&parts_.clock));
    if (auto* newer = std::get_if<platform::NewerVersion>(&outcome))
        newer->isPageOpened = parts_.workspace.openURL(newer->page);
    co_return outcome;
}

runtime::Task<platform::UpdateOutcome> FeedUpdater::fetch(std::shared_ptr<platform::UrlSession> session,
                                                          std::string feed, std::string version) {
    platform::UrlRequest request;
    request.url = std::move(feed);
    request.headers = {{"Accept", "application/json"}};
    request.timeoutSeconds = timeoutSeconds;
    std::optional<platform::UrlError> error;
    try {
        const auto response = co_await session->data(std::move(request));
        if (response.statusCode != 200)
            co_return failed("The update server did not answer as expected.");
        co_return readUpdateFeed(response.body, version);
    } catch (const platform::UrlError& caught) {
        error = caught;
    }
    if (error->code() == platform::UrlError::Code::cancelled)
        throw runtime::CancellationError();
    co_return failed(error->what());
}

runtime::Task<platform::UpdateOutcome> FeedUpdater::giveUpLater(runtime::Clock* clock) {
    if (co_await runtime::sleep(*clock, timeoutSeconds) == runtime::SleepOutcome::interrupted)
        throw runtime::CancellationError();
    co_return failed("The update server takes too long to answer.");
}

} // namespace sonvale::services
