#include "textprocessing/FocusedAppDetector.h"

#include <gtest/gtest.h>

#include <optional>

namespace sonvale::textprocessing {

namespace {

class SettableWorkspace final : public platform::Workspace {
public:
    std::optional<platform::FrontApplication> frontmostApplication() override { return front; }

    std::optional<platform::FrontApplication> front;
};

} // namespace

TEST(FocusedAppDetector, TellsTheApplicationInFront) {
    SettableWorkspace workspace;
    workspace.front = {
        .bundleIdentifier = "com.apple.mail", .localizedName = "Mail", .processIdentifier = 42};
    EXPECT_EQ(FocusedAppDetector(workspace).detect(), (FocusedAppInfo{"com.apple.mail", "Mail", 42}));
}

TEST(FocusedAppDetector, TellsOfNoneWhenNothingIsInFront) {
    SettableWorkspace workspace;
    EXPECT_EQ(FocusedAppDetector(workspace).detect(), (FocusedAppInfo{std::nullopt, "Unknown", 0}));
}

TEST(FocusedAppDetector, CallsAnApplicationWithoutANameUnknown) {
    SettableWorkspace workspace;
    workspace.front = {
        .bundleIdentifier = std::nullopt, .localizedName = std::nullopt, .processIdentifier = 7};
    EXPECT_EQ(FocusedAppDetector(workspace).detect(), (FocusedAppInfo{std::nullopt, "Unknown", 7}));
}

TEST(FocusedAppDetector, AsksAgainEachTime) {
    SettableWorkspace workspace;
    const FocusedAppDetector detector(workspace);
    EXPECT_EQ(detector.detect().processID, 0);
    workspace.front = {.bundleIdentifier = std::nullopt, .localizedName = "Terminal", .processIdentifier = 9};
    EXPECT_EQ(detector.detect().appName, "Terminal");
}

} // namespace sonvale::textprocessing
