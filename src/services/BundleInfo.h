#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string_view>

namespace sonvale::services {

/// The program's information dictionary: values that were set when it was built. Immutable; any thread.
class BundleInfo {
public:
    /// The names of the entries.
    static constexpr std::string_view backendURL = "BACKEND_URL";
    static constexpr std::string_view openAIKey = "OPENAI_API_KEY";
    static constexpr std::string_view openAIBaseURL = "OPENAI_BASE_URL";
    static constexpr std::string_view shortVersion = "CFBundleShortVersionString";
    static constexpr std::string_view updateFeedURL = "UPDATE_FEED_URL";

    /// Makes an empty dictionary.
    BundleInfo() = default;
    explicit BundleInfo(nlohmann::json::object_t values);

    /// Reads the JSON object in that file. If the file is missing or has other content, returns an empty
    /// dictionary and logs a line.
    static BundleInfo load(const std::filesystem::path& path);

    /// Returns the entry with that name unchanged; null if there is none.
    nlohmann::json value(std::string_view name) const;

    /// Returns the program's version for users; "1.0.0" if the dictionary has none.
    std::string version() const;

    /// Returns whether the build has a key for the direct path.
    bool hasUsableKey() const;

private:
    nlohmann::json::object_t values_;
};

/// Returns whether a value of `BundleInfo::openAIKey` is a key: not absent, not empty, not an unexpanded
/// build variable and not a placeholder.
bool isUsableBundleKey(const nlohmann::json& value);

} // namespace sonvale::services
