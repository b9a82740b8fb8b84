#pragma once

#include "platform/UrlSession.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace sonvale::tests {

/// Returns a fuzzer's input as an answer: two bytes of status, where 0 means none, then the body. Returns
/// nullopt for shorter input.
inline std::optional<platform::UrlResponse> answerFrom(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return std::nullopt;
    platform::UrlResponse response;
    if (const int status = (data[0] * 256 + data[1]) % 600; status > 0)
        response.statusCode = status;
    response.body.assign(reinterpret_cast<const char*>(data) + 2, size - 2);
    return response;
}

inline bool isSuccess(const platform::UrlResponse& response) {
    return response.statusCode && *response.statusCode >= 200 && *response.statusCode <= 299;
}

} // namespace sonvale::tests
