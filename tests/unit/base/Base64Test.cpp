#include "base/Base64.h"

#include <gtest/gtest.h>

#include <random>

namespace sonvale::base {

TEST(Base64, EncodesTheVectorsOfTheStandard) {
    struct Row {
        const char* bytes;
        const char* text;
    };
    for (const auto& [bytes, text] : std::initializer_list<Row>{
             {"", ""},
             {"f", "Zg=="},
             {"fo", "Zm8="},
             {"foo", "Zm9v"},
             {"foob", "Zm9vYg=="},
             {"fooba", "Zm9vYmE="},
             {"foobar", "Zm9vYmFy"},
             {"\xFF\xFE\xFD", "//79"},
             {"\xFB\xEF", "++8="},
         }) {
        EXPECT_EQ(encodeBase64(bytes), text);
        EXPECT_EQ(decodeBase64(text), bytes);
    }
}

TEST(Base64, ReturnsAnyBytesAfterARoundTrip) {
    std::mt19937 engine(7);
    for (std::size_t size = 0; size < 200; ++size) {
        std::string bytes(size, '\0');
        for (auto& byte : bytes)
            byte = static_cast<char>(engine());
        const auto text = encodeBase64(bytes);
        EXPECT_EQ(text.find('\n'), std::string::npos);
        EXPECT_EQ(decodeBase64(text), bytes);
    }
}

TEST(Base64, RefusesTextThatIsNotStrictBase64) {
    for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "Z===", "====", "=", "Zm9v=", "Zm9v====", "Zg==Zg==",
                             "Zm 9v", "Zm9v\n", "Zm9v\r\n", "-_-_", "Zh==", "Zm9=", "Zm9\xC3", "Zm\x80v"})
        EXPECT_FALSE(decodeBase64(text)) << text;
    EXPECT_FALSE(decodeBase64(std::string_view("Zm9\0", 4)));
}

TEST(Base64, DecodesTheUrlAlphabetWithAndWithoutPadding) {
    EXPECT_EQ(decodeBase64Url("-_79"), "\xFB\xFE\xFD");
    EXPECT_EQ(decodeBase64Url("Zg"), "f");
    EXPECT_EQ(decodeBase64Url("Zg=="), "f");
    EXPECT_EQ(decodeBase64Url("Zm8"), "fo");
    EXPECT_EQ(decodeBase64Url(""), "");
    for (const char* text : {"Z", "Zg=", "Zm9v=", "+/+/", "Zh", "Zm9vY"})
        EXPECT_FALSE(decodeBase64Url(text)) << text;
}

} // namespace sonvale::base
