// SPDX-License-Identifier: MIT
// The handle on a compiled expression. Pinned by tests/regexp/RegExpTest.cpp.
#include <tavrin/RegExp.h>

#include <algorithm>

#include "regexp/Chain.h"
#include "regexp/NodeSearch.h"
#include "regexp/PatternCompiler.h"
#include "regexp/RegExpData.h"
#include "text/StringAccess.h"

namespace Tavrin {

RegExpData::RegExpData() : pattern("(?:)"), flags(0)
{
    detail::Node nothing;
    nothing.kind = detail::NodeKind::group;
    nothing.group = detail::GroupKind::ahead;
    program.nodes.push(nothing);
    program.first = 0;
}

RegExpData::RegExpData(const String &itsPattern, int itsFlags)
    : pattern(itsPattern), flags(itsFlags)
{
    program.ignoresCase = (flags & RegExp::ignoreCase) != 0;
    program.isMultiLine = (flags & RegExp::multiLine) != 0;
    detail::compilePattern(detail::StringAccess::view(pattern), program);
}

RegExpData::~RegExpData() = default;

namespace {

void unset(Capture *captures, int count)
{
    for (int index = 0; index < count; ++index)
        captures[index].start = -1;
}

template <class Budget>
MatchResult search(const RegExpData &data, const String &subject, int start, Capture *captures,
                   Budget &budget)
{
    const detail::Program &program = data.program;
    if (program.first == detail::none)
        return kNoMatch;
    unset(captures, program.captureCount);
    // D-336: the end of a subject is no start, unless it is empty.
    if (start < 0 || (start >= subject.length() && (start > 0 || subject.length() > 0)))
        return kNoMatch;
    MatchResult result = kNoMatch;
    try {
        const detail::Subject text{subject.wstr(), subject.length()};
        result = program.isChain ? detail::searchChain(program, text, start, captures, budget)
                                 : detail::searchNodes(program, text, start, captures, budget);
    } catch (...) {
        unset(captures, program.captureCount);
        throw;
    }
    if (result != kMatch)
        unset(captures, program.captureCount);
    return result;
}

} // namespace

RegExp::RegExp() : data(new RegExpData) {}

RegExp::RegExp(const String &pattern, int flags) : data(new RegExpData(pattern, flags)) {}

RegExp::RegExp(const RegExp &other) noexcept : data(other.data)
{
    data->addRef();
}

RegExp::~RegExp()
{
    data->release();
}

RegExp &RegExp::operator=(const RegExp &other) noexcept
{
    if (data != other.data) {
        other.data->addRef();
        data->release();
        data = other.data;
    }
    return *this;
}

bool RegExp::good() const noexcept
{
    return data->program.first != detail::none;
}

const String &RegExp::getPattern() const noexcept
{
    return data->pattern;
}

int RegExp::getFlags() const noexcept
{
    return data->flags;
}

int RegExp::getCaptureLength() const noexcept
{
    return data->program.captureCount;
}

Capture *RegExp::createCaptureList() const
{
    return new Capture[static_cast<std::size_t>(std::max(getCaptureLength(), 1))];
}

bool RegExp::match(const String &subject, int start, Capture &captures) const
{
    detail::NoBudget budget;
    return search(*data, subject, start, &captures, budget) == kMatch;
}

MatchResult RegExp::match(const String &subject, int start, Capture &captures, std::int64_t steps,
                          const std::atomic<bool> *cancelled) const
{
    detail::StepBudget budget(steps, cancelled);
    return search(*data, subject, start, &captures, budget);
}

} // namespace Tavrin
