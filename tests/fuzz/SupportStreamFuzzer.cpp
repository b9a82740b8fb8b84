#include "adapters/qt/network/LineSplitter.h"

#include "base/Text.h"
#include "services/SupportMessages.h"
#include "tests/fuzz/Quiet.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t maxLineLength = 4096;

struct Lines {
    std::vector<std::string> all;
    bool isTooLong = false;
    bool operator==(const Lines&) const = default;
};

Lines split(std::string_view bytes, std::size_t step) {
    sonvale::adapters::qt::LineSplitter splitter(maxLineLength);
    Lines lines;
    const auto drain = [&] {
        while (auto line = splitter.next())
            lines.all.push_back(*std::move(line));
    };
    for (std::size_t place = 0; place < bytes.size(); place += step) {
        splitter.take(bytes.substr(place, step));
        drain();
    }
    splitter.finish();
    drain();
    lines.isTooLong = splitter.isTooLong();
    return lines;
}

} // namespace

/// Processes the input as the bytes of a streamed answer, whole and in pieces; the first byte is the length
/// of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto lines = split(bytes, std::max<std::size_t>(bytes.size(), 1));
    if (lines != split(bytes, data[0] % 16U + 1))
        std::abort();

    sonvale::services::SupportStream stream;
    for (const auto& line : lines.all) {
        if (line.size() > maxLineLength || line.find_first_of("\r\n") != std::string::npos)
            std::abort();
        const bool wasEnded = stream.isEnded();
        const auto event = stream.take(line);
        if (!sonvale::base::isValidUtf8(event.text) || (wasEnded && (event.isData || !event.text.empty())) ||
            (!event.isData && !event.text.empty()))
            std::abort();
    }
    return 0;
}
