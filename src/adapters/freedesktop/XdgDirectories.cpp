#include "adapters/freedesktop/XdgDirectories.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <vector>

namespace sonvale::adapters::freedesktop {

namespace {

using Path = std::filesystem::path;

constexpr mode_t privateMode = 0700;

std::optional<Path> absolutePath(const XdgDirectories::Environment& environment, const char* name) {
    const auto value = environment(name);
    if (!value || value->empty() || value->front() != '/')
        return std::nullopt;
    return Path(*value);
}

Path homeOfAccount() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && *found->pw_dir == '/')
        return found->pw_dir;
    return "/";
}

/// Makes the folder if it is missing. Returns true if it is a real folder of the user; it is then 0700.
bool isMadePrivate(const Path& directory) {
    if (::mkdir(directory.c_str(), privateMode) != 0 && errno != EEXIST)
        return false;
    // The checks and the change use the opened folder: a name in a shared folder can be exchanged meanwhile.
    const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    struct stat status{};
    const bool isUsable = ::fstat(descriptor, &status) == 0 && status.st_uid == ::geteuid() &&
                          ((status.st_mode & 07777) == privateMode || ::fchmod(descriptor, privateMode) == 0);
    ::close(descriptor);
    return isUsable;
}

/// XDG requires a folder that the user owns. After a change of user the variable may name another user's
/// folder.
bool isOwn(const Path& directory) {
    struct stat status{};
    return ::stat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid();
}

Path temporaryDirectory(const XdgDirectories::Environment& environment) {
    if (const auto runtime = absolutePath(environment, "XDG_RUNTIME_DIR"); runtime && isOwn(*runtime)) {
        if (auto directory = *runtime / "sonvale"; isMadePrivate(directory))
            return directory;
    }

    const auto shared = absolutePath(environment, "TMPDIR").value_or("/tmp");
    const auto name = "sonvale-" + std::to_string(::geteuid());
    if (auto directory = shared / name; isMadePrivate(directory))
        return directory;

    auto pattern = (shared / (name + "-XXXXXX")).string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::filesystem::filesystem_error("cannot make a temporary folder", shared,
                                                std::error_code(errno, std::generic_category()));
    return pattern;
}

Path executableDirectory() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? Path("/") : program.parent_path();
}

} // namespace

platform::Directories XdgDirectories::resolve() {
    return resolve([](const char* name) -> std::optional<std::string> {
        const char* value = std::getenv(name);
        return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
    });
}

platform::Directories XdgDirectories::resolve(const Environment& environment) {
    const auto home = absolutePath(environment, "HOME").value_or(homeOfAccount());
    platform::Directories directories;
    directories.applicationSupport =
        absolutePath(environment, "XDG_DATA_HOME").value_or(home / ".local/share");
    directories.configuration = absolutePath(environment, "XDG_CONFIG_HOME").value_or(home / ".config");
    directories.temporary = temporaryDirectory(environment);
    directories.executable = executableDirectory();
    return directories;
}

} // namespace sonvale::adapters::freedesktop
