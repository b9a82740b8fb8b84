#include "tests/e2e/RunningProgram.h"

#include "tests/support/FfmpegModule.h"
#include "tests/support/Files.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <fmt/format.h>

#include <csignal>
#include <sstream>
#include <stdexcept>

namespace sonvale::tests {

namespace fs = std::filesystem;

namespace {

constexpr int busyMilliseconds = 2000;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// Returns the path of a copy of the program in a new folder, with this information dictionary next to it.
fs::path install(const PrivateDesktop& desktop, const RunningProgram::Options& options) {
    const auto folder = desktop.folder() / "program";
    fs::create_directories(folder);
    const auto program = folder / fs::path(SONVALE_PROGRAM).filename();
    fs::copy_file(SONVALE_PROGRAM, program);
    if (!options.isWithoutViews)
        fs::create_symlink(SONVALE_VIEWS, folder / fs::path(SONVALE_VIEWS).filename());
    if (!options.isWithoutFfmpeg)
        fs::create_symlink(ffmpegModule(), folder / ffmpegModule().filename());
    writeFile(folder / "Info.json", nlohmann::json(options.info).dump());
    return program;
}

} // namespace

RunningProgram::RunningProgram(PrivateDesktop& desktop, const Options& options)
    : desktop_(desktop)
    , options_(options)
    , log_(desktop.folder() / "sonvale.log") {
    if (!fs::exists(desktop.configuration() / "com.sonvale.app"))
        writeSettings(desktop, R"({"isOnboardingComplete": true})");
    executable_ = options.info.empty() ? fs::path(SONVALE_PROGRAM) : install(desktop, options);
    launch();
}

void RunningProgram::launch() {
    fs::remove(log_); // of an earlier run in this desktop
    auto command = options_.launcher;
    command.push_back(executable_.string());
    process_.emplace(desktop_.start(std::move(command), log_.string(), options_.environment));
}

fs::path RunningProgram::writeSettings(const PrivateDesktop& desktop, const std::string& content) {
    const auto folder = desktop.configuration() / "com.sonvale.app";
    fs::create_directories(folder);
    const auto file = folder / "defaults.json";
    writeFile(file, content);
    return file;
}

bool RunningProgram::waitUntilItListens(double seconds) {
    return waitForOutput("hotkeyManager.start() returned true", seconds);
}

void RunningProgram::reopen() const {
    constexpr double timeout = 30;
    if (desktop_.start({executable_.string()}).wait(timeout) != 0)
        throw std::runtime_error("a second start did not come to its end");
}

std::optional<int> RunningProgram::quit(double seconds) {
    process_->signal(SIGTERM);
    return process_->wait(seconds);
}

void RunningProgram::stop() {
    process_->signal(SIGSTOP);
}

void RunningProgram::resume() {
    process_->signal(SIGCONT);
}

void RunningProgram::kill() {
    constexpr double timeout = 20;
    process_->signal(SIGKILL);
    if (!process_->wait(timeout))
        throw std::runtime_error("a killed program did not end");
}

void RunningProgram::restart() {
    launch();
    if (!waitUntilItListens())
        throw std::runtime_error("the program does not hear keys:\n" + output());
}

std::string RunningProgram::output() const {
    return contentOf(log_);
}

bool RunningProgram::waitForOutput(const std::string& text, double seconds) const {
    return eventually(seconds, [&] { return output().find(text) != std::string::npos; });
}

std::vector<std::string> RunningProgram::timings(const std::string& stage) const {
    std::vector<std::string> found;
    const std::string beginning = "[PERF] " + stage;
    for (const auto& line : linesOf(output())) {
        if (line.starts_with(beginning))
            found.push_back(line.substr(beginning.size()));
    }
    return found;
}

bool RunningProgram::waitForTimings(const std::string& stage, std::size_t count, double seconds) const {
    return eventually(seconds, [&] { return timings(stage).size() >= count; });
}

std::vector<RunningProgram::HistoryRow> RunningProgram::history() const {
    const SQLite::Database database(storeFile().string(), SQLite::OPEN_READONLY, busyMilliseconds);
    SQLite::Statement query(database,
                            "SELECT rawText, processedText, wordCount FROM Transcription ORDER BY sequence");
    std::vector<HistoryRow> rows;
    while (query.executeStep())
        rows.push_back({query.getColumn(0), query.getColumn(1), query.getColumn(2)});
    return rows;
}

std::vector<nlohmann::json> RunningProgram::audit() const {
    std::vector<nlohmann::json> entries;
    const auto text = contentOf(desktop_.data() / "com.sonvale.app" / "audit.log");
    // The program may be in the middle of the last line.
    for (const auto& line : linesOf(text.substr(0, text.rfind('\n') + 1)))
        entries.push_back(nlohmann::json::parse(line));
    return entries;
}

std::size_t RunningProgram::auditCount(const std::string& eventType, const std::string& details) const {
    std::size_t count = 0;
    for (const auto& entry : audit()) {
        if (entry.at("eventType") == eventType &&
            (details.empty() || entry.at("metadata").value("errorDetails", "") == details))
            ++count;
    }
    return count;
}

bool RunningProgram::hasMapped(const std::string& name) const {
    return contentOf(fmt::format("/proc/{}/maps", pid())).find(name) != std::string::npos;
}

std::vector<fs::path> RunningProgram::recordings() const {
    std::vector<fs::path> found;
    // Other files may disappear meanwhile.
    std::error_code vanished;
    for (fs::recursive_directory_iterator entry(desktop_.folder(), vanished), end; entry != end;
         entry.increment(vanished)) {
        if (entry->path().extension() == ".m4a")
            found.push_back(entry->path());
    }
    return found;
}

} // namespace sonvale::tests
