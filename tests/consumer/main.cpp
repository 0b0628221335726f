// SPDX-License-Identifier: MIT
// What a consumer of an installed Tavrin can rely on: the umbrella header, the classes of the base
// and a version that is the one of the package files, which tools/check_install compares.
#include <cstdio>

#include <tavrin/Tavrin.h>

namespace {

struct Note : Tavrin::Root
{
    int text = 7;
};

} // namespace

int main()
{
    Tavrin::InitTerm::init();
    Note *note = new Note;
    int blocks = 0;
    std::size_t bytes = 0;
    Tavrin::Heap::getMemoryStatistics(blocks, bytes);
    const bool isCounted = note->text == 7 && blocks > 0 && bytes >= sizeof(Note);
    delete note;
    Tavrin::InitTerm::exit();

    const int version = Tavrin::getVersion();
    std::printf("%d.%d.%d\n", version >> 16, version >> 8 & 0xff, version & 0xff);
    return isCounted && !Tavrin::InitTerm::isInitialized() ? 0 : 1;
}
