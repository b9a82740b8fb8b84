#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::base {

/// An allocator for speech and text of the user. It overwrites memory before it frees it, so that a container
/// that grows, moves or is destroyed leaves no copy of its content.
template <class T, class Upstream = std::allocator<T>>
class WipingAllocator {
public:
    // Containers require these names.
    // NOLINTBEGIN(readability-identifier-naming)
    using value_type = T;
    template <class U>
    struct rebind {
        using other = WipingAllocator<U, typename std::allocator_traits<Upstream>::template rebind_alloc<U>>;
    };
    // NOLINTEND(readability-identifier-naming)

    WipingAllocator() = default;
    template <class U, class Other>
    // Allocators of different element types are interchangeable.
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

/// Bytes that are overwritten. Up to 15 of them are stored in the object itself, which `wipe` overwrites and
/// the allocator does not.
using WipedBytes = std::basic_string<char, std::char_traits<char>, WipingAllocator<char>>;

} // namespace sonvale::base
