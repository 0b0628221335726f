// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

// Tells the address sanitizer which bytes of a cached or handed-out block may be touched, so that
// it sees through the block cache. Without the sanitizer both do nothing.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAVRIN_ADDRESS_SANITIZER 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define TAVRIN_ADDRESS_SANITIZER 1
#endif

#if defined(TAVRIN_ADDRESS_SANITIZER)
#include <sanitizer/asan_interface.h>
#endif

namespace Tavrin::detail {

#if defined(TAVRIN_ADDRESS_SANITIZER)
inline constexpr bool poisonsBlocks = true;
#else
inline constexpr bool poisonsBlocks = false;
#endif

inline void poison([[maybe_unused]] void *from, [[maybe_unused]] std::size_t bytes)
{
#if defined(TAVRIN_ADDRESS_SANITIZER)
    __asan_poison_memory_region(from, bytes);
#endif
}

inline void unpoison([[maybe_unused]] void *from, [[maybe_unused]] std::size_t bytes)
{
#if defined(TAVRIN_ADDRESS_SANITIZER)
    __asan_unpoison_memory_region(from, bytes);
#endif
}

} // namespace Tavrin::detail
