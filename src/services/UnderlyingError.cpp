#include "services/UnderlyingError.h"

#include "platform/UrlSession.h"

#include <utility>

namespace sonvale::services {

UnderlyingError UnderlyingError::from(const std::exception& error, std::string domain) {
    if (const auto* urlError = dynamic_cast<const platform::UrlError*>(&error))
        return {platform::UrlError::domain, static_cast<int>(urlError->code()), urlError->what()};
    return {std::move(domain), -1, error.what()};
}

} // namespace sonvale::services
