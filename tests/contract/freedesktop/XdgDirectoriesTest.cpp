#include "adapters/freedesktop/XdgDirectories.h"

#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace sonvale::adapters::freedesktop {

namespace {

namespace fs = std::filesystem;

class XdgDirectoriesTest : public testing::Test {
protected:
    fs::path root() const { return root_.path(); }
    fs::path runtime() const { return root() / "run"; }
    fs::path shared() const { return root() / "tmp"; }
    fs::path fallback() const { return shared() / ("sonvale-" + std::to_string(::geteuid())); }

    void SetUp() override {
        fs::create_directory(runtime());
        fs::create_directory(shared());
        variables_ = {{"HOME", root() / "home"}, {"XDG_RUNTIME_DIR", runtime()}, {"TMPDIR", shared()}};
    }

    platform::Directories resolve() const {
        return XdgDirectories::resolve([&](const char* name) -> std::optional<std::string> {
            const auto found = variables_.find(name);
            return found == variables_.end() ? std::nullopt : std::optional(found->second);
        });
    }

    static mode_t modeOf(const fs::path& path) {
        struct stat status{};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777;
    }

    std::map<std::string, std::string> variables_;

private:
    sonvale::tests::TemporaryDirectory root_;
};

} // namespace

TEST_F(XdgDirectoriesTest, UsesTheFoldersOfTheEnvironment) {
    variables_["XDG_DATA_HOME"] = "/data/here";
    variables_["XDG_CONFIG_HOME"] = "/config/here";

    const auto directories = resolve();

    EXPECT_EQ(directories.applicationSupport, "/data/here");
    EXPECT_EQ(directories.configuration, "/config/here");
    EXPECT_EQ(directories.temporary, runtime() / "sonvale");
    EXPECT_EQ(directories.executable, fs::read_symlink("/proc/self/exe").parent_path());
}

TEST_F(XdgDirectoriesTest, FallsBackToTheHomeFolder) {
    const auto directories = resolve();
    EXPECT_EQ(directories.applicationSupport, root() / "home/.local/share");
    EXPECT_EQ(directories.configuration, root() / "home/.config");
}

TEST_F(XdgDirectoriesTest, IgnoresEmptyAndRelativeValues) {
    variables_["XDG_DATA_HOME"] = "relative/data";
    variables_["XDG_CONFIG_HOME"] = "";
    variables_["XDG_RUNTIME_DIR"] = "./run";

    const auto directories = resolve();

    EXPECT_EQ(directories.applicationSupport, root() / "home/.local/share");
    EXPECT_EQ(directories.configuration, root() / "home/.config");
    EXPECT_EQ(directories.temporary, fallback());
}

TEST_F(XdgDirectoriesTest, UsesTheHomeFolderOfTheAccountWithoutTheVariable) {
    variables_["HOME"] = "not/absolute";
    const auto support = resolve().applicationSupport;
    EXPECT_TRUE(support.is_absolute());
    EXPECT_TRUE(support.string().ends_with("/.local/share"));
}

TEST_F(XdgDirectoriesTest, MakesTheTemporaryFolderPrivate) {
    EXPECT_EQ(modeOf(resolve().temporary), 0700U);

    variables_.erase("XDG_RUNTIME_DIR");
    const auto directory = resolve().temporary;
    EXPECT_EQ(directory, fallback());
    EXPECT_EQ(modeOf(directory), 0700U);
}

TEST_F(XdgDirectoriesTest, RemovesOtherUsersRightsFromAnEarlierFolder) {
    fs::create_directory(runtime() / "sonvale");
    fs::permissions(runtime() / "sonvale", fs::perms(0755));
    EXPECT_EQ(modeOf(resolve().temporary), 0700U);
}

TEST_F(XdgDirectoriesTest, UsesAnEarlierFolderAgain) {
    const auto first = resolve().temporary;
    EXPECT_EQ(resolve().temporary, first);
}

TEST_F(XdgDirectoriesTest, SkipsAMissingRuntimeFolder) {
    variables_["XDG_RUNTIME_DIR"] = root() / "missing";
    EXPECT_EQ(resolve().temporary, fallback());
}

TEST_F(XdgDirectoriesTest, NeverUsesASymbolicLink) {
    fs::create_directory(root() / "elsewhere");
    fs::create_directory_symlink(root() / "elsewhere", runtime() / "sonvale");
    fs::create_directory_symlink(root() / "elsewhere", fallback());
    const auto modeBefore = modeOf(root() / "elsewhere");

    const auto directory = resolve().temporary;

    EXPECT_EQ(directory.parent_path(), shared());
    EXPECT_TRUE(directory.filename().string().starts_with(fallback().filename().string() + "-"));
    EXPECT_EQ(modeOf(directory), 0700U);
    EXPECT_EQ(modeOf(root() / "elsewhere"), modeBefore);
}

TEST_F(XdgDirectoriesTest, NeverUsesAFileOfThatName) {
    {
        const auto file = std::ofstream(runtime() / "sonvale");
    }
    EXPECT_EQ(resolve().temporary, fallback());
}

TEST_F(XdgDirectoriesTest, NeverUsesAFolderOfAnotherUser) {
    // Only root can give a folder to another user; any other user can use folders of root.
    constexpr uid_t otherUser = 65534;
    fs::create_directory(runtime() / "sonvale");
    fs::create_directory(fallback());
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown((runtime() / "sonvale").c_str(), otherUser, otherUser), 0);
        ASSERT_EQ(::chown(fallback().c_str(), otherUser, otherUser), 0);
        EXPECT_EQ(resolve().temporary.string().find(fallback().string() + "-"), 0U);
    } else {
        variables_["XDG_RUNTIME_DIR"] = "/usr";
        EXPECT_EQ(resolve().temporary, fallback());
    }
}

TEST_F(XdgDirectoriesTest, ReportsThatNoTemporaryFolderCanBeMade) {
    variables_["XDG_RUNTIME_DIR"] = root() / "missing";
    variables_["TMPDIR"] = root() / "missing too";
    EXPECT_THROW(resolve(), fs::filesystem_error);
}

} // namespace sonvale::adapters::freedesktop
