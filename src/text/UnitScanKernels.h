// SPDX-License-Identifier: MIT
#pragma once

// The kernels of the block routines as one table for a set of lanes.

#include "text/UnitCaseKernels.h"
#include "text/UnitEqualityKernels.h"
#include "text/UnitScan.h"
#include "text/UnitSearchKernels.h"

namespace Tavrin::detail::kernels {

template <class Lanes>
inline constexpr UnitRoutines routines = {
    firstDifference<Lanes>,
    firstNarrowDifference<Lanes>,
    findUnit<Lanes, Forward>,
    findUnit<Lanes, Backward>,
    findUnits<Lanes>,
    findUnitsReverse<Lanes>,
    findAllUnits<Lanes>,
    findAnyUnit<Lanes>,
    firstFoldedDifference<Lanes>,
    copyCase<Lanes, UpperCase>,
    copyCase<Lanes, LowerCase>,
    firstChanged<Lanes, UpperCase>,
    firstChanged<Lanes, LowerCase>,
    lengthOf<Lanes>,
    widen<Lanes>,
};

} // namespace Tavrin::detail::kernels
