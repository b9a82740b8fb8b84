#include "adapters/freedesktop/XdgAutostart.h"

#include "adapters/freedesktop/DesktopEntry.h"
#include "adapters/posix/DetachedProgram.h"

#include "base/Log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <utility>

namespace sonvale::adapters::freedesktop {

namespace {

constexpr const char* fileName = "com.sonvale.app.desktop";
constexpr mode_t folderMode = 0700;
constexpr mode_t fileMode = 0600;
/// Real entries have a few hundred bytes.
constexpr std::size_t maxEntryBytes = 256 * 1024;

const base::Logger& logger() {
    static const base::Logger instance("XdgAutostart");
    return instance;
}

[[noreturn]] void fail(const std::string& what, int error) {
    const auto reason = std::generic_category().message(error);
    logger().error("{}: {}", what, reason);
    throw platform::LoginItemError(what + ": " + reason);
}

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

class Descriptor {
public:
    Descriptor(const std::filesystem::path& file, int flags)
        : number_(::open(file.c_str(), flags | O_CLOEXEC, fileMode)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    int number() const { return number_; }

private:
    int number_;
};

/// Returns 0, or the system's error number.
int writeWhole(const std::filesystem::path& file, std::string_view text) {
    const Descriptor descriptor(file, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
    if (descriptor.number() < 0)
        return errno;
    while (!text.empty()) {
        const auto written = ::write(descriptor.number(), text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return errno;
        text.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return ::fsync(descriptor.number()) == 0 ? 0 : errno;
}

/// Without O_NONBLOCK a pipe of that name would block the caller.
std::optional<std::string> contentOf(const std::filesystem::path& file) {
    const Descriptor descriptor(file, O_RDONLY | O_NONBLOCK);
    struct stat status{};
    if (descriptor.number() < 0 || ::fstat(descriptor.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    std::string text(maxEntryBytes, '\0');
    std::size_t held = 0;
    while (held < text.size()) {
        const auto got = ::read(descriptor.number(), text.data() + held, text.size() - held);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return std::nullopt;
        if (got == 0)
            break;
        held += static_cast<std::size_t>(got);
    }
    text.resize(held);
    return text;
}

bool isProgram(const std::string& name, const std::string& path) {
    if (name.starts_with('/'))
        return ::access(name.c_str(), X_OK) == 0;
    return posix::findProgram(name, path).has_value();
}

/// XDG_CURRENT_DESKTOP is a list too: "ubuntu:GNOME".
bool isAmong(const std::vector<std::string>& names, std::string_view desktops) {
    while (!desktops.empty()) {
        const auto name = desktops.substr(0, desktops.find(':'));
        desktops.remove_prefix(std::min(name.size() + 1, desktops.size()));
        if (std::ranges::find(names, name) != names.end())
            return true;
    }
    return false;
}

} // namespace

XdgAutostart::Environment XdgAutostart::Environment::ofThisProcess(std::filesystem::path configuration) {
    std::error_code error; // without /proc the path is empty, and registering fails with a text for the user
    return {.configuration = std::move(configuration),
            .program = std::filesystem::read_symlink("/proc/self/exe", error),
            .desktop = variable("XDG_CURRENT_DESKTOP"),
            .path = variable("PATH")};
}

XdgAutostart::XdgAutostart(Environment environment)
    : environment_(std::move(environment))
    , file_(environment_.configuration / "autostart" / fileName) {}

std::string XdgAutostart::entryText() const {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Son Vale\n"
           "Icon=com.sonvale.app\n"
           "TryExec=" +
           desktopEntryString(environment_.program.native()) +
           "\n"
           "Exec=" +
           desktopEntryExec(environment_.program) +
           "\n"
           "Terminal=false\n"
           "StartupNotify=false\n";
}

void XdgAutostart::registerItem() {
    static const std::string what = "Son Vale cannot be started at login";
    if (!environment_.program.is_absolute() || !isFitForDesktopEntry(environment_.program)) {
        logger().error("The program's path cannot stand in a desktop entry");
        throw platform::LoginItemError(
            what + ": the path of the program has characters that are not allowed there.");
    }

    const auto folder = file_.parent_path();
    for (const auto& each : {environment_.configuration, folder}) {
        if (::mkdir(each.c_str(), folderMode) != 0 && errno != EEXIST)
            fail(what, errno);
    }

    // Desktops read only names that end in ".desktop", so they see either the old entry or the complete new
    // one.
    auto temporary = file_;
    temporary += ".new";
    ::unlink(temporary.c_str());
    int error = writeWhole(temporary, entryText());
    if (error == 0 && ::rename(temporary.c_str(), file_.c_str()) != 0)
        error = errno;
    if (error != 0) {
        ::unlink(temporary.c_str());
        fail(what, error);
    }
}

void XdgAutostart::unregisterItem() {
    if (::unlink(file_.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR)
        fail("Son Vale is still started at login", errno);
}

bool XdgAutostart::isEnabled() {
    const auto text = contentOf(file_);
    if (!text)
        return false;
    const auto entry = DesktopEntry::parse(*text);
    if (!entry.isPresent() || !entry.raw("Exec"))
        return false;
    if (entry.boolean("Hidden").value_or(false) || !entry.boolean("X-GNOME-Autostart-enabled").value_or(true))
        return false;
    if (entry.raw("OnlyShowIn") && !isAmong(entry.strings("OnlyShowIn"), environment_.desktop))
        return false;
    if (isAmong(entry.strings("NotShowIn"), environment_.desktop))
        return false;
    const auto tried = entry.string("TryExec");
    return !tried || tried->empty() || isProgram(*tried, environment_.path);
}

} // namespace sonvale::adapters::freedesktop
