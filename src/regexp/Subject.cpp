// SPDX-License-Identifier: MIT
#include "regexp/Subject.h"

#include <algorithm>

namespace Tavrin::detail {

namespace {

// The unit of a run over a literal.
bool isUnitOf(const Program &program, const Node &literal, unsigned short unit)
{
    return *program.textOf(literal) == (program.ignoresCase ? toLowerUnit(unit) : unit);
}

} // namespace

int lengthOfRun(const Program &program, const Node &atom, const Subject &subject, int position,
                int most)
{
    const int available = std::min(most, subject.length - position);
    if (available <= 0)
        return 0;
    const unsigned short *units = subject.units + position;
    switch (atom.kind) {
    case NodeKind::anyUnit: {
        const int lineFeed = findUnit(units, available, '\n');
        return lineFeed < 0 ? available : lineFeed;
    }
    case NodeKind::set:
        return lengthInSet(program.sets[atom.index], units, available);
    default: {
        int length = 0;
        while (length < available && isUnitOf(program, atom, units[length]))
            ++length;
        return length;
    }
    }
}

int beginOfRun(const Program &program, const Node &atom, const Subject &subject, int position,
               int least)
{
    const unsigned short *units = subject.units;
    int begin = position;
    switch (atom.kind) {
    case NodeKind::anyUnit:
        return least + findUnitReverse(units + least, position - least, '\n') + 1;
    case NodeKind::set: {
        const UnitSet &set = program.sets[atom.index];
        while (begin > least && set.has(units[begin - 1]))
            --begin;
        return begin;
    }
    default:
        while (begin > least && isUnitOf(program, atom, units[begin - 1]))
            --begin;
        return begin;
    }
}

} // namespace Tavrin::detail
