#include "services/RequestBody.h"

#include "base/Wipe.h"

#include <strings.h>

#include <utility>

namespace sonvale::services {

RequestBody::RequestBody(std::vector<std::byte> bytes)
    : bytes_(std::make_shared<std::vector<std::byte>>(std::move(bytes))) {}

RequestBody RequestBody::ofJson(const base::Json& object) {
    auto text = base::jsonText(object);
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    RequestBody body(std::vector<std::byte>(first, first + text.size()));
    base::wipe(text);
    return body;
}

RequestBody::~RequestBody() {
    if (bytes_ && !bytes_->empty())
        explicit_bzero(bytes_->data(), bytes_->size());
}

} // namespace sonvale::services
