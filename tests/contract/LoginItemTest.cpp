#include "adapters/freedesktop/DesktopEntry.h"
#include "adapters/freedesktop/XdgAutostart.h"

#include "tests/contract/LoginItemContract.h"
#include "tests/fakes/FakeLoginItem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace sonvale::tests {

namespace {

namespace fs = std::filesystem;
using adapters::freedesktop::XdgAutostart;

class FakeSubject {
public:
    platform::LoginItem& item() { return fake_; }
    bool isStartedAtLogin() { return fake_.control().isEnabled(); }
    void turnOffElsewhere() { fake_.control().setEnabled(false); }
    void setWritable(bool isWritable) { fake_.control().setFailing(!isWritable); }

private:
    FakeLoginItem fake_;
};

/// Makes the process an ordinary user in a scope, because root can write every folder.
class OrdinaryUser {
public:
    explicit OrdinaryUser(const fs::path& home) {
        if (::geteuid() == 0 &&
            (::chown(home.c_str(), otherUser, otherUser) != 0 || ::seteuid(otherUser) != 0))
            throw std::runtime_error("cannot become an ordinary user");
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (::getuid() == 0 && ::seteuid(0) != 0)
            std::abort();
    }

private:
    static constexpr uid_t otherUser = 65534;
};

class XdgSubject {
public:
    platform::LoginItem& item() { return item_; }
    bool isStartedAtLogin() {
        const auto text = contentOf(file_);
        return text.find("\nExec=\"/bin/true\"\n") != std::string::npos &&
               text.find("Hidden") == std::string::npos;
    }
    void turnOffElsewhere() { writeFile(file_, contentOf(file_) + "Hidden=true\n"); }
    void setWritable(bool isWritable) {
        const auto folder = file_.parent_path();
        fs::create_directories(folder);
        fs::permissions(folder,
                        isWritable ? fs::perms::owner_all : fs::perms::owner_read | fs::perms::owner_exec);
    }

private:
    LogCapture log_;
    TemporaryDirectory directory_;
    OrdinaryUser user_{directory_.path()};
    const fs::path file_ = directory_.path() + "/config/autostart/com.sonvale.app.desktop";
    XdgAutostart item_{{.configuration = directory_.path() + "/config",
                        .program = "/bin/true",
                        .desktop = "GNOME",
                        .path = "/usr/bin:/bin"}};
};

class XdgAutostartTest : public testing::Test {
protected:
    XdgAutostart item(const fs::path& program = "/bin/true",
                      const std::string& desktop = "ubuntu:GNOME") const {
        return XdgAutostart({.configuration = configuration(),
                             .program = program,
                             .desktop = desktop,
                             .path = "/usr/bin:/bin"});
    }
    fs::path configuration() const { return directory.path() + "/config"; }
    fs::path file() const { return configuration() / "autostart/com.sonvale.app.desktop"; }
    void writeEntry(const std::string& lines) const {
        fs::create_directories(file().parent_path());
        writeFile(file(), "[Desktop Entry]\nType=Application\nName=Son Vale\nExec=/bin/true\n" + lines);
    }

    LogCapture log;
    TemporaryDirectory directory;
};

/// Folders of programs that a desktop's tools must find in spite of their names.
constexpr const char* awkwardNames[] = {
    "plain",  "two words", "  blanks  ",  "double\"quote", "single'quote",
    "100%",   "%f %U %%",  "back\\slash", "\\\\server\\",  "$HOME",
    "`date`", "a;b|c&d",   "*?[]()",      "#hash",         "caf\u00e9 \u97f3",
    "~",      "<in >out",  "\\n\\s\\t",
};

} // namespace

using LoginItemSubjects = testing::Types<FakeSubject, XdgSubject>;
INSTANTIATE_TYPED_TEST_SUITE_P(Items, LoginItemContract, LoginItemSubjects);

TEST_F(XdgAutostartTest, WritesAnEntryThatTheDesktopsOwnCheckAccepts) {
    for (const auto* name : awkwardNames) {
        const auto folder = fs::path(directory.path()) / name;
        fs::create_directories(folder);
        const auto program = folder / "sonvale";
        fs::copy_file("/bin/true", program, fs::copy_options::skip_existing);
        auto autostart = item(program);
        autostart.registerItem();
        EXPECT_TRUE(autostart.isEnabled()) << name;
        EXPECT_EQ(run({"desktop-file-validate", file()}), 0) << name << "\n" << contentOf(file());
    }
}

TEST_F(XdgAutostartTest, LetsTheDesktopFindTheProgramInAnyFolder) {
    for (const auto* name : awkwardNames) {
        const auto folder = fs::path(directory.path()) / name;
        fs::create_directories(folder);
        const auto program = folder / "sonvale";
        const auto started = fs::path(directory.path()) / "started";
        writeFile(program, "#!/bin/sh\nprintf '%s|%s' \"$0\" \"$#\" > " + started.string() + ".new && mv " +
                               started.string() + ".new " + started.string() + "\n");
        fs::permissions(program, fs::perms::owner_all);

        item(program).registerItem();
        ASSERT_EQ(run({"gio", "launch", file()}), 0) << name << "\n" << contentOf(file());
        ASSERT_TRUE(eventually(20, [&] { return fs::exists(started); })) << name << "\n" << contentOf(file());
        EXPECT_EQ(contentOf(started), program.string() + "|0");
        fs::remove(started);
    }
}

