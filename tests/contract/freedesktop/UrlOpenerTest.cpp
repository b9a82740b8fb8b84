#include "adapters/freedesktop/UrlOpener.h"

#include "adapters/freedesktop/SettingsPrograms.h"
#include "adapters/posix/AccountName.h"
#include "adapters/posix/DetachedProgram.h"

#include "platform/Workspace.h"
#include "tests/contract/freedesktop/ScriptedPrograms.h"
#include "tests/support/LogCapture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

namespace sonvale::adapters::freedesktop {

namespace {

using tests::eventually;
using tests::ScriptedPrograms;
using Lines = std::vector<std::string>;

class UrlOpenerTest : public testing::Test {
protected:
    UrlOpener opener(std::string desktop) const { return UrlOpener({std::move(desktop), programs.path()}); }
    bool hasLogged(const std::string& text) const {
        return std::ranges::any_of(log.lines(), [&](const base::LogLine& line) { return line.text == text; });
    }

    tests::LogCapture log;
    ScriptedPrograms programs;
};

/// Returns the children of this process, including those that have ended and were not waited for.
std::set<std::string> children() {
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line == "PPid:\t" + std::to_string(getpid()))
                found.insert(entry.path().filename());
        }
    }
    return found;
}

struct DesktopCase {
    std::string desktop;
    std::string program;
    std::string soundCall;   ///< the program and its arguments
    std::string privacyCall; ///< empty if the program does not show that page
};

} // namespace

TEST_F(UrlOpenerTest, OpensSettingsPagesInTheDesktopsOwnSettings) {
    const DesktopCase cases[] = {
        {"GNOME", "gnome-control-center", "gnome-control-center sound", "gnome-control-center privacy"},
        {"ubuntu:GNOME", "gnome-control-center", "gnome-control-center sound",
         "gnome-control-center privacy"},
        {"Budgie:GNOME", "gnome-control-center", "gnome-control-center sound",
         "gnome-control-center privacy"},
        {"X-Cinnamon", "cinnamon-settings", "cinnamon-settings sound", "cinnamon-settings privacy"},
        {"KDE", "systemsettings", "systemsettings kcm_pulseaudio", "systemsettings"},
        {"KDE", "kcmshell5", "kcmshell5 kcm_pulseaudio", ""},
        {"XFCE", "xfce4-settings-manager", "xfce4-settings-manager", "xfce4-settings-manager"},
        {"XFCE", "pavucontrol", "pavucontrol --tab=4", ""},
        {"MATE", "mate-volume-control", "mate-volume-control", ""},
        {"LXQt", "pavucontrol-qt", "pavucontrol-qt --tab=4", ""},
        {"", "pavucontrol", "pavucontrol --tab=4", ""},
        {"Unheard-Of", "pavucontrol", "pavucontrol --tab=4", ""},
    };
    for (const auto& [desktop, program, soundCall, privacyCall] : cases) {
        const ScriptedPrograms installed;
        installed.install(program);
        const UrlOpener opener({desktop, installed.path()});
        EXPECT_TRUE(opener.open(platform::settings_page::microphone)) << desktop;
        EXPECT_TRUE(eventually(10, [&] { return installed.calls() == Lines{soundCall}; }))
            << desktop << " " << program;
        for (const auto* page :
             {platform::settings_page::speechRecognition, platform::settings_page::inputMonitoring}) {
            const auto before = installed.calls().size();
            EXPECT_EQ(opener.open(page), !privacyCall.empty()) << desktop << " " << program;
            if (!privacyCall.empty()) {
                EXPECT_TRUE(eventually(10, [&] {
                    const auto calls = installed.calls();
                    return calls.size() == before + 1 && calls.back() == privacyCall;
                })) << desktop;
            }
        }
    }
}

TEST_F(UrlOpenerTest, UsesTheBestOfSeveralPrograms) {
    programs.install("pavucontrol");
    programs.install("gnome-control-center");
    programs.install("xfce4-settings-manager");
    EXPECT_TRUE(opener("XFCE").open(platform::settings_page::microphone));
    EXPECT_TRUE(eventually(10, [&] { return programs.calls() == Lines{"pavucontrol --tab=4"}; }));
    EXPECT_TRUE(opener("gnome").open(platform::settings_page::microphone));
    EXPECT_TRUE(eventually(10, [&] { return programs.calls().size() == 2; }));
    EXPECT_EQ(programs.calls().back(), "gnome-control-center sound");
}

