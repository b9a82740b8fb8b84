#include "base/Base64.h"
#include "base/Json.h"
#include "tests/e2e/Onboarding.h"
#include "tests/e2e/Session.h"
#include "tests/support/TestServer.h"
#include "tests/support/Voices.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace sonvale::tests;

/// Returns the number of `field` in a file of /proc, 0 if the process has ended.
long fieldOf(const std::string& file, const std::string& field) {
    std::ifstream status(file);
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field))
            return std::stol(line.substr(field.size()));
    }
    return 0;
}

double residentMegabytes(pid_t process) {
    return static_cast<double>(fieldOf(fmt::format("/proc/{}/status", process), "VmRSS:")) / 1024;
}

/// Returns the number of voluntary context switches of all threads of the process: one for each time a thread
/// was woken.
long wakeUps(pid_t process) {
    long count = 0;
    for (const auto& thread : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process)))
        count += fieldOf(thread.path() / "status", "voluntary_ctxt_switches:");
    return count;
}

double processorSeconds(pid_t process) {
    std::ifstream file(fmt::format("/proc/{}/stat", process));
    const std::string line(std::istreambuf_iterator<char>(file), {});
    // The name in parentheses may contain any characters; user and system time are the 12th and 13th fields
    // after it.
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    std::string skipped;
    for (int i = 0; i < 11; ++i)
        fields >> skipped;
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

/// Returns the processor time of the recognizer's thread.
double recognizerMilliseconds(pid_t process) {
    for (const auto& thread : std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process))) {
        std::string name;
        std::getline(std::ifstream(thread.path() / "comm"), name);
        if (name != "recogniser")
            continue;
        double nanoseconds = 0;
        std::ifstream(thread.path() / "schedstat") >> nanoseconds;
        return nanoseconds / 1e6;
    }
    return 0;
}

double wakeUpsPerSecond(pid_t process, int seconds) {
    const long before = wakeUps(process);
    pauseMilliseconds(seconds * 1000);
    return static_cast<double>(wakeUps(process) - before) / seconds;
}

void printTimings(const std::string& name, std::vector<double> milliseconds) {
    if (milliseconds.empty()) {
        fmt::print("{:<44} none\n", name);
        return;
    }
    std::ranges::sort(milliseconds);
    fmt::print("{:<44} median {:.0f} ms, slowest {:.0f} ms, of {}\n", name,
               milliseconds[milliseconds.size() / 2], milliseconds.back(), milliseconds.size());
}

std::vector<double> millisecondsOf(const RunningProgram& program, const std::string& stage) {
    std::vector<double> result;
    for (const auto& timing : program.timings(stage))
        result.push_back(std::stod(timing));
    return result;
}

