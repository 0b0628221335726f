// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstring>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace testing_support {

// One page of writable storage between two that nobody may touch: a routine that reads or writes
// outside a run that touches either edge ends the process.
class GuardedPage
{
public:
    GuardedPage()
        : pageSize(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          block(mmap(nullptr, 3 * pageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (block == MAP_FAILED || mprotect(first(), pageSize, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc();
    }
    GuardedPage(const GuardedPage &) = delete;
    GuardedPage &operator=(const GuardedPage &) = delete;
    ~GuardedPage() { munmap(block, 3 * pageSize); }

    // The first `count` elements of the page, and the last.
    template <class Element>
    Element *atStart(std::size_t)
    {
        return reinterpret_cast<Element *>(first());
    }
    template <class Element>
    Element *atEnd(std::size_t count)
    {
        return reinterpret_cast<Element *>(first() + pageSize) - count;
    }

private:
    char *first() { return static_cast<char *>(block) + pageSize; }

    const std::size_t pageSize;
    void *const block;
};

} // namespace testing_support
