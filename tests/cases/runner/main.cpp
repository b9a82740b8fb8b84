#include "tests/cases/runner/CaseRunner.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace sonvale::tests;

/// The words of a file, one on a line; absent when it cannot be read.
std::optional<std::set<std::string>> readLines(const std::string& path) {
    std::ifstream file(path);
    if (!file)
        return std::nullopt;
    std::set<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty())
            lines.insert(line);
    }
    return lines;
}

CaseRegistry allCases() {
    CaseRegistry registry;
    addTextCases(registry);
    addHotkeyCases(registry);
    addAudioCases(registry);
    addEngineCases(registry);
    addServiceCases(registry);
    addPersistenceCases(registry);
    addInterfaceCases(registry);
    return registry;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> folders(argv + 1, argv + argc);
    std::set<std::string> excepted;
    bool exceptionsAreBroken = false;
    if (!folders.empty() && folders.front() == "--except") {
        const auto lines = folders.size() > 1 ? readLines(folders[1]) : std::nullopt;
        exceptionsAreBroken = !lines;
        excepted = lines.value_or(std::set<std::string>());
        folders.erase(folders.begin(), folders.begin() + std::min<std::ptrdiff_t>(2, std::ssize(folders)));
    }

    CaseRunner runner(allCases(), excepted, std::cout);
    if (exceptionsAreBroken)
        runner.fail("--except", "its file cannot be read");
    if (folders.empty())
        runner.fail("usage", "sonvale-cases [--except FILE] FOLDER...");
    for (const auto& folder : folders) {
        if (std::filesystem::is_regular_file(folder))
            runner.runFile(folder);
        else
            runner.runFolder(folder);
    }

    std::cout << runner.passed() << " passed, " << runner.failed() << " failed" << std::endl;
    return runner.failed() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
