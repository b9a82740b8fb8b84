#include "services/RequestBody.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

namespace sonvale::services {

namespace {

std::string_view textOf(const RequestBody& body) {
    return {reinterpret_cast<const char*>(body.bytes()->data()), body.bytes()->size()};
}

} // namespace

TEST(RequestBody, ContainsTheTextOfAnObject) {
    const auto body = RequestBody::ofJson({{"password", "\u00E9\""}, {"email", "a@b.c"}});
    EXPECT_EQ(textOf(body), "{\"email\":\"a@b.c\",\"password\":\"\u00E9\\\"\"}");
}

TEST(RequestBody, IsOverwrittenAtItsDestruction) {
    std::shared_ptr<const std::vector<std::byte>> bytes;
    {
        const RequestBody body(std::vector<std::byte>(5000, std::byte('w')));
        bytes = body.bytes();
        EXPECT_EQ(bytes->front(), std::byte('w'));
    }
    EXPECT_EQ(bytes->size(), 5000U);
    EXPECT_TRUE(std::ranges::all_of(*bytes, [](std::byte byte) { return byte == std::byte(0); }));
}

TEST(RequestBody, KeepsItsBytesWhenItIsMoved) {
    const auto moved = [] {
        auto first = RequestBody::ofJson("secret");
        return RequestBody(std::move(first));
    }();
    EXPECT_EQ(textOf(moved), "\"secret\"");
}

TEST(RequestBody, MayBeEmpty) {
    EXPECT_EQ(RequestBody({}).bytes()->size(), 0U);
}

} // namespace sonvale::services
