#include "tests/support/Voices.h"

#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace sonvale::tests {

namespace {

const std::filesystem::path project = SONVALE_SOURCE_DIR;

std::vector<Voice> readList() {
    std::ifstream list(project / "tools/voices.tsv");
    std::vector<Voice> result;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line.starts_with('#'))
            continue;
        std::istringstream fields(line);
        Voice voice;
        std::getline(fields, voice.name, '\t');
        std::getline(fields, voice.speaker, '\t');
        std::getline(fields, voice.sentence, '\t');
        result.push_back(std::move(voice));
    }
    return result;
}

} // namespace

const std::vector<Voice>& voices() {
    static const auto list = readList();
    return list;
}

const Voice& voice(const std::string& name) {
    const auto found = std::ranges::find(voices(), name, &Voice::name);
    if (found == voices().end())
        throw std::invalid_argument("no voice is called " + name);
    return *found;
}

std::filesystem::path voiceFile(const std::string& name) {
    const auto folder = project / "build/voices";
    auto file = folder / (voice(name).name + ".wav");
    if (run({(project / "tools/make-voices").string(), folder.string(), name}) != 0 ||
        !std::filesystem::is_regular_file(file))
        throw std::runtime_error("the voice " + name + " cannot be made");
    return file;
}

} // namespace sonvale::tests
