#include "adapters/posix/AccountName.h"

#include "base/Text.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace sonvale::adapters::posix {

namespace {

constexpr std::size_t firstBuffer = 4096;
constexpr std::size_t maxBuffer = 1 << 20;

} // namespace

std::string fullNameIn(std::string_view comment) {
    return base::repairedUtf8(comment.substr(0, comment.find(',')));
}

std::string fullNameOfAccount() {
    for (std::size_t size = firstBuffer; size <= maxBuffer; size *= 2) {
        std::vector<char> buffer(size);
        passwd entry{};
        passwd* found = nullptr;
        const int error = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE)
            continue;
        return found && found->pw_gecos ? fullNameIn(found->pw_gecos) : std::string();
    }
    return {};
}

} // namespace sonvale::adapters::posix
