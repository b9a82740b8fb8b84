#pragma once

#include "platform/UrlSession.h"
#include "services/BundleInfo.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::services {

/// The addresses for requests to the backend and to the speech and chat service, and the headers that they
/// share. Constant for the life of the process.
struct ServiceAddresses {
    static constexpr std::string_view defaultBackend = "https://api.sonvale.com";
    static constexpr std::string_view defaultService = "https://api.openai.com";

    /// Reads the entries of the dictionary; an unusable entry gives its default.
    static ServiceAddresses from(const BundleInfo& bundle);

    /// Returns the backend's address with a path such as "api/chat" appended. Throws `std::invalid_argument`
    /// if `backend` is not a URI reference.
    std::string backendURL(std::string_view path) const;
    /// Returns the service's address with a path such as "/v1/realtime" appended; for a socket with the
    /// socket's scheme.
    std::string serviceURL(std::string_view path) const { return service + std::string(path); }
    std::string serviceSocketURL(std::string_view path) const;

    /// Returns a POST to the backend with the bearer token and the program's version.
    platform::UrlRequest backendPost(std::string_view path, const std::string& token,
                                     std::string contentType) const;
    /// Returns a POST with the bearer token: to the backend as above or, with a key, to the service itself.
    platform::UrlRequest post(std::string_view backendPath, std::string_view servicePath,
                              const std::string& token, std::string contentType) const;

    std::string backend = std::string(defaultBackend);
    std::string service = std::string(defaultService); ///< scheme, host and port
    std::string appVersion = "0.0.0";
    std::optional<std::string> key; ///< key of the direct path; without one, requests go through the backend
    bool useProxy() const { return !key; }
};

/// Returns the backend's address in an entry of the dictionary, unchanged. Returns nullopt if the entry is
/// absent, empty, an unexpanded build variable, or not a URL (RFC 3986).
std::optional<std::string> usableBackendURL(const nlohmann::json& value);

} // namespace sonvale::services
