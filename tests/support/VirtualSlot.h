// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>

namespace Tavrin::test {

// The place of a virtual operation in its class's table of virtual functions, counted from 0. The
// order is a contract with hosts that were compiled earlier. A virtual destructor takes two places.
//
// Itanium C++ ABI, 2.3: a pointer to a virtual member function holds 1 plus the offset in the
// table. Compilers of that ABI define __GXX_ABI_VERSION; some processors have a form of their own.
#if defined(__GXX_ABI_VERSION) && defined(__x86_64__)
#define TAVRIN_HAS_VIRTUAL_SLOTS 1
template <class MemberFunction>
std::size_t virtualSlot(MemberFunction function)
{
    std::size_t words[2];
    static_assert(sizeof function == sizeof words);
    std::memcpy(words, &function, sizeof words);
    return (words[0] - 1) / sizeof(void *);
}
#endif

} // namespace Tavrin::test
