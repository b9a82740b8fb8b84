#include "services/BundleInfo.h"

#include "base/Log.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::services {

namespace {

using nlohmann::json;

class BundleInfoTest : public testing::Test {
public:
    ~BundleInfoTest() override { base::setLogSinks(formerSinks_); }

protected:
    BundleInfoTest() {
        base::LogSinks sinks;
        sinks.logger = [this](const base::LogLine& line) { logged.push_back(line); };
        formerSinks_ = base::setLogSinks(std::move(sinks));
    }
    std::filesystem::path write(const std::string& text) const {
        const std::filesystem::path path = std::filesystem::path(directory.path()) / "Info.json";
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    tests::TemporaryDirectory directory;
    std::vector<base::LogLine> logged;

private:
    base::LogSinks formerSinks_;
};

} // namespace

TEST_F(BundleInfoTest, ReturnsTheEntriesUnchanged) {
    const auto info = BundleInfo::load(
        write(R"({"BACKEND_URL": "", "OPENAI_API_KEY": "sk-test-1", "CFBundleShortVersionString": 3})"));
    EXPECT_EQ(info.value(BundleInfo::backendURL), json(""));
    EXPECT_EQ(info.value(BundleInfo::openAIKey), json("sk-test-1"));
    EXPECT_EQ(info.value(BundleInfo::shortVersion), json(3));
    EXPECT_EQ(info.value(BundleInfo::updateFeedURL), json());
    EXPECT_TRUE(info.hasUsableKey());
    EXPECT_TRUE(logged.empty());
}

TEST_F(BundleInfoTest, IsEmptyIfTheFileIsMissingOrIsAFolder) {
    const std::filesystem::path folder = directory.path();
    for (const auto& path : {folder / "none.json", folder}) {
        logged.clear();
        const auto info = BundleInfo::load(path);
        EXPECT_EQ(info.value(BundleInfo::backendURL), json());
        EXPECT_FALSE(info.hasUsableKey());
        ASSERT_EQ(logged.size(), 1U);
        EXPECT_EQ(logged.front().level, base::LogLevel::error);
    }
}

TEST_F(BundleInfoTest, IsEmptyIfTheFileIsInvalidAndDoesNotLogItsContent) {
    for (const auto* text : {"", "{", R"({"OPENAI_API_KEY": "sk-secret")", R"(["sk-secret"])",
                             R"("sk-secret")", "{} trailing", "\xff"}) {
        logged.clear();
        EXPECT_FALSE(BundleInfo::load(write(text)).hasUsableKey()) << text;
        ASSERT_EQ(logged.size(), 1U) << text;
        EXPECT_EQ(logged.front().text.find("sk-secret"), std::string::npos);
    }
}

TEST(UsableBundleKey, IsAStringThatIsNeitherEmptyNorAPlaceholder) {
    const std::vector<std::pair<json, bool>> rows{
        {"sk-test-1", true},
        {" ", true},
        {"sk-your", true},
        {"SK-YOUR-KEY", true},
        {"x$(OPENAI_API_KEY)", true},
        {"$OPENAI_API_KEY", true},
        {"", false},
        {"$(OPENAI_API_KEY)", false},
        {"$(", false},
        {"sk-your-key", false},
        {"sk-your-key-here", false},
        {nullptr, false},
        {true, false},
        {17, false},
        {json::array({"sk-test-1"}), false},
        {json::object(), false},
    };
    for (const auto& [value, usable] : rows)
        EXPECT_EQ(isUsableBundleKey(value), usable) << value;
}

} // namespace sonvale::services
