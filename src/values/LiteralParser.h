// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Array.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

#include "containers/WorkStack.h"

namespace Tavrin::detail {

// LiteralParser: reads values from a text such as `1, "two", [true, null]`.
//
//     value:  "[" values with commas in between "]", or a quoted string, or a word
//     word:   all up to a comma or a closing bracket: null, true, false, else a number
//
// Units up to 32 are blanks. Where a quote or a symbol follows on a quoted string or an array, the
// comma may be missing. A word that is no number gives NaN. There are no objects to make from an
// object literal; it is malformed.
// Owns:    the arrays that it has begun. Arrays may be nested a million deep.
// Failure: std::bad_alloc.
class LiteralParser
{
public:
    explicit LiteralParser(const String &literal) : text(literal) {}
    ~LiteralParser();
    LiteralParser(const LiteralParser &) = delete;
    LiteralParser &operator=(const LiteralParser &) = delete;

    bool isAtEnd() const { return position >= text.length(); }
    // Reads one value, with the blanks and one comma behind it. False if it is malformed.
    bool readElement(Variant &out);

private:
    bool readValue(Variant &out);
    bool readScalar(Variant &out);
    bool readWord(Variant &out);
    void open();
    void close(Variant &out);

    bool isAt(char unit) const;
    bool isAtQuote() const { return isAt('"') || isAt('\''); }
    bool isAtSymbol() const;
    bool isAtObject() const;
    bool take(char unit);
    void skipBlanks();

    String text;
    int position = 0;
    WorkStack<Array *> opened;
};

} // namespace Tavrin::detail
