// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/String.h>
#include <tavrin/Variant.h>

namespace Tavrin {
class LiveObject;
}

namespace Tavrin::detail {

// ObjectText: reads values and objects from a text such as `size: 12, tags: [true, "x"]`.
//
//     object: pairs with commas in between, or the same between "{" and "}"
//     pair:   a quoted string or a symbol, ":", and a value
//     value:  the name of a class, which may be missing, and an object between braces;
//             or "[" values with commas in between "]"; or a quoted string; or a word
//     word:   all up to a comma or a closing bracket: null, true, false, else a number
//
// Units up to 32 are blanks. Where a quote or a symbol follows on what is not a word, the comma may
// be missing; one more may stand at the end of a list. A word that is no number gives NaN. Objects
// without a class are "Object". An object asks the one around it for its class.
// Owns:    the arrays and objects that it has begun. Arrays may be nested a million deep; objects
//          deepestObject (D-244).
// Failure: the code of the first fault, with its text and its place; std::bad_alloc.
class ObjectText
{
public:
    static constexpr int deepestObject = 1000;

    // `flags` select classes, as for LiveObject::create.
    ObjectText(const String &source, int classFlags) : text(source), flags(classFlags) {}
    ~ObjectText();
    ObjectText(const ObjectText &) = delete;
    ObjectText &operator=(const ObjectText &) = delete;

    // Puts the pairs of the whole text into the object.
    int readInto(LiveObject &object);
    // Reads one value, and the blanks behind it.
    int readValue(Variant &out);
    // Reads one value, with the blanks and one comma behind it.
    int readElement(Variant &out);

    bool isAtEnd() const { return position >= text.length(); }

    // Of the last failure: what stands in place of "%1", and the place in the text; lines count
    // from 1, units from 0.
    const String &faultText() const { return fault; }
    int line() const;
    int offset() const { return position; }

private:
    struct List;
    enum class Step
    {
        failed,
        closed,
        more,
    };

    int read(Variant &out);
    int begin(Variant &value, bool &isComplete);
    Step advance(bool isFirst);
    int store(const Variant &value);
    void close(Variant &value);
    int openObject();
    void push(List *list);

    int readScalar(Variant &value);
    int readWord(Variant &value);
    int readName();
    int readString(String &out);
    String readSymbol();

    int fail(int code);
    int fail(int code, const String &about);
    Step failed(int code, char missing);

    bool isAt(char unit) const;
    bool isAtQuote() const { return isAt('"') || isAt('\''); }
    bool isAtSymbol() const;
    bool isAtObject() const;
    bool take(char unit);
    void skipBlanks();

    const String text;
    const int flags;
    int position = 0;
    List *innermost = nullptr;
    int objectDepth = 0;
    int faultCode = 0;
    String fault;
};

} // namespace Tavrin::detail
