#include "services/FeedUpdater.h"
#include "tests/fuzz/Quiet.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Processes the input as the answer of an update feed, and as two versions separated by a blank.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace sonvale;
    const std::string_view input(reinterpret_cast<const char*>(data), size);

    const auto outcome = services::readUpdateFeed(input, "1.2.3");
    if (const auto* newer = std::get_if<platform::NewerVersion>(&outcome)) {
        if (!newer->page.starts_with("http") && !newer->page.starts_with("HTTP") && newer->page.find(':') > 5)
            std::abort();
        if (services::compareVersions(newer->version, "1.2.3").value_or(0) <= 0)
            std::abort();
    }

    const auto blank = input.find(' ');
    if (blank == std::string_view::npos)
        return 0;
    const auto one = input.substr(0, blank);
    const auto other = input.substr(blank + 1);
    const auto there = services::compareVersions(one, other);
    const auto back = services::compareVersions(other, one);
    if (there.has_value() != back.has_value() || (there && *there != -*back))
        std::abort();
    return 0;
}
