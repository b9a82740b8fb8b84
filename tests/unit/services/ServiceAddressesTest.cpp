#include "services/ServiceAddresses.h"

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace sonvale::services {

namespace {

ServiceAddresses from(nlohmann::json::object_t values) {
    return ServiceAddresses::from(BundleInfo(std::move(values)));
}

} // namespace

TEST(ServiceAddresses, HaveDefaultsForAnEmptyDictionary) {
    const auto addresses = from({});
    EXPECT_EQ(addresses.backend, ServiceAddresses::defaultBackend);
    EXPECT_EQ(addresses.service, "https://api.openai.com");
    EXPECT_EQ(addresses.appVersion, "0.0.0");
    EXPECT_TRUE(addresses.useProxy());
}

TEST(ServiceAddresses, UseTheDirectPathWithAUsableKeyOnly) {
    EXPECT_FALSE(from({{"OPENAI_API_KEY", "sk-1"}}).useProxy());
    for (const auto* key : {"", "$(OPENAI_API_KEY)", "sk-your-key-here"})
        EXPECT_TRUE(from({{"OPENAI_API_KEY", key}}).useProxy()) << key;
}

TEST(ServiceAddresses, UseAUsableBackendUnchanged) {
    EXPECT_EQ(usableBackendURL("https://backend.example.com/v2/"), "https://backend.example.com/v2/");
    for (const nlohmann::json& value :
         {nlohmann::json(), nlohmann::json(""), nlohmann::json("$(BACKEND_URL)"), nlohmann::json(5),
          nlohmann::json("https://back end.example"), nlohmann::json("http://[::1"),
          nlohmann::json("https://backend.example:port/")})
        EXPECT_EQ(usableBackendURL(value), std::nullopt) << value;
}

TEST(ServiceAddresses, AppendPathsToTheBackend) {
    ServiceAddresses addresses;
    for (const auto& [backend, whole] : std::vector<std::pair<std::string, std::string>>{
             {"https://b.example", "https://b.example/api/chat"},
             {"https://b.example/", "https://b.example/api/chat"},
             {"https://b.example:8443/v2", "https://b.example:8443/v2/api/chat"},
             {"https://b.example/v2/?x=1", "https://b.example/v2/api/chat?x=1"},
             {"http://127.0.0.1.b.example", "http://127.0.0.1.b.example/api/chat"}}) {
        addresses.backend = backend;
        EXPECT_EQ(addresses.backendURL("api/chat"), whole);
    }
}

TEST(ServiceAddresses, UseTheSameHostForTheSocket) {
    const tests::LogCapture log;
    const auto socket = [](const char* base) {
        return from({{"OPENAI_BASE_URL", base}}).serviceSocketURL("/v1/realtime");
    };
    EXPECT_EQ(socket("https://speech.example"), "wss://speech.example/v1/realtime");
    EXPECT_EQ(socket("https://speech.example:444/"), "wss://speech.example:444/v1/realtime");
    EXPECT_EQ(socket("http://127.0.0.1:8080"), "ws://127.0.0.1:8080/v1/realtime");
    EXPECT_EQ(socket("http://localhost:8080"), "ws://localhost:8080/v1/realtime");
    EXPECT_TRUE(log.lines().empty());
}

TEST(ServiceAddresses, SendNothingUnencryptedToAnotherMachine) {
    const tests::LogCapture log;
    for (const auto* base :
         {"http://speech.example", "http://127.evil.example", "http://127.0.0.1.evil.example",
          "ftp://127.0.0.1", "http://127.0.0.1@evil.example", "https://speech.example:port", "speech", ""})
        EXPECT_EQ(from({{"OPENAI_BASE_URL", base}}).service, "https://api.openai.com") << base;
    EXPECT_EQ(log.lines().size(), 8U);
}

TEST(ServiceAddresses, SendTheVersionToTheBackendOnly) {
    using Headers = std::vector<platform::HttpHeader>;
    ServiceAddresses addresses;
    addresses.backend = "https://b.example";
    addresses.service = "https://s.example";
    addresses.appVersion = "2.5";
    const auto toBackend = addresses.post("api/chat", "/v1/chat", "token", "application/json");
    EXPECT_EQ(toBackend.method, "POST");
    EXPECT_EQ(toBackend.url, "https://b.example/api/chat");
    EXPECT_EQ(toBackend.headers, (Headers{{"Authorization", "Bearer token"},
                                          {"Content-Type", "application/json"},
                                          {"X-App-Version", "2.5"}}));
    addresses.key = "sk-own";
    const auto toService = addresses.post("api/chat", "/v1/chat", "sk-own", "text/plain");
    EXPECT_EQ(toService.url, "https://s.example/v1/chat");
    EXPECT_EQ(toService.headers,
              (Headers{{"Authorization", "Bearer sk-own"}, {"Content-Type", "text/plain"}}));
    EXPECT_EQ(addresses.backendPost("api/realtime/session", "token", "application/json").url,
              "https://b.example/api/realtime/session");
}

} // namespace sonvale::services
