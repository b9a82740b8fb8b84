#include "persistence/StoreFiles.h"

#include "persistence/PrivateFiles.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

namespace sonvale::persistence {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view asideMark = ".broken-";

bool isThere(const fs::path& file) {
    std::error_code ignored; // a file that cannot be inspected counts as existing
    return fs::symlink_status(file, ignored).type() != fs::file_type::not_found;
}

bool isTaken(const fs::path& aside) {
    if (isThere(aside))
        return true;
    for (const auto* suffix : storeCompanions) {
        if (isThere(withSuffix(aside, suffix)))
            return true;
    }
    return false;
}

fs::path freeName(const fs::path& store) {
    for (int number = 1;; ++number) {
        auto aside = withSuffix(withSuffix(store, asideMark), std::to_string(number));
        if (!isTaken(aside))
            return aside;
    }
}

} // namespace

std::optional<fs::path> putStoreAside(const fs::path& store) {
    struct stat status{};
    if (::lstat(store.c_str(), &status) != 0 || S_ISDIR(status.st_mode))
        return std::nullopt;

    auto aside = freeName(store);
    std::vector<std::pair<fs::path, fs::path>> moved;
    const auto move = [&moved](const fs::path& from, const fs::path& to) {
        if (::rename(from.c_str(), to.c_str()) != 0)
            return errno == ENOENT;
        moved.emplace_back(from, to);
        return true;
    };
    bool isMoved = true;
    // The store is renamed last: a store without its log is an older store, but a log alone would be applied
    // to the next store.
    for (const auto* suffix : storeCompanions)
        isMoved = isMoved && move(withSuffix(store, suffix), withSuffix(aside, suffix));
    if (!isMoved || !move(store, aside)) {
        for (const auto& [from, to] : moved)
            ::rename(to.c_str(), from.c_str());
        return std::nullopt;
    }
    for (const auto& [from, to] : moved) {
        // The folder is private, and an unchanged time only makes the file expire earlier.
        if (::lstat(to.c_str(), &status) == 0 && S_ISREG(status.st_mode))
            static_cast<void>(::chmod(to.c_str(), privateFileMode));
        static_cast<void>(::utimensat(AT_FDCWD, to.c_str(), nullptr, AT_SYMLINK_NOFOLLOW));
    }
    return aside;
}

std::vector<fs::path> filesOfStoresPutAside(const fs::path& folder) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().string().starts_with(std::string(storeFileName) +
                                                          std::string(asideMark)))
            found.push_back(entry->path());
    }
    return found;
}

} // namespace sonvale::persistence