TEST_F(UrlOpenerTest, LogsWhatIsMissingIfNothingIsInstalled) {
    EXPECT_FALSE(opener("XFCE").open(platform::settings_page::microphone));
    EXPECT_TRUE(hasLogged("The microphone is granted once the sound server has an input that this program "
                          "may use"));
    EXPECT_TRUE(hasLogged("No program of the desktop \"XFCE\" opens the settings page: pavucontrol, "
                          "xfce4-settings-manager, pavucontrol-qt"));
    EXPECT_FALSE(opener("").open(platform::settings_page::inputMonitoring));
    EXPECT_TRUE(hasLogged("No program of the desktop \"\" opens the settings page"));
    EXPECT_FALSE(opener("").open("https://example.com/"));
    EXPECT_TRUE(hasLogged("No program of the desktop \"\" opens the https address: xdg-open"));
}

TEST_F(UrlOpenerTest, SkipsProgramsThatCannotBeStarted) {
    const ScriptedPrograms broken;
    broken.write("pavucontrol", "#!/nonexistent/interpreter\n", 0755);
    broken.write("xfce4-settings-manager", "#!/bin/sh\n", 0644);
    std::filesystem::create_directory(broken.path() + "/pavucontrol-qt");
    const UrlOpener failing({"XFCE", broken.path()});
    EXPECT_FALSE(failing.open(platform::settings_page::microphone));
    broken.install("pavucontrol-qt-2");
    std::filesystem::remove(broken.path() + "/pavucontrol-qt");
    broken.install("pavucontrol-qt");
    EXPECT_TRUE(failing.open(platform::settings_page::microphone));
    EXPECT_TRUE(eventually(10, [&] { return broken.calls() == Lines{"pavucontrol-qt --tab=4"}; }));
}

TEST_F(UrlOpenerTest, PassesAddressesUnchanged) {
    programs.install("xdg-open");
    const std::string addresses[] = {"https://example.com/a?b=$(touch%20x)&c=;d'e#f", "HTTP://example.com",
                                     "mailto:someone@example.com?subject=a%20b"};
    for (const auto& address : addresses) {
        const auto before = programs.calls().size();
        EXPECT_TRUE(opener("GNOME").open(address));
        EXPECT_TRUE(eventually(10, [&] { return programs.calls().size() == before + 1; }));
        EXPECT_EQ(programs.calls().back(), "xdg-open " + address);
    }
}

TEST_F(UrlOpenerTest, OpensNothingOfOtherKinds) {
    programs.install("xdg-open");
    for (const auto* address : {"file:///etc/passwd", "javascript:alert(1)", "ssh://host/",
                                "x-apple.systempreferences:com.apple.preference.security?Privacy_Camera"})
        EXPECT_FALSE(opener("GNOME").open(address)) << address;
    EXPECT_EQ(log.lines().size(), 4);
    tests::pauseMilliseconds(50);
    EXPECT_EQ(programs.calls(), Lines{});
}

