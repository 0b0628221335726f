// SPDX-License-Identifier: MIT
// Literals: any text is read to its end, and what escape writes is read back as it was.
#include <string>

#include <tavrin/String.h>

#include "fuzz/FuzzText.h"
#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

void readAll(const String &text)
{
    int pos = 0;
    String whole(text);
    while (pos < text.length()) {
        const int before = pos;
        String piece;
        const bool isComplete = text.parse(piece, pos);
        String cut;
        const bool isCutComplete = whole.parse(cut);
        fuzz::require(isComplete == isCutComplete && piece == cut, "both forms agree");
        if (pos <= 0) {
            fuzz::require(!isComplete, "a literal without an end is not complete");
            return;
        }
        fuzz::require(pos > before && pos <= text.length(), "each literal takes something");
        fuzz::require(whole.length() == text.length() - pos, "what was read is cut off");
    }
}

void readBack(const String &text)
{
    // A key would be resolved.
    if (text.ncmp("$$$", 3) == 0)
        return;
    String literal = text.escape(true);
    String read;
    fuzz::require(literal.parse(read), "an escaped text is complete");
    fuzz::require(read == text, "an escaped text reads back");
    fuzz::require(literal.length() == 0, "nothing is left of it");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    const String text = fuzz::textOf(data, size);
    readAll(text);
    readBack(text);
    return 0;
}
