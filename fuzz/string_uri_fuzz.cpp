// SPDX-License-Identifier: MIT
// Percent-encoding: decoding leaves a wrong text alone, and what was encoded decodes to the same.
#include <tavrin/String.h>

#include "fuzz/FuzzText.h"
#include "fuzz/FuzzTools.h"

using namespace Tavrin;

namespace {

bool isAscii(const String &text)
{
    for (int at = 0; at < text.length(); ++at)
        if (text.wstr()[at] >= 128)
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Library library;
    const String text = fuzz::textOf(data, size);
    String decoded(text);
    if (decoded.decodeURI())
        fuzz::require(decoded.length() <= text.length(), "decoding does not lengthen");
    else
        fuzz::require(decoded.wstr() == text.wstr(), "a wrong text stays");
    String encoded(text);
    if (encoded.encodeURI("-_.!~*'()")) {
        fuzz::require(isAscii(encoded), "an encoded text is ASCII");
        fuzz::require(encoded.decodeURI(), "an encoded text decodes");
        fuzz::require(encoded == text, "to what it was");
    } else {
        fuzz::require(encoded.wstr() == text.wstr(), "what cannot be encoded stays");
    }
    return 0;
}
