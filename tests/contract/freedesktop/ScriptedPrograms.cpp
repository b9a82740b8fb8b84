#include "tests/contract/freedesktop/ScriptedPrograms.h"

#include <sys/stat.h>

#include <fstream>
#include <stdexcept>

namespace sonvale::tests {

void ScriptedPrograms::install(const std::string& name) const {
    // One write per call, so that simultaneous calls do not mix.
    write(name, "#!/bin/sh\nprintf '%s\\n' \"${0##*/}${*:+ }$*\" >> '" + path() + "/calls'\n", 0755);
}

void ScriptedPrograms::write(const std::string& name, const std::string& text, int mode) const {
    const auto file = path() + "/" + name;
    std::ofstream(file) << text;
    if (chmod(file.c_str(), static_cast<mode_t>(mode)) != 0)
        throw std::runtime_error("cannot write " + file);
}

std::vector<std::string> ScriptedPrograms::read(const std::string& name) const {
    std::ifstream file(path() + "/" + name);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

} // namespace sonvale::tests
