#include "tests/support/PrivateDesktop.h"

#include <stdexcept>
#include <utility>

namespace sonvale::tests {

PrivateDesktop::PrivateDesktop(WindowManager windowManager, Sound sound)
    : display_(windowManager) {
    for (const auto& place : {configuration(), data(), runtime(), folder() / "cache", folder() / "tmp"}) {
        std::filesystem::create_directory(place);
        std::filesystem::permissions(place, std::filesystem::perms::owner_all);
    }

    bus_ = std::make_unique<PrivateBus>(environment());

    if (sound != Sound::none) {
        sound_ =
            std::make_unique<PrivateSound>(sound == Sound::withMicrophone ? PrivateSound::Microphone::present
                                                                          : PrivateSound::Microphone::absent);
    }
}

PrivateSound& PrivateDesktop::sound() {
    if (!sound_)
        throw std::logic_error("this desktop has no sound server");
    return *sound_;
}

std::map<std::string, std::string> PrivateDesktop::environment() const {
    return {
        {"DISPLAY", display()},
        {"DBUS_SESSION_BUS_ADDRESS", bus_ ? bus_->address() : "disabled:"},
        // A missing server is named too; otherwise the library uses the machine's own.
        {"PULSE_SERVER",
         sound_ ? sound_->serverAddress() : "unix:" + (runtime() / "no-sound-server").string()},
        {"HOME", folder().string()},
        {"TMPDIR", (folder() / "tmp").string()},
        {"XDG_CONFIG_HOME", configuration().string()},
        {"XDG_DATA_HOME", data().string()},
        {"XDG_CACHE_HOME", (folder() / "cache").string()},
        {"XDG_RUNTIME_DIR", runtime().string()},
        {"LANG", "en_US.UTF-8"},
        {"QT_QPA_PLATFORM", "xcb"},
        {"GDK_BACKEND", "x11"},
    };
}

std::vector<std::string> PrivateDesktop::withoutEnvironment() {
    return {"LC_ALL",          "LANGUAGE",        "WAYLAND_DISPLAY",     "XAUTHORITY",
            "SESSION_MANAGER", "XDG_CONFIG_DIRS", "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE",
            "PULSE_SINK",      "PULSE_SOURCE",    "QT_STYLE_OVERRIDE",   "QT_QPA_PLATFORMTHEME"};
}

ChildProcess PrivateDesktop::start(std::vector<std::string> arguments, const std::string& outputFile,
                                   const std::map<std::string, std::string>& more) const {
    ChildProcess::Options options;
    options.arguments = std::move(arguments);
    options.environment = environment();
    for (const auto& [name, value] : more)
        options.environment[name] = value;
    options.withoutEnvironment = withoutEnvironment();
    options.outputFile = outputFile;
    return ChildProcess(std::move(options));
}

bool PrivateDesktop::screenshot(const std::filesystem::path& pngFile) const {
    return start({"import", "-window", "root", pngFile.string()}).wait(30) == 0;
}

} // namespace sonvale::tests
