// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <tavrin/Export.h>
#include <tavrin/Heap.h>

namespace Tavrin {

class RegExpData;
class String;

// Capture: where a group matched, as offsets in code units; the end is exclusive. A start of -1
// means that the group is unset, and its end then means nothing. Arrays of it live on Heap.
struct Capture
{
    int start = -1;
    int end = 0;

    bool isSet() const { return start >= 0; }

    static void *operator new[](std::size_t size) { return Heap::operator new[](size); }
    static void operator delete[](void *list) noexcept { Heap::operator delete[](list); }
};
static_assert(sizeof(Capture) == 8, "hosts allocate lists of them");

// The answers of a search that may be stopped.
enum MatchResult
{
    kNoMatch,
    kMatch,
    kMatchStopped,
};

// RegExp: a compiled regular expression; a handle of one word on shared, immutable data.
// Owns:    one reference to that data.
// Threads: one object is one thread's; copies, and matches through one object, may run on several
//          threads at once after InitTerm::setMT, each with its own list of captures.
// Cost:    a copy O(1). A compilation is linear in the pattern. A match takes memory for its
//          choices, not for the subject; its time may be exponential in the pattern.
// Units:   code units; groups are numbered from 1, and entry 0 of a list is the whole match.
// Failure: a pattern with an error gives an expression that is not good and matches nothing.
//          std::bad_alloc from Heap; the captures are unset then.
class TAVRIN_API RegExp
{
public:
    // The flags; other bits are kept without effect.
    static constexpr int ignoreCase = 2;
    static constexpr int multiLine = 4;

    // Steps of a search without limit.
    static constexpr std::int64_t noLimit = 0x7FFFFFFFFFFFFFFF;

    // The expression (?:), with a capture length of 0. D-300: its lists still have room for the one
    // entry that a match writes.
    RegExp();
    RegExp(const String &pattern, int flags);
    RegExp(const RegExp &other) noexcept;
    ~RegExp();
    RegExp &operator=(const RegExp &other) noexcept;

    // Whether the pattern could be compiled.
    bool good() const noexcept;
    // Pattern and flags as they were given.
    const String &getPattern() const noexcept;
    int getFlags() const noexcept;
    // The groups plus 1; 0 for a pattern with an error.
    int getCaptureLength() const noexcept;

    // A new list for match, all unset. The caller frees it: delete[] list.
    Capture *createCaptureList() const;

    // Searches from `start` on for the first place that matches. `captures` is the first entry of a
    // list from createCaptureList. When the result is false all of it is unset; so it is for a
    // negative start, and for one at or past the end of a subject that is not empty.
    bool match(const String &subject, int start, Capture &captures) const;
    // The same, for at most that many steps, each a bounded amount of work; and until `cancelled`,
    // if there is one, becomes true. A search that was stopped leaves all captures unset.
    MatchResult match(const String &subject, int start, Capture &captures, std::int64_t steps,
                      const std::atomic<bool> *cancelled = nullptr) const;

private:
    const RegExpData *data;
};
static_assert(sizeof(RegExp) == sizeof(void *), "values hold it by its word");

} // namespace Tavrin
