#include "services/ServiceAddresses.h"

#include "base/Log.h"

#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>

namespace sonvale::services {

namespace {

bool isLoopback(const boost::urls::url_view& url) {
    switch (url.host_type()) {
    case boost::urls::host_type::ipv4:
        return url.host_ipv4_address().is_loopback();
    case boost::urls::host_type::ipv6:
        return url.host_ipv6_address().is_loopback();
    default:
        return url.encoded_host() == "localhost";
    }
}

/// Scheme, host and port of the service, when they are usable. Without encryption only on this machine: the
/// key and the voice go there.
std::optional<std::string> usableService(const nlohmann::json& value) {
    if (!value.is_string())
        return std::nullopt;
    const auto url = boost::urls::parse_uri(value.get_ref<const std::string&>());
    if (!url || url->host().empty())
        return std::nullopt;
    const bool isSecure = url->scheme_id() == boost::urls::scheme::https;
    const bool isPlain = url->scheme_id() == boost::urls::scheme::http;
    if (!isSecure && !(isPlain && isLoopback(*url)))
        return std::nullopt;
    return std::string(isSecure ? "https://" : "http://") + std::string(url->encoded_host_and_port());
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
    if (text.empty() || text.starts_with("$(") || !boost::urls::parse_uri_reference(text))
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
    boost::urls::url url(boost::urls::parse_uri_reference(backend).value());
    std::string whole(url.encoded_path());
    if (!whole.ends_with('/'))
        whole += '/';
    url.set_encoded_path(whole + std::string(path));
    return std::string(url.buffer());
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
    // "http" turns into "ws", and "https" into "wss".
    return "ws" + serviceURL(path).substr(std::string_view("http").size());
}

} // namespace sonvale::services
