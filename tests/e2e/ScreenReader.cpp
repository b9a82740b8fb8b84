#include "tests/e2e/ScreenReader.h"

#include "tests/support/Files.h"

#include <stdexcept>

namespace sonvale::tests {

namespace {

constexpr double timeout = 30;

} // namespace

std::string ScreenReader::read() const {
    return ask({"read"});
}

bool ScreenReader::waitForText(const std::string& words, double seconds) const {
    return eventually(seconds, [&] { return read().find(words) != std::string::npos; });
}

bool ScreenReader::waitForNoText(const std::string& words, double seconds) const {
    return eventually(seconds, [&] { return read().find(words) == std::string::npos; });
}

void ScreenReader::press(const std::string& name, const std::string& role) const {
    act("press", name, role);
}

void ScreenReader::focus(const std::string& name, const std::string& role) const {
    act("focus", name, role);
}

std::string ScreenReader::text(const std::string& name, const std::string& role) const {
    return ask({"text", name, role});
}

std::string ScreenReader::ask(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), SONVALE_SCREEN_READER);
    const TemporaryDirectory folder;
    const auto file = folder.path() + "/answer";
    auto reader = desktop_.start(std::move(arguments), file);
    reader.wait(timeout);
    return contentOf(file);
}

void ScreenReader::act(const std::string& what, const std::string& name, const std::string& role) const {
    const bool isDone = eventually(timeout, [&] {
        return desktop_.start({SONVALE_SCREEN_READER, what, name, role}).wait(timeout) == 0;
    });
    if (!isDone)
        throw std::runtime_error("could not " + what + " \"" + name + "\" among\n" + read());
}

} // namespace sonvale::tests
