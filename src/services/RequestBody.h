#pragma once

#include "base/Json.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace sonvale::services {

/// The body of a request with words, a voice or a password. It is overwritten when it is destroyed, on every
/// path. It must live until the call has returned.
class RequestBody {
public:
    explicit RequestBody(std::vector<std::byte> bytes);
    static RequestBody ofJson(const base::Json& object);
    RequestBody(RequestBody&&) = default;
    RequestBody& operator=(RequestBody&&) = delete;
    RequestBody(const RequestBody&) = delete;
    RequestBody& operator=(const RequestBody&) = delete;
    ~RequestBody();

    std::shared_ptr<const std::vector<std::byte>> bytes() const { return bytes_; }

private:
    std::shared_ptr<std::vector<std::byte>> bytes_; ///< null once moved from
};

} // namespace sonvale::services
