#include "services/UnderlyingError.h"

#include "platform/UrlSession.h"

#include <gtest/gtest.h>

namespace sonvale::services {

TEST(UnderlyingError, KeepsTheTransportsDomainAndCode) {
    const platform::UrlError error(platform::UrlError::Code::cannotFindHost, "no such host");
    EXPECT_EQ(UnderlyingError::from(error, "Caller"),
              (UnderlyingError{"NSURLErrorDomain", -1003, "no such host"}));
}

TEST(UnderlyingError, NamesTheCallerOfAnyOtherError) {
    EXPECT_EQ(UnderlyingError::from(std::runtime_error("broken"), "Caller"),
              (UnderlyingError{"Caller", -1, "broken"}));
}

} // namespace sonvale::services
