// SPDX-License-Identifier: MIT
// The routines for processors with SSE2, which all 64-bit ones of their family have.

#include "text/UnitScan.h"

#if defined(__SSE2__)

#include "text/UnitLanes128.h"
#include "text/UnitScanKernels.h"

namespace Tavrin::detail {
namespace {

struct Sse2;

} // namespace

const UnitRoutines *sse2Routines() noexcept
{
    return &kernels::routines<Lanes8<Sse2>>;
}

} // namespace Tavrin::detail

#else

const Tavrin::detail::UnitRoutines *Tavrin::detail::sse2Routines() noexcept
{
    return nullptr;
}

#endif
