// SPDX-License-Identifier: MIT
#include "support/Allocators.h"

#include <cstdio>

#include <dlfcn.h>

extern "C" {
void *je_malloc(std::size_t size);
void je_free(void *block);
}

namespace bench {

namespace {

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "bench: %s: %s\n", what, dlerror());
    std::exit(1);
}

template <class Function>
Function resolve(void *library, const char *symbol)
{
    void *address = dlsym(library, symbol);
    if (address == nullptr)
        fail(symbol);
    return reinterpret_cast<Function>(address);
}

// RTLD_DEEPBIND lets the library find its own malloc first, RTLD_LOCAL keeps it from everybody
// else.
EntryPoints load(const char *file, const char *allocate, const char *release)
{
    void *library = dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (library == nullptr)
        fail(file);
    return {resolve<void *(*)(std::size_t)>(library, allocate),
            resolve<void (*)(void *)>(library, release)};
}

} // namespace

const EntryPoints mimallocEntry = load("libmimalloc.so.2", "mi_malloc", "mi_free");
const EntryPoints jemallocEntry = {je_malloc, je_free};
const EntryPoints tcmallocEntry = load("libtcmalloc_minimal.so.4", "tc_malloc", "tc_free");

} // namespace bench