TEST_F(XdgAutostartTest, RefusesAPathThatNoEntryCanContain) {
    for (const char* path : {"/opt/a=b/sonvale", "/opt/bell\a/sonvale", "/opt/two\nlines/sonvale",
                             "/opt/latin\xE9/sonvale", "sonvale", ""}) {
        auto autostart = item(path);
        EXPECT_THROW(autostart.registerItem(), platform::LoginItemError) << path;
        EXPECT_FALSE(fs::exists(file()));
    }
}

TEST_F(XdgAutostartTest, KeepsItsFilePrivate) {
    item().registerItem();
    EXPECT_EQ(modeOf(file()), 0600U);
    EXPECT_EQ(modeOf(file().parent_path()), 0700U);
}

TEST_F(XdgAutostartTest, KeepsTheEarlierEntryIfTheDiskIsFull) {
    item().registerItem();
    const auto before = contentOf(file());
    {
        const FileSizeLimit limit(20);
        EXPECT_THROW(item("/bin/false").registerItem(), platform::LoginItemError);
    }
    EXPECT_EQ(contentOf(file()), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(file().parent_path()), fs::directory_iterator()), 1);
}

TEST_F(XdgAutostartTest, RemovesALinkAndNotItsTarget) {
    const auto target = directory.path() + "/precious";
    writeFile(target, "precious");
    fs::create_directories(file().parent_path());
    fs::create_symlink(target, file());
    item().registerItem();
    EXPECT_EQ(contentOf(target), "precious");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(file())));
}

TEST_F(XdgAutostartTest, FailsIfAFileIsInPlaceOfTheFolder) {
    fs::create_directories(configuration());
    writeFile(configuration() / "autostart", "");
    EXPECT_THROW(item().registerItem(), platform::LoginItemError);
    EXPECT_FALSE(item().isEnabled());
    EXPECT_NO_THROW(item().unregisterItem());
}

TEST_F(XdgAutostartTest, FailsToUnregisterAFolderOfThatName) {
    fs::create_directories(file());
    EXPECT_THROW(item().unregisterItem(), platform::LoginItemError);
    EXPECT_FALSE(item().isEnabled());
}

TEST_F(XdgAutostartTest, ReadsAPipeInPlaceOfTheEntryAsOff) {
    fs::create_directories(file().parent_path());
    ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
    EXPECT_FALSE(item().isEnabled());
}

TEST_F(XdgAutostartTest, ReadsEntriesAsDesktopsDo) {
    struct Row {
        const char* lines;
        bool isEnabled;
    };
    const Row rows[] = {
        {"", true},
        {"Hidden=true\n", false},
        {"Hidden = true \n", false},
        {"Hidden=1\n", false},
        {"Hidden=false\n", true},
        {"Hidden=yes\n", true},
        {"#Hidden=true\n", true},
        {"Hidden=true\nHidden=false\n", true},
        {"Hidden=true\r\n", false},
        {"[Desktop Action New]\nHidden=true\n", true},
        {"X-GNOME-Autostart-enabled=false\n", false},
        {"X-GNOME-Autostart-enabled=true\n", true},
        {"OnlyShowIn=GNOME;\n", true},
        {"OnlyShowIn=KDE;ubuntu\n", true},
        {"OnlyShowIn=KDE;XFCE;\n", false},
        {"OnlyShowIn=\n", false},
        {"NotShowIn=GNOME;\n", false},
        {"NotShowIn=KDE;XFCE;\n", true},
        {"TryExec=true\n", true},
        {"TryExec=/bin/true\n", true},
        {"TryExec=\n", true},
        {"TryExec=/bin/no-such-program\n", false},
        {"TryExec=no-such-program\n", false},
        {"TryExec=/etc/passwd\n", false},
    };
    for (const auto& row : rows) {
        writeEntry(row.lines);
        EXPECT_EQ(item().isEnabled(), row.isEnabled) << row.lines;
    }
}

TEST_F(XdgAutostartTest, ReadsAnInvalidEntryAsOff) {
    fs::create_directories(file().parent_path());
    for (const std::string& text :
         {std::string(), std::string("Exec=/bin/true\n"), std::string("[Desktop Entry]\nName=x\n"),
          std::string("\0\0\0", 3), std::string(1000000, '['),
          std::string("[Desktop Entry\nExec=/bin/true")}) {
        writeFile(file(), text);
        EXPECT_FALSE(item().isEnabled()) << text.substr(0, 50);
    }
}

TEST_F(XdgAutostartTest, IsOffIfTheProgramIsMissing) {
    const auto program = fs::path(directory.path()) / "back\\slash sonvale";
    fs::copy_file("/bin/true", program);
    auto autostart = item(program);
    autostart.registerItem();
    EXPECT_TRUE(autostart.isEnabled());
    fs::remove(program);
    EXPECT_FALSE(autostart.isEnabled());
}

TEST_F(XdgAutostartTest, KnowsTheRunningProgram) {
    const auto environment = XdgAutostart::Environment::ofThisProcess(configuration());
    EXPECT_EQ(environment.program.filename(), "sonvale-contract-tests");
    EXPECT_TRUE(environment.program.is_absolute());
}

} // namespace sonvale::tests
