#include "tests/cases/runner/CaseRunner.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace sonvale::tests;

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
    const std::vector<std::string> folders(argv + 1, argv + argc);
    CaseRunner runner(allCases(), std::cout);
    if (folders.empty())
        runner.fail("usage", "sonvale-cases FOLDER...");
    for (const auto& folder : folders) {
        if (std::filesystem::is_regular_file(folder))
            runner.runFile(folder);
        else
            runner.runFolder(folder);
    }

    std::cout << runner.passed() << " passed, " << runner.failed() << " failed" << std::endl;
    return runner.failed() == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
