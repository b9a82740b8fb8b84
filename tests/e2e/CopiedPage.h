#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/SelectionRequestor.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sonvale::tests {

inline std::vector<std::byte> bytesOf(std::string_view text) {
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

/// Returns the content that a user had copied before: a passage of a web page and a picture.
inline std::vector<SelectionOwner::Form> copiedPage() {
    std::vector<std::byte> image(300'000);
    std::mt19937 random(7);
    for (auto& byte : image)
        byte = static_cast<std::byte>(random());
    return {{.target = "UTF8_STRING", .data = bytesOf("copied before — naïve café")},
            {.target = "text/html", .data = bytesOf("<b>copied</b> before")},
            {.target = "image/png", .data = std::move(image)}};
}

/// Expects that the clipboard offers all of these forms, now or within some seconds.
inline void expectClipboardHolds(const std::string& display, const std::vector<SelectionOwner::Form>& forms) {
    SelectionRequestor requestor(display);
    for (const auto& form : forms) {
        std::optional<SelectionRequestor::Answer> answer;
        const bool isThere = eventually(5, [&] {
            answer = requestor.convert(form.target);
            return answer && answer->data == form.data;
        });
        EXPECT_TRUE(isThere) << form.target << ": "
                             << (answer ? std::to_string(answer->data.size()) + " bytes" : "nothing");
    }
}

} // namespace sonvale::tests
