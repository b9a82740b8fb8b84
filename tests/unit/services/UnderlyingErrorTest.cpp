#include "services/UnderlyingError.h"

#include "platform/UrlSession.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace sonvale::services {

TEST(UnderlyingError, KeepsTheDomainAndCodeOfATransportsError) {
    const platform::UrlError late(platform::UrlError::Code::timedOut, "The request timed out.");
    EXPECT_EQ(UnderlyingError::from(late, "Client"),
              (UnderlyingError{"NSURLErrorDomain", -1001, "The request timed out."}));
    EXPECT_EQ(UnderlyingError::from(std::runtime_error("odd"), "Client"),
              (UnderlyingError{"Client", -1, "odd"}));
}

} // namespace sonvale::services
