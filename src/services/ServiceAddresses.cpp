#include "services/ServiceAddresses.h"

#include "base/Log.h"
#include "base/WebAddress.h"

#include <algorithm>
#include <stdexcept>

namespace sonvale::services {

namespace {

/// Returns scheme, host and port of the service if they are usable. Without encryption only this machine is
/// allowed, because the key and the voice are sent there.
std::optional<std::string> usableService(const nlohmann::json& value) {
    using Scheme = base::WebAddress::Scheme;
    if (!value.is_string())
        return std::nullopt;
    const auto address = base::WebAddress::parse(value.get_ref<const std::string&>());
    const bool isHttp = address && (address->scheme() == Scheme::https || address->scheme() == Scheme::http);
    return isHttp && address->isConfidential() ? std::optional(address->origin()) : std::nullopt;
}

platform::UrlRequest authorizedPost(std::string url, const std::string& token, std::string contentType) {
    platform::UrlRequest request;
    request.method = "POST";
    request.url = std::move(url);
    request.headers = {{"Authorization", "Bearer " + token}, {"Content-Type", std::move(contentType)}};
    return request;
}

} // namespace

std::optional<std::string> usableBackendURL(const nlohmann::json& value) {
    if (!value.is_string())
        return std::nullopt;
    const auto& text = value.get_ref<const std::string&>();
    if (text.empty() || text.starts_with("$(") || !base::isUriReference(text))
        return std::nullopt;
    return text;
}

ServiceAddresses ServiceAddresses::from(const BundleInfo& bundle) {
    ServiceAddresses addresses;
    if (auto backend = usableBackendURL(bundle.value(BundleInfo::backendURL)))
        addresses.backend = *std::move(backend);

    const auto service = bundle.value(BundleInfo::openAIBaseURL);
    if (auto usable = usableService(service))
        addresses.service = *std::move(usable);
    else if (!service.is_null())
        base::Logger("BundleInfo").error("{} is not usable", BundleInfo::openAIBaseURL);

    if (const auto version = bundle.value(BundleInfo::shortVersion); version.is_string())
        addresses.appVersion = version.get<std::string>();
    if (bundle.hasUsableKey())
        addresses.key = bundle.value(BundleInfo::openAIKey).get<std::string>();
    return addresses;
}

std::string ServiceAddresses::backendURL(std::string_view path) const {
    if (!base::isUriReference(backend))
        throw std::invalid_argument("the address of the backend is not usable");
    const auto end = std::min(backend.find_first_of("?#"), backend.size());
    auto url = backend.substr(0, end);
    if (!url.ends_with('/'))
        url += '/';
    return url.append(path).append(backend, end);
}

platform::UrlRequest ServiceAddresses::backendPost(std::string_view path, const std::string& token,
                                                   std::string contentType) const {
    auto request = authorizedPost(backendURL(path), token, std::move(contentType));
    request.headers.push_back({"X-App-Version", appVersion});
    return request;
}

platform::UrlRequest ServiceAddresses::post(std::string_view backendPath, std::string_view servicePath,
                                            const std::string& token, std::string contentType) const {
    return useProxy() ? backendPost(backendPath, token, std::move(contentType))
                      : authorizedPost(serviceURL(servicePath), token, std::move(contentType));
}

std::string ServiceAddresses::serviceSocketURL(std::string_view path) const {
    // "http" becomes "ws", and "https" becomes "wss".
    return "ws" + serviceURL(path).substr(std::string_view("http").size());
}

} // namespace sonvale::services