TEST_F(UrlOpenerTest, IgnoresInvalidAddressesSilently) {
    programs.install("xdg-open");
    for (const std::string address : {"", "x", ":", "https:", "https://a b/", "https://a/\n", "-h:x", "1a:b",
                                      "https://a/%2", "https://a/%zz", "https://a/#b#c",
                                      "https://\xc3\xa4.example/", "https://a/\"", "no address at all"})
        EXPECT_FALSE(opener("GNOME").open(address)) << address;
    EXPECT_FALSE(opener("GNOME").open(std::string("https://a/\0b", 12)));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(UrlOpenerTest, SurvivesAnAddressThatIsTooLong) {
    programs.install("xdg-open");
    EXPECT_FALSE(opener("").open("https://example.com/" + std::string(1'000'000, 'a')));
    EXPECT_FALSE(log.lines().empty());
}

TEST(SchemeOf, IsInLowerCaseAndOnlyOfAddresses) {
    EXPECT_EQ(schemeOf("HTTPS://example.com"), "https");
    EXPECT_EQ(schemeOf("a+b-c.1:x"), "a+b-c.1");
    EXPECT_EQ(schemeOf("https://[::1]:8080/?a[]=%C3%A4"), "https");
    EXPECT_EQ(schemeOf("example.com"), "");
    EXPECT_EQ(schemeOf("ht tp://a"), "");
}

TEST(SettingsPrograms, FollowTheOrderOfTheDesktopNames) {
    const auto calls = settingsPrograms(SettingsPage::sound, "Budgie:GNOME");
    ASSERT_EQ(calls.size(), 4);
    EXPECT_EQ(calls[0], (ProgramCall{"budgie-control-center", {"sound"}}));
    EXPECT_EQ(calls[1], (ProgramCall{"gnome-control-center", {"sound"}}));
    EXPECT_EQ(calls[2].program, "pavucontrol");
    EXPECT_EQ(settingsPrograms(SettingsPage::privacy, ":::").size(), 0);
}

TEST(FindProgram, SearchesTheFoldersInOrder) {
    const ScriptedPrograms first;
    const ScriptedPrograms second;
    second.install("both");
    second.install("only");
    first.install("both");
    const auto path = "/nonexistent:" + first.path() + "::" + second.path();
    EXPECT_EQ(posix::findProgram("both", path), first.path() + "/both");
    EXPECT_EQ(posix::findProgram("only", path), second.path() + "/only");
    EXPECT_EQ(posix::findProgram("neither", path), std::nullopt);
    EXPECT_EQ(posix::findProgram("both", ""), std::nullopt);
    EXPECT_EQ(posix::findProgram("sh", "bin:../../bin:."), std::nullopt);
}

TEST(StartDetached, StartsAProgramThatIsNotAChildAndInheritsNothing) {
    const ScriptedPrograms programs;
    programs.write("look",
                   "#!/bin/sh\n"
                   "cd \"$(dirname \"$0\")\" || exit 1\n"
                   "ls -l /proc/$$/fd | sed -n 's/.*[0-9] \\([0-9]*\\) -> /\\1 /p' > descriptors.tmp\n"
                   // Uses only the shell itself, which blocks signals while it starts other programs.
                   "while read -r name value; do case $name in SigBlk:|SigIgn:) echo \"$name $value\";; esac;"
                   " done < /proc/$$/status > signals.tmp\n"
                   "cut -d' ' -f4,5,6 /proc/$$/stat > family.tmp\n"
                   "mv descriptors.tmp descriptors; mv signals.tmp signals; mv family.tmp family\n"
                   "while [ -e family ]; do sleep 0.05; done\n",
                   0755);
    const auto formerChildren = children();
    // Opened without O_CLOEXEC, so it is inherited unless something closes it.
    const int secret = open("/proc/self/status", O_RDONLY);
    ASSERT_GE(secret, 3);
    const auto formerHandler = std::signal(SIGPIPE, SIG_IGN);
    sigset_t one;
    sigset_t former;
    sigemptyset(&one);
    sigaddset(&one, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &one, &former);
    const bool isStarted = posix::startDetached(programs.path() + "/look", {});
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    std::signal(SIGPIPE, formerHandler);
    close(secret);

    ASSERT_TRUE(isStarted);
    ASSERT_TRUE(eventually(10, [&] { return !programs.read("family").empty(); }));
    for (const auto& line : programs.read("descriptors")) {
        const auto number = std::stoi(line);
        // The shell has its script open at 10 or 255.
        EXPECT_TRUE(number < 3 ? line.ends_with(" /dev/null") : line.ends_with("/look")) << line;
    }
    EXPECT_EQ(programs.read("signals"), (Lines{"SigBlk: 0000000000000000", "SigIgn: 0000000000000000"}));
    int parent = 0;
    int group = 0;
    int session = 0;
    std::istringstream(programs.read("family").front()) >> parent >> group >> session;
    EXPECT_NE(parent, getpid());
    EXPECT_NE(session, getsid(0));
    EXPECT_EQ(group, session);
    EXPECT_EQ(children(), formerChildren) << "no child is left to wait for";
    std::filesystem::remove(programs.path() + "/family");
}

TEST(StartDetached, ReportsAProgramThatCannotBeStarted) {
    const ScriptedPrograms programs;
    programs.write("text", "no program", 0644);
    EXPECT_FALSE(posix::startDetached(programs.path() + "/missing", {}));
    EXPECT_FALSE(posix::startDetached(programs.path() + "/text", {}));
    EXPECT_FALSE(posix::startDetached(programs.path(), {}));
}

TEST(StartDetached, LeavesNoDescriptorBehind) {
    const ScriptedPrograms programs;
    programs.install("program");
    const auto openDescriptors = [] {
        using Files = std::filesystem::directory_iterator;
        return std::distance(Files("/proc/self/fd"), Files());
    };
    const auto before = openDescriptors();
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(posix::startDetached(programs.path() + "/program", {}));
        EXPECT_FALSE(posix::startDetached(programs.path() + "/missing", {}));
    }
    EXPECT_EQ(openDescriptors(), before);
}

TEST(StartDetached, WorksOnSeveralThreads) {
    const ScriptedPrograms programs;
    programs.install("program");
    std::vector<std::thread> threads;
    std::atomic<int> started = 0;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 5; ++j)
                started += posix::startDetached(programs.path() + "/program", {"x"}) ? 1 : 0;
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(started, 20);
    EXPECT_TRUE(eventually(20, [&] { return programs.calls().size() == 20; }));
}

TEST(AccountName, IsTheFirstPartOfTheComment) {
    EXPECT_EQ(posix::fullNameIn("Ada King,Room 7,555-1,"), "Ada King");
    EXPECT_EQ(posix::fullNameIn("Zo\xc3\xab"), "Zo\xc3\xab");
    EXPECT_EQ(posix::fullNameIn("Zo\xeb,"), "Zo\uFFFD");
    EXPECT_EQ(posix::fullNameIn(",,,"), "");
    EXPECT_EQ(posix::fullNameIn(""), "");
}

} // namespace sonvale::adapters::freedesktop
