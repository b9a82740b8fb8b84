#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::base {

/// Overwrites memory before it gives it back, so that a container that grows, moves or goes leaves no copy of
/// what it held. For speech and text of the user.
template <class T, class Upstream = std::allocator<T>>
class WipingAllocator {
public:
    // The names that containers look for.
    // NOLINTBEGIN(readability-identifier-naming)
    using value_type = T;
    template <class U>
    struct rebind {
        using other = WipingAllocator<U, typename std::allocator_traits<Upstream>::template rebind_alloc<U>>;
    };
    // NOLINTEND(readability-identifier-naming)

    WipingAllocator() = default;
    template <class U, class Other>
    // An allocator of another element type stands for the same memory.
    WipingAllocator(const WipingAllocator<U, Other>& /*other*/) {} // NOLINT(google-explicit-constructor)

    T* allocate(std::size_t count) { return Upstream().allocate(count); }
    void deallocate(T* memory, std::size_t count) {
        explicit_bzero(memory, count * sizeof(T));
        Upstream().deallocate(memory, count);
    }

    bool operator==(const WipingAllocator& /*other*/) const { return true; }
};

template <class T>
using WipedVector = std::vector<T, WipingAllocator<T>>;

/// Bytes. Up to 15 of them lie in the object itself, which `wipe` overwrites and the allocator does not.
using WipedBytes = std::basic_string<char, std::char_traits<char>, WipingAllocator<char>>;

} // namespace sonvale::base
