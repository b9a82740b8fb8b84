#include "base/Json.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace sonvale::base {

namespace {

std::string nested(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

} // namespace

TEST(Json, ParsesJson) {
    for (const char* text : {"null", "true", "1", "-1.5e3", R"("a")", "[]", "{}", R"({"a":[1,{"b":null}]})",
                             " 1 ", "\xEF\xBB\xBF{}", R"("\ud83d\ude00")", "18446744073709551615"})
        EXPECT_TRUE(parseJson(text)) << text;
    EXPECT_EQ((*parseJson(R"({"a":1,"a":2})"))["a"], 2);
}

TEST(Json, ReportsTheOffsetOfAnError) {
    const auto parsed = parseJson(R"({"secret": oops})");
    ASSERT_FALSE(parsed);
    EXPECT_EQ(parsed.error(), (JsonError{JsonError::Kind::syntax, 12}));
    EXPECT_EQ(parsed.error().errorDescription(), "not JSON at byte 12");
}

TEST(Json, RefusesTextThatIsNotJson) {
    for (const char* text :
         {"", " ", "{", "[1,]", "{\"a\":}", "{a:1}", "'a'", "nul", "1 2", "// x\n1", "NaN", "1e999",
          "\"\xFF\"", "\"\xC3(\"", R"("\ud83d")", "\"a\nb\"", "01", "\xFF\xFE{"}) {
        const auto parsed = parseJson(text);
        EXPECT_FALSE(parsed) << text;
        EXPECT_EQ(parsed.error().kind, JsonError::Kind::syntax) << text;
    }
    EXPECT_FALSE(parseJson(std::string_view("{}\0", 3)));
}

TEST(Json, LimitsTheDepth) {
    EXPECT_TRUE(parseJson(nested(maximumJsonDepth)));
    const auto parsed = parseJson(nested(maximumJsonDepth + 1));
    ASSERT_FALSE(parsed);
    EXPECT_EQ(parsed.error(), (JsonError{JsonError::Kind::tooDeep, maximumJsonDepth}));

    std::string objects;
    for (int i = 0; i < 1'000'000; ++i)
        objects += "{\"a\":";
    EXPECT_EQ(parseJson(objects).error().kind, JsonError::Kind::tooDeep);
}

TEST(Json, IgnoresBracketsWithinStrings) {
    EXPECT_TRUE(parseJson("\"" + std::string(2000, '[') + "\""));
    EXPECT_TRUE(parseJson(R"(["\"[", "\\"])"));
    std::string siblings = "[";
    for (int i = 0; i < 2000; ++i)
        siblings += "[],";
    EXPECT_TRUE(parseJson(siblings + "[]]"));
}

TEST(Json, AcceptsAnyBytes) {
    std::mt19937 engine(11);
    const std::string alphabet("{}[]\",:\\u0123456789eE+-.truefalsn \n\xFF\xC3\xA9");
    int accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text(engine() % 24, ' ');
        for (auto& byte : text)
            byte = alphabet[engine() % alphabet.size()];
        const auto parsed = parseJson(text);
        if (!parsed)
            continue;
        ++accepted;
        EXPECT_EQ(*parseJson(jsonText(*parsed)), *parsed) << text;
    }
    EXPECT_GT(accepted, 50);
}

TEST(Json, WritesSortedCompactValidJson) {
    EXPECT_EQ(jsonText({{"b", 1}, {"a", {true, nullptr, "é/\n"}}}), R"({"a":[true,null,"é/\n"],"b":1})");
    EXPECT_EQ(jsonText("a\xFFz"), "\"a\xEF\xBF\xBDz\"");
}

TEST(Json, ReturnsMembersOfTheRequestedTypeOnly) {
    const auto value =
        *parseJson(R"({"text":"a","number":1,"large":18446744073709551615,"real":1.0,"flag":true,
                                     "none":null,"low":-9223372036854775808})");
    EXPECT_EQ(jsonString(value, "text"), "a");
    EXPECT_EQ(jsonInteger(value, "number"), 1);
    EXPECT_EQ(jsonInteger(value, "low"), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(jsonNumber(value, "number"), 1.0);
    EXPECT_EQ(jsonNumber(value, "real"), 1.0);
    EXPECT_EQ(jsonBool(value, "flag"), true);

    EXPECT_FALSE(jsonInteger(value, "large"));
    EXPECT_FALSE(jsonInteger(value, "real"));
    EXPECT_FALSE(jsonInteger(value, "flag"));
    EXPECT_FALSE(jsonInteger(value, "text"));
    EXPECT_FALSE(jsonNumber(value, "text"));
    EXPECT_FALSE(jsonString(value, "number"));
    EXPECT_FALSE(jsonString(value, "none"));
    EXPECT_FALSE(jsonString(value, "absent"));
    EXPECT_FALSE(jsonBool(value, "number"));
    EXPECT_EQ(jsonMember(Json::array({1}), "text"), nullptr);
    EXPECT_EQ(jsonMember(Json("text"), "text"), nullptr);
}

} // namespace sonvale::base
