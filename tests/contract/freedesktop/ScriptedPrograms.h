#pragma once

#include "tests/support/ChildProcess.h"

#include <string>
#include <vector>

namespace sonvale::tests {

/// A folder of programs for PATH that only record how they were called.
class ScriptedPrograms {
public:
    /// The folder, for PATH. It contains the programs and what they write.
    const std::string& path() const { return directory_.path(); }

    /// Installs a program of that name.
    void install(const std::string& name) const;
    /// Writes a file into the folder.
    void write(const std::string& name, const std::string& text, int mode) const;

    /// Returns each call so far, in order: name and arguments, separated by blanks.
    std::vector<std::string> calls() const { return read("calls"); }
    /// Returns the lines of a file of the folder; none if it is missing.
    std::vector<std::string> read(const std::string& name) const;

private:
    TemporaryDirectory directory_;
};

} // namespace sonvale::tests
