#include "textprocessing/FocusedAppDetector.h"

#include "tests/fakes/FakeWorkspace.h"

#include <gtest/gtest.h>

#include <optional>

namespace sonvale::textprocessing {

TEST(FocusedAppDetector, ReturnsTheFrontApplication) {
    tests::FakeWorkspace workspace;
    workspace.control().setFrontmost(platform::FrontApplication{
        .bundleIdentifier = "com.apple.mail", .localizedName = "Mail", .processIdentifier = 42});
    EXPECT_EQ(FocusedAppDetector(workspace).detect(), (FocusedAppInfo{"com.apple.mail", "Mail", 42}));
}

TEST(FocusedAppDetector, ReturnsNoneIfNoApplicationIsInFront) {
    tests::FakeWorkspace workspace;
    EXPECT_EQ(FocusedAppDetector(workspace).detect(), (FocusedAppInfo{std::nullopt, "Unknown", 0}));
}

TEST(FocusedAppDetector, CallsAnApplicationWithoutANameUnknown) {
    tests::FakeWorkspace workspace;
    workspace.control().setFrontmost(platform::FrontApplication{
        .bundleIdentifier = std::nullopt, .localizedName = std::nullopt, .processIdentifier = 7});
    EXPECT_EQ(FocusedAppDetector(workspace).detect(), (FocusedAppInfo{std::nullopt, "Unknown", 7}));
}

TEST(FocusedAppDetector, AsksAgainEachTime) {
    tests::FakeWorkspace workspace;
    const FocusedAppDetector detector(workspace);
    EXPECT_EQ(detector.detect().processID, 0);
    workspace.control().setFrontmost(platform::FrontApplication{
        .bundleIdentifier = std::nullopt, .localizedName = "Terminal", .processIdentifier = 9});
    EXPECT_EQ(detector.detect().appName, "Terminal");
}

} // namespace sonvale::textprocessing
