#include "base/Uuid.h"

#include <gtest/gtest.h>

#include <set>

namespace sonvale::base {

TEST(Uuid, MakesRandomIdentifiersOfVersionFour) {
    std::set<Uuid> seen;
    for (int i = 0; i < 1000; ++i) {
        const auto uuid = Uuid::make();
        const auto text = uuid.toString();
        ASSERT_EQ(text.size(), 36U);
        EXPECT_EQ(text[14], '4');
        EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 1000U);
}

TEST(Uuid, WritesUpperCaseAndParsesEitherCase) {
    const auto upper = Uuid::parse("E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
    const auto lower = Uuid::parse("e621e1f8-c36c-495a-93fc-0c247a3e6e5f");
    ASSERT_TRUE(upper && lower);
    EXPECT_EQ(*upper, *lower);
    EXPECT_EQ(lower->toString(), "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
}

TEST(Uuid, ParsesItsOwnText) {
    const auto uuid = Uuid::make();
    EXPECT_EQ(Uuid::parse(uuid.toString()), uuid);
    EXPECT_EQ(Uuid{}.toString(), "00000000-0000-0000-0000-000000000000");
}

TEST(Uuid, RefusesAnyOtherText) {
    for (const char* text : {
             "",
             "E621E1F8-C36C-495A-93FC-0C247A3E6E5",
             "E621E1F8-C36C-495A-93FC-0C247A3E6E5F0",
             "{E621E1F8-C36C-495A-93FC-0C247A3E6E5F}",
             "E621E1F8C36C-495A-93FC-0C247A3E6E5F-",
             "E621E1F8-C36C-495A-93FC-0C247A3E6E5G",
             "E621E1F8_C36C_495A_93FC_0C247A3E6E5F",
             " E621E1F8-C36C-495A-93FC-0C247A3E6E5",
         })
        EXPECT_FALSE(Uuid::parse(text)) << text;
}

} // namespace sonvale::base
