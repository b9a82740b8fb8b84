#include "base/TypedError.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace sonvale::base {
namespace {

enum class DoorErrorCase { locked, missing };

class DoorError : public TypedError<DoorErrorCase> {
public:
    DoorError(Case errorCase, std::string description)
        : TypedError(errorCase, std::move(description)) {}
};

TEST(TypedError, ReturnsItsCaseAndItsDescription) {
    const DoorError error(DoorError::Case::missing, "There is no door.");

    EXPECT_EQ(error.errorCase(), DoorErrorCase::missing);
    EXPECT_EQ(error.errorDescription(), "There is no door.");
    EXPECT_STREQ(error.what(), "There is no door.");
}

TEST(TypedError, KeepsItsDescriptionWhileTheStackIsUnwound) {
    try {
        throw DoorError(DoorError::Case::locked, std::string(100, 'a'));
    } catch (const std::exception& error) {
        EXPECT_EQ(error.what(), std::string(100, 'a'));
    }
}

} // namespace
} // namespace sonvale::base
