#include "services/BundleInfo.h"

#include "base/Log.h"

#include <fstream>
#include <sstream>
#include <string>
#include <utility>

namespace sonvale::services {

BundleInfo::BundleInfo(nlohmann::json::object_t values)
    : values_(std::move(values)) {}

BundleInfo BundleInfo::load(const std::filesystem::path& path) {
    static const base::Logger logger("BundleInfo");

    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file.is_open() || file.bad()) {
        logger.error("cannot read {}", path.string());
        return {};
    }
    auto parsed = nlohmann::json::parse(std::move(text).str(), nullptr, /*allow_exceptions=*/false);
    if (!parsed.is_object()) {
        logger.error("no JSON object in {}", path.string());
        return {};
    }
    return BundleInfo(std::move(parsed.get_ref<nlohmann::json::object_t&>()));
}

nlohmann::json BundleInfo::value(std::string_view name) const {
    const auto entry = values_.find(name);
    return entry == values_.end() ? nlohmann::json() : entry->second;
}

std::string BundleInfo::version() const {
    const auto entry = value(shortVersion);
    return entry.is_string() && !entry.get_ref<const std::string&>().empty() ? entry.get<std::string>()
                                                                             : "1.0.0";
}

bool BundleInfo::hasUsableKey() const {
    return isUsableBundleKey(value(openAIKey));
}

bool isUsableBundleKey(const nlohmann::json& value) {
    if (!value.is_string())
        return false;
    const auto& key = value.get_ref<const std::string&>();
    return !key.empty() && !key.starts_with("$(") && !key.starts_with("sk-your-key");
}

} // namespace sonvale::services
