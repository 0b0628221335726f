// SPDX-License-Identifier: MIT
// The routines for any processor, and the choice between the sets.

#include "text/UnitScan.h"

#include <initializer_list>

#include "text/UnitScanKernels.h"

namespace Tavrin::detail {
namespace {

// One unit as a vector, whose lanes are set as 0xFFFF: the kernels become plain loops.
struct SingleLane
{
    using Vector = unsigned short;
    using Shorter = void;

    static constexpr int width = 1;
    static constexpr int bitsPerLane = 1;

    static constexpr Vector narrow(int value) noexcept { return static_cast<Vector>(value); }

    static Vector load(const unsigned short *units) noexcept { return *units; }
    static Vector loadAligned(const unsigned short *units) noexcept { return *units; }
    static void store(unsigned short *units, Vector value) noexcept { *units = value; }
    static Vector widen(const char *byte) noexcept { return static_cast<unsigned char>(*byte); }
    static Vector fill(unsigned short unit) noexcept { return unit; }

    static Vector equal(Vector a, Vector b) noexcept { return a == b ? 0xFFFF : 0; }
    static Vector either(Vector a, Vector b) noexcept { return narrow(a | b); }
    static Vector both(Vector a, Vector b) noexcept { return narrow(a & b); }
    static Vector differing(Vector a, Vector b) noexcept { return narrow(a ^ b); }
    static Vector plus(Vector a, Vector b) noexcept { return narrow(a + b); }
    static Vector minus(Vector a, Vector b) noexcept { return narrow(a - b); }
    static Vector minusClamped(Vector a, Vector b) noexcept { return narrow(a > b ? a - b : 0); }

    static unsigned mask(Vector lanes) noexcept { return lanes & 1u; }
    static bool isZero(Vector value) noexcept { return value == 0; }
};

constexpr UnitRoutines portable = kernels::routines<SingleLane>;

const UnitRoutines &bestRoutines() noexcept
{
    for (const UnitRoutines *routines : {avx2Routines(), sse2Routines()}) {
        if (routines != nullptr)
            return *routines;
    }
    return portable;
}

} // namespace

const UnitRoutines *portableRoutines() noexcept
{
    return &portable;
}

constinit UnitRoutines activeRoutines = portable;

namespace {

[[maybe_unused]] const bool isChosen = (activeRoutines = bestRoutines(), true);

} // namespace
} // namespace Tavrin::detail
