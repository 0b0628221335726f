// SPDX-License-Identifier: MIT
// A script of edits and searches, on strings that share buffers, beside plain standard strings.
#include <string>

#include "fuzz/FuzzTools.h"
#include "text/StringWalk.h"

using namespace Tavrin;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    fuzz::ByteScript script(data, size);
    test::StringWalk walk(script);
    while (!script.isOver()) {
        const std::string gap = walk.step();
        fuzz::require(gap.empty(), gap);
    }
    return 0;
}