/// Measures from key up to the text in a terminal, whose program writes it to a file at once.
void measureTheWait(int dictations) {
    Session session({.editor = Editor::Program::xterm, .terminalCommand = "stty raw -echo; exec cat >FILE"});
    session.dictate(voices().front());

    std::vector<double> whole;
    std::vector<double> withoutRecognizer;
    for (int i = 0; i < dictations; ++i) {
        session.holdToTalk();
        session.speak(voices()[static_cast<std::size_t>(i) % voices().size()]);
        const auto sizeBefore = std::filesystem::file_size(session.editor.file());
        // The recognizer may still load, or clean up, while the user speaks.
        const double recognizerBefore = recognizerMilliseconds(session.program.pid());
        const double released = monotonicSeconds();
        session.keyboard.up(XK_Alt_L);
        while (std::filesystem::file_size(session.editor.file()) == sizeBefore) {
            if (monotonicSeconds() - released > 60)
                throw std::runtime_error("the words did not arrive");
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        whole.push_back((monotonicSeconds() - released) * 1000);
        withoutRecognizer.push_back(whole.back() -
                                    (recognizerMilliseconds(session.program.pid()) - recognizerBefore));
        session.releaseKey();
    }
    printTimings("key up to the words in a terminal", std::move(whole));
    printTimings("the same, less the recogniser's thread", std::move(withoutRecognizer));
}

constexpr const char* servicesText = "words from the service";

Session::Options streamingTo(const TestServer& server) {
    Session::Options options{.editor = Editor::Program::xterm,
                             .terminalCommand = "stty raw -echo; exec cat >FILE"};
    options.prepare = [](PrivateDesktop& desktop) {
        RunningProgram::writeSettings(
            desktop,
            R"({"isOnboardingComplete": true, "transcriptionEngine": "streaming", "aiProcessingEnabled": false})");
    };
    options.program.info = {{"OPENAI_API_KEY", "sk-of-this-measurement"}, {"OPENAI_BASE_URL", server.url()}};
    return options;
}

void setTranscript(TestServer& server) {
    Realtime realtime;
    realtime.transcript = servicesText;
    realtime.sendsDeltas = false;
    server.setRealtime(realtime);
}

double commitTime(const TestServer& server) {
    const auto socket = server.socket();
    for (auto frame = socket.frames.rbegin(); frame != socket.frames.rend(); ++frame) {
        if (frame->bytes.find("input_audio_buffer.commit") != std::string::npos)
            return frame->monotonicTime;
    }
    throw std::runtime_error("no commit arrived");
}

/// Uses a service on this machine that answers at once. Measures from key up to the commit at the service,
/// and to the text in a terminal.
void measureStreaming(int dictations) {
    TestServer server;
    setTranscript(server);
    Session session(streamingTo(server));
    server.waitForSockets(1, 20);

    std::vector<double> toCommit;
    std::vector<double> toWords;
    for (int i = 0; i < dictations; ++i) {
        session.holdToTalk();
        pauseMilliseconds(700 + i % 7 * 13);
        const auto sizeBefore = std::filesystem::file_size(session.editor.file());
        const double released = monotonicSeconds();
        session.keyboard.up(XK_Alt_L);
        while (std::filesystem::file_size(session.editor.file()) == sizeBefore) {
            if (monotonicSeconds() - released > 30)
                throw std::runtime_error("the words did not arrive");
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
        toWords.push_back((monotonicSeconds() - released) * 1000);
        toCommit.push_back((commitTime(server) - released) * 1000);
        session.releaseKey();
    }
    printTimings("streaming: key up to the commit", std::move(toCommit));
    printTimings("streaming: key up to the words in a terminal", std::move(toWords));
}

/// Prints the delays of the audio frames that the server has received.
void printDelays(const TestServer& server) {
    std::vector<double> behind; // arrival of each frame, minus the duration of the audio sent before it
    double sent = 0;
    for (const auto& frame : server.socket().frames) {
        if (frame.bytes.find("input_audio_buffer.append") == std::string::npos)
            continue;
        // 2 bytes per sample, 24,000 samples per second.
        const auto audio = sonvale::base::jsonString(*sonvale::base::parseJson(frame.bytes), "audio");
        sent += static_cast<double>(sonvale::base::decodeBase64(audio.value()).value().size()) / 48000;
        behind.push_back(frame.monotonicTime - sent);
    }
    const double quickest = *std::ranges::min_element(behind);
    const auto latest = std::ranges::max_element(behind);
    fmt::print("{:<44} {:.0f} ms, {:.0f} s after the first\n",
               "streaming: the latest frame behind the quickest", (*latest - quickest) * 1000,
               static_cast<double>(latest - behind.begin()) * 0.1);
    fmt::print("{:<44} {} of {}\n", "streaming: frames more than 60 ms behind it",
               std::ranges::count_if(behind, [&](double each) { return each - quickest > 0.06; }),
               behind.size());
}

/// Measures one long recording: the memory of the program, and the delay of its audio.
void measureLongStream(int seconds) {
    TestServer server;
    setTranscript(server);
    Session session(streamingTo(server));
    server.waitForSockets(1, 20);
    session.holdToTalk();
    const double begun = monotonicSeconds();
    double firstMegabytes = 0;
    double firstSeconds = 0;
    while (monotonicSeconds() - begun < seconds) {
        pauseMilliseconds(10000);
        const double elapsed = monotonicSeconds() - begun;
        if (firstMegabytes == 0) {
            firstMegabytes = residentMegabytes(session.program.pid());
            firstSeconds = elapsed;
        }
    }
    const double lastMegabytes = residentMegabytes(session.program.pid());
    const double lastSeconds = monotonicSeconds() - begun;
    // The recorder keeps the captured samples, 4 bytes per frame at 48 kHz, to overwrite them afterwards.
    const double recorded = (lastSeconds - firstSeconds) * 48000 * 4 / 1024 / 1024;
    fmt::print("{:<44} {:.1f} MB, less the recorder's {:.1f} MB: {:.1f} MB\n",
               fmt::format("streaming: growth in {:.0f} s", lastSeconds - firstSeconds),
               lastMegabytes - firstMegabytes, recorded, lastMegabytes - firstMegabytes - recorded);
    printDelays(server);
    session.releaseKey();
}

struct Resources {
    double megabytes = 0;
    long threads = 0;
    long descriptors = 0;
};

Resources resourcesOf(pid_t process) {
    using Entries = std::filesystem::directory_iterator;
    const auto entries = [process](const char* folder) {
        return std::distance(Entries(fmt::format("/proc/{}/{}", process, folder)), Entries());
    };
    return {residentMegabytes(process), entries("task"), entries("fd")};
}

/// Runs many dictations in a row, through a service or, without one, by the recognizer. Returns whether the
/// program uses as much memory after the last one as after the 20th.
bool soak(int dictations, bool isLocal) {
    constexpr int settled = 20;
    constexpr double allowedMegabytes = 3;
    TestServer server;
    setTranscript(server);
    Session session(isLocal ? Session::Options() : streamingTo(server));
    Resources before;
    for (int i = 1; i <= dictations; ++i) {
        session.holdToTalk();
        if (isLocal)
            session.speak(voices()[static_cast<std::size_t>(i) % voices().size()]);
        else
            pauseMilliseconds(400);
        session.releaseKey();
        if (i == settled || i == dictations)
            pauseMilliseconds(5000); // time to close the previous session
        if (i == settled)
            before = resourcesOf(session.program.pid());
        if (i % settled == 0)
            fmt::print("{:>4} dictations: {:.1f} MB\n", i, residentMegabytes(session.program.pid()));
    }
    const auto after = resourcesOf(session.program.pid());
    fmt::print("from the {}th to the {}th: {:+.1f} MB, {:+} threads of {}, {:+} descriptors of {}\n", settled,
               dictations, after.megabytes - before.megabytes, after.threads - before.threads, after.threads,
               after.descriptors - before.descriptors, after.descriptors);
    return after.megabytes - before.megabytes < allowedMegabytes && after.threads <= before.threads &&
           after.descriptors <= before.descriptors;
}

/// The windows of a display's window manager.
class WindowList {
public:
    explicit WindowList(const std::string& displayName)
        : display_(XOpenDisplay(displayName.c_str()))
        , property_(XInternAtom(display_, "_NET_CLIENT_LIST", False)) {}
    ~WindowList() { XCloseDisplay(display_); }
    WindowList(const WindowList&) = delete;
    WindowList& operator=(const WindowList&) = delete;

    unsigned long count() const {
        Atom type = 0;
        int format = 0;
        unsigned long count = 0;
        unsigned long left = 0;
        unsigned char* value = nullptr;
        XGetWindowProperty(display_, DefaultRootWindow(display_), property_, 0, 1000, False, XA_WINDOW, &type,
                           &format, &count, &left, &value);
        if (value)
            XFree(value);
        return count;
    }

private:
    Display* display_;
    Atom property_;
};

template <class Condition>
double millisecondsUntil(double begun, Condition condition) {
    while (!condition()) {
        if (monotonicSeconds() - begun > 30)
            throw std::runtime_error("the program did not come up");
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    return (monotonicSeconds() - begun) * 1000;
}

/// Measures from the start of the process to the listener, and to the first window of a user who is not
/// signed in.
void measureStarts(PrivateDesktop& desktop, int starts) {
    const WindowList windows(desktop.display());
    const auto others = windows.count();
    std::vector<double> toListener;
    std::vector<double> toWindow;
    for (int i = 0; i < starts; ++i) {
        const double begun = monotonicSeconds();
        RunningProgram program(desktop);
        toListener.push_back(millisecondsUntil(begun, [&] {
            return program.output().find("hotkeyManager.start() returned true") != std::string::npos;
        }));
        toWindow.push_back(millisecondsUntil(begun, [&] { return windows.count() > others; }));
        program.quit();
        millisecondsUntil(monotonicSeconds(), [&] { return windows.count() == others; });
    }
    printTimings("start to a live listener", std::move(toListener));
    printTimings("start to the first window", std::move(toWindow));
}

/// Measures the memory before, with and after a window, and the wake-ups of the idle program afterwards.
void measureWindow(PrivateDesktop& desktop) {
    const RunningProgram::Options withKey{
        .info = {{"OPENAI_API_KEY", "sk-of-this-measurement"}, {"OPENAI_BASE_URL", "http://127.0.0.1:9"}}};
    // Signed in, so that the window shows the tabs.
    RunningProgram::writeSettings(
        desktop, R"({"isOnboardingComplete": true, "com.sonvale.refreshToken": "of-this-measurement"})");
    RunningProgram program(desktop, withKey);
    program.waitUntilItListens();
    pauseMilliseconds(5000);
    const double before = residentMegabytes(program.pid());
    const DashboardOnScreen dashboard(desktop);
    desktop.start({(desktop.folder() / "program" / "sonvale").string()}).wait(10);
    dashboard.activate();
    pauseMilliseconds(2000);
    const double during = residentMegabytes(program.pid());
    dashboard.close();
    pauseMilliseconds(3000);
    fmt::print("{:<44} {:.1f} MB, with the dashboard open {:.1f} MB, closed again {:.1f} MB\n",
               "resident, idle, before any window", before, during, residentMegabytes(program.pid()));
    fmt::print("{:<44} {:.1f}\n", "wake-ups per second, idle, afterwards",
               wakeUpsPerSecond(program.pid(), 10));
}

void measureStart(int starts) {
    PrivateDesktop desktop;
    const auto panel = desktop.start({"tint2"});
    pauseMilliseconds(1000);
    measureStarts(desktop, starts);
    measureWindow(desktop);
}

/// The length of the measurements.
struct Plan {
    int dictations = 10;
    int settleMilliseconds = 5000;
    int idleSeconds = 10;
    int listeningSeconds = 5;
};

void measure(const Plan& plan) {
    Session session;
    auto& program = session.program;
    const auto process = program.pid();

    pauseMilliseconds(plan.settleMilliseconds);
    fmt::print("{:<44} {:.1f} MB\n", "resident, idle, before the first dictation",
               residentMegabytes(process));
    fmt::print("{:<44} {:.1f}\n", "wake-ups per second, idle", wakeUpsPerSecond(process, plan.idleSeconds));

    // The first dictation loads the recognizer's model.
    session.dictate(voices().front());
    const double loading = millisecondsOf(program, "stopDictation total: ").front();
    fmt::print("{:<44} {:.0f} ms\n", "key up to the end, the first time", loading);

    for (int i = 0; i < plan.dictations; ++i) {
        session.dictate(voices()[static_cast<std::size_t>(i) % voices().size()]);
    }
    auto starts = millisecondsOf(program, "startDictation total: ");
    auto stops = millisecondsOf(program, "stopDictation total: ");
    stops.erase(stops.begin());
    printTimings("key down (heard) to a live recording", std::move(starts));
    printTimings("key up to the end, recogniser included", std::move(stops));

    session.holdToTalk();
    const double before = processorSeconds(process);
    pauseMilliseconds(plan.listeningSeconds * 1000);
    fmt::print("{:<44} {:.1f} % of a core\n", "listening: ring, capture and encoder",
               (processorSeconds(process) - before) * 100 / plan.listeningSeconds);
    session.releaseKey();

    pauseMilliseconds(plan.settleMilliseconds);
    fmt::print("{:<44} {:.1f} MB\n", "resident, idle, recogniser loaded", residentMegabytes(process));
    fmt::print("{:<44} {:.1f}\n", "wake-ups per second, idle, afterwards",
               wakeUpsPerSecond(process, plan.idleSeconds));
}

} // namespace

/// Measures the whole idle and working program in a private desktop, which takes about four minutes. The
/// argument "short" runs every measurement once, to prove that it still works; "stream SECONDS" measures one
/// recording of that length through a service; "soak DICTATIONS [local]" that many in a row; and "start
/// TIMES" the start of the program and the cost of a window.
int main(int argc, char** argv) {
    try {
        if (argc > 2 && std::string_view(argv[1]) == "stream") {
            measureLongStream(std::stoi(argv[2]));
            return 0;
        }
        if (argc > 2 && std::string_view(argv[1]) == "soak")
            return soak(std::stoi(argv[2]), argc > 3 && std::string_view(argv[3]) == "local") ? 0 : 1;
        if (argc > 2 && std::string_view(argv[1]) == "start") {
            measureStart(std::stoi(argv[2]));
            return 0;
        }
        Plan plan;
        if (argc > 1 && std::string_view(argv[1]) == "short")
            plan = {.dictations = 1, .settleMilliseconds = 500, .idleSeconds = 1, .listeningSeconds = 1};
        else if (argc > 1)
            plan.dictations = std::stoi(argv[1]);
        measure(plan);
        measureTheWait(plan.dictations);
        measureStreaming(3 * plan.dictations);
        return 0;
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
