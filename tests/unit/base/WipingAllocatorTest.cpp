#include "base/WipingAllocator.h"

#include "base/Wipe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

namespace sonvale::base {

namespace {

/// Memory that was freed, of all instances of the allocator.
struct Returned {
    std::size_t blocks = 0;
    std::size_t dirtyBytes = 0;
};
Returned returned;

template <class T>
struct WatchingAllocator {
    using value_type = T; // NOLINT(readability-identifier-naming): the name that containers look for
    WatchingAllocator() = default;
    template <class U>
    WatchingAllocator(const WatchingAllocator<U>& /*other*/) {} // NOLINT(google-explicit-constructor)
    T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
    void deallocate(T* memory, std::size_t count) {
        const auto* bytes = reinterpret_cast<const std::byte*>(memory);
        ++returned.blocks;
        returned.dirtyBytes += static_cast<std::size_t>(
            std::count_if(bytes, bytes + count * sizeof(T), [](std::byte b) { return b != std::byte{0}; }));
        std::allocator<T>().deallocate(memory, count);
    }
};

class WipingAllocatorTest : public testing::Test {
protected:
    WipingAllocatorTest() { returned = {}; }
};

} // namespace

TEST_F(WipingAllocatorTest, ReturnsNoMemoryWithItsContent) {
    {
        std::vector<float, WipingAllocator<float, WatchingAllocator<float>>> samples;
        for (int i = 0; i < 1000; ++i)
            samples.push_back(1);
        samples.erase(samples.begin(), samples.begin() + 500);
        samples.shrink_to_fit();
    }
    EXPECT_GT(returned.blocks, 5U) << "it has grown several times";
    EXPECT_EQ(returned.dirtyBytes, 0U);
}

TEST_F(WipingAllocatorTest, OverwritesTextThatGrows) {
    {
        using Text =
            std::basic_string<char, std::char_traits<char>, WipingAllocator<char, WatchingAllocator<char>>>;
        Text text;
        for (int i = 0; i < 1000; ++i)
            text += "word";
        auto moved = std::move(text);
        wipe(moved);
        EXPECT_TRUE(moved.empty());
    }
    EXPECT_GT(returned.blocks, 5U);
    EXPECT_EQ(returned.dirtyBytes, 0U);
}

} // namespace sonvale::base
