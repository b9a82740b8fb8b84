#pragma once

#include "tests/cases/runner/CaseRegistry.h"

#include <filesystem>
#include <iosfwd>
#include <set>
#include <string>

namespace sonvale::tests {

/// Runs case files against a registry and reports failures.
///
/// A file is `{"op": NAME, "cases": [{"name", "in", "want", "tolerance"?}, ...]}`. A file that cannot be used
/// counts as one failure, and so does a folder without files.
class CaseRunner {
public:
    CaseRunner(CaseRegistry registry, std::ostream& out);

    /// Runs every `*.json` in the folder and its subfolders, in the order of their names.
    void runFolder(const std::filesystem::path& folder);
    void runFile(const std::filesystem::path& file);

    /// Counts a failure outside of a case.
    void fail(const std::string& where, const std::string& what);

    int passed() const { return passed_; }
    int failed() const { return failed_; }

private:
    void runCase(const std::string& file, const CaseFunction& function, const nlohmann::json& entry,
                 std::size_t index);

    CaseRegistry registry_;
    std::ostream& out_;
    int passed_ = 0;
    int failed_ = 0;
};

} // namespace sonvale::tests
