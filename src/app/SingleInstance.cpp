#include "app/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>

namespace sonvale::app {

SingleInstance::SingleInstance(const std::filesystem::path& directory, const std::string& session) {
    std::string name = session;
    std::ranges::replace_if(name, [](unsigned char c) { return std::isalnum(c) == 0; }, '-');
    const auto path = directory / ("instance" + name + ".lock");
    descriptor_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor_ >= 0)
        isFirst_ = flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
}

SingleInstance::~SingleInstance() {
    if (descriptor_ >= 0)
        close(descriptor_);
}

} // namespace sonvale::app
