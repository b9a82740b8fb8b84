#pragma once

#include "tests/support/ChildProcess.h"

#include <string>
#include <vector>

namespace sonvale::tests {

/// A folder of programs for PATH that only note how they were called.
class ScriptedPrograms {
public:
    /// For PATH; the programs, and what they write.
    const std::string& path() const { return directory_.path(); }

    /// Puts a program of that name into the folder.
    void install(const std::string& name) const;
    /// Puts any file there.
    void write(const std::string& name, const std::string& text, int mode) const;

    /// Each call so far, in order: name and arguments with blanks between them.
    std::vector<std::string> calls() const { return read("calls"); }
    /// The lines of a file of the folder; none when it is missing.
    std::vector<std::string> read(const std::string& name) const;

private:
    TemporaryDirectory directory_;
};

} // namespace sonvale::tests
