#include "adapters/freedesktop/UrlOpener.h"

#include "adapters/posix/DetachedProgram.h"

#include "base/Log.h"
#include "platform/Workspace.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace sonvale::adapters::freedesktop {

namespace {

constexpr std::string_view usualPath = "/usr/local/bin:/usr/bin:/bin";

/// A settings page, and for the log the name of what it controls on this system.
struct Page {
    std::string_view address;
    SettingsPage page;
    std::string_view condition;
};

constexpr Page pages[] = {
    {platform::settings_page::microphone, SettingsPage::sound,
     "The microphone is granted once the sound server has an input that this program may use"},
    {platform::settings_page::speechRecognition, SettingsPage::privacy,
     "Speech recognition has no switch here: it is granted once the recogniser's model is installed"},
    {platform::settings_page::inputMonitoring, SettingsPage::privacy,
     "Input monitoring has no switch here: it is granted once the X server offers XInput, XKB and XTEST"},
};

const base::Logger& logger() {
    static const base::Logger instance("UrlOpener");
    return instance;
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isHexadecimal(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Unreserved and reserved characters, and the percent sign, which begins an escape.
bool isOfAddresses(char c) {
    return isLetter(c) || isDigit(c) ||
           std::string_view("-._~:/?#[]@!$&'()*+,;=%").find(c) != std::string_view::npos;
}

std::string variable(const char* name, std::string_view otherwise) {
    const char* value = std::getenv(name);
    return value && *value != '\0' ? std::string(value) : std::string(otherwise);
}

} // namespace

std::string schemeOf(std::string_view address) {
    const auto end = address.find(':');
    if (end == std::string_view::npos || end + 1 == address.size())
        return {};
    std::string scheme(address.substr(0, end));
    const auto isOfScheme = [](char c) {
        return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
    };
    if (scheme.empty() || !isLetter(scheme.front()) || !std::ranges::all_of(scheme, isOfScheme))
        return {};
    if (!std::ranges::all_of(address, isOfAddresses) || std::ranges::count(address, '#') > 1)
        return {};
    for (auto escape = address.find('%'); escape != std::string_view::npos;
         escape = address.find('%', escape + 1)) {
        if (escape + 2 >= address.size() || !isHexadecimal(address[escape + 1]) ||
            !isHexadecimal(address[escape + 2]))
            return {};
    }
    std::ranges::transform(scheme, scheme.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return scheme;
}

UrlOpener::Environment UrlOpener::Environment::ofThisProcess() {
    return {variable("XDG_CURRENT_DESKTOP", ""), variable("PATH", usualPath)};
}

UrlOpener::UrlOpener(Environment environment)
    : environment_(std::move(environment)) {}

bool UrlOpener::open(const std::string& address) const {
    const auto scheme = schemeOf(address);
    if (scheme.empty())
        return false;
    if (scheme == "x-apple.systempreferences")
        return openSettings(address);
    if (scheme == "http" || scheme == "https" || scheme == "mailto")
        return start({{"xdg-open", {address}}}, scheme + " address");
    logger().error("Nothing opens addresses of the kind {}", scheme);
    return false;
}

bool UrlOpener::openSettings(const std::string& address) const {
    const auto* const page = std::ranges::find(pages, address, &Page::address);
    if (page == std::end(pages)) {
        logger().error("There is no such settings page");
        return false;
    }
    logger().info("{}", page->condition);
    return start(settingsPrograms(page->page, environment_.desktop), "settings page");
}

bool UrlOpener::start(const std::vector<ProgramCall>& calls, std::string_view what) const {
    std::string tried;
    for (const auto& [program, arguments] : calls) {
        const auto file = posix::findProgram(program, environment_.path);
        if (file && posix::startDetached(*file, arguments)) {
            logger().info("Opening the {} with {}", what, *file);
            return true;
        }
        tried += (tried.empty() ? ": " : ", ") + program;
    }
    logger().error("No program of the desktop \"{}\" opens the {}{}", environment_.desktop, what, tried);
    return false;
}

} // namespace sonvale::adapters::freedesktop
