#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string_view>

namespace sonvale::services {

/// The program's information dictionary: what was fixed when it was built. Unchanging; any thread.
class BundleInfo {
public:
    /// Names of the entries.
    static constexpr std::string_view backendURL = "BACKEND_URL";
    static constexpr std::string_view openAIKey = "OPENAI_API_KEY";
    static constexpr std::string_view openAIBaseURL = "OPENAI_BASE_URL";
    static constexpr std::string_view shortVersion = "CFBundleShortVersionString";
    static constexpr std::string_view updateFeedURL = "UPDATE_FEED_URL";

    /// An empty dictionary.
    BundleInfo() = default;
    explicit BundleInfo(nlohmann::json::object_t values);

    /// Reads the JSON object in that file. A file that is missing or holds anything else gives an empty
    /// dictionary and a line in the log.
    static BundleInfo load(const std::filesystem::path& path);

    /// The entry with that name as it was written; null when there is none.
    nlohmann::json value(std::string_view name) const;

    /// The program's version as users are told it; "1.0.0" when the dictionary has none.
    std::string version() const;

    /// Whether the build was given a key for the direct path.
    bool hasUsableKey() const;

private:
    nlohmann::json::object_t values_;
};

/// Whether a value of `BundleInfo::openAIKey` is a key, and not absent, empty, a build variable that was left
/// unexpanded or a placeholder.
bool isUsableBundleKey(const nlohmann::json& value);

} // namespace sonvale::services
