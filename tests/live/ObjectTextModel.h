// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/LiveObject.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/UnicodeUtils.h>
#include <tavrin/Variant.h>

namespace Tavrin::test {

// ObjectTextModel: reads an object text by the plain rules, one function for each, into one text
// that shows all values. Quoted strings are left to String::parse.
class ObjectTextModel
{
public:
    explicit ObjectTextModel(const String &source) : text(source) {}

    // The code of LiveObject::parse; 0 if all is well.
    int readInto(String &out)
    {
        skip();
        if (isAtEnd())
            return 8;
        const bool isBraced = take('{');
        if (const int code = readPairs(isBraced ? '}' : 0, 1, out))
            return code;
        skip();
        return isAtEnd() ? 0 : 8;
    }

    // What stands in place of "%1" for the codes 21 and 25.
    String fault;

private:
    using Pairs = std::vector<std::pair<String, String>>;

    int fail(int code, const String &about)
    {
        fault = about;
        return code;
    }
    bool isAtEnd() const { return at >= text.length(); }
    unsigned unit() const { return isAtEnd() ? 0U : text.wstr()[at]; }
    bool isAt(char wanted) const { return !isAtEnd() && unit() == static_cast<unsigned>(wanted); }
    bool isAtQuote() const { return isAt('"') || isAt('\''); }
    bool isAtSymbol() const
    {
        return !isAtEnd() && UnicodeUtils::isSymbolStart(static_cast<unsigned short>(unit()));
    }
    bool take(char wanted)
    {
        const bool isThere = isAt(wanted);
        at += isThere ? 1 : 0;
        return isThere;
    }
    void skip()
    {
        while (!isAtEnd() && unit() <= 32)
            ++at;
    }

    String symbol()
    {
        String all;
        if (!isAtSymbol())
            return all;
        do
            all += static_cast<unsigned short>(text.wstr()[at++]);
        while (!isAtEnd() && UnicodeUtils::isSymbolChar(static_cast<unsigned short>(unit())));
        return all;
    }
    int quoted(String &out)
    {
        int end = at;
        if (!text.parse(out, end))
            return fail(8, "");
        at = end;
        return 0;
    }

    // Behind a value, or at the first one: 0 to go on, 1 at the end, or a code.
    int separate(bool isFirst, char closer)
    {
        skip();
        const bool hasComma = !isFirst && take(',');
        skip();
        if (closer == 0 && isAtEnd())
            return 1;
        String missing;
        missing = closer;
        if (closer != 0 && take(closer))
            return 1;
        if (isAtEnd())
            return fail(25, missing);
        if (!isFirst && !hasComma && !isAtQuote() && !isAtSymbol())
            return fail(25, ",");
        return 0;
    }

    int readPairs(char closer, int depth, String &out)
    {
        Pairs pairs;
        for (bool isFirst = true;; isFirst = false) {
            const int next = separate(isFirst, closer);
            if (next == 1)
                break;
            if (next != 0)
                return next;
            String name, value;
            if (isAtQuote()) {
                if (const int code = quoted(name))
                    return code;
            } else {
                name = symbol();
                if (name.length() == 0)
                    return fail(8, "");
            }
            skip();
            if (!take(':'))
                return fail(25, ":");
            if (const int code = readValue(depth, value))
                return code;
            store(pairs, name, value);
        }
        for (const auto &[name, value] : pairs)
            out += name + "=" + value + ";";
        return 0;
    }
    static void store(Pairs &pairs, const String &name, const String &value)
    {
        for (auto &[knownName, knownValue] : pairs)
            if (knownName == name) {
                knownValue = value;
                return;
            }
        pairs.emplace_back(name, value);
    }

    int readValue(int depth, String &out)
    {
        skip();
        if (take('['))
            return readElements(depth, out);
        const int start = at;
        String className = symbol();
        skip();
        if (take('{')) {
            if (depth >= 1000)
                return fail(8, "");
            if (className.length() == 0)
                className = "Object";
            if (!(className == "Object"))
                return fail(21, className);
            out += "{";
            if (const int code = readPairs('}', depth + 1, out))
                return code;
            out += "}";
            return 0;
        }
        at = start;
        if (isAtQuote()) {
            String string;
            const int code = quoted(string);
            out += "'";
            out += string;
            return code;
        }
        return readWord(out);
    }
    int readElements(int depth, String &out)
    {
        out += "[";
        for (bool isFirst = true;; isFirst = false) {
            const int next = separate(isFirst, ']');
            if (next == 1)
                break;
            if (next != 0)
                return next;
            if (const int code = readValue(depth, out))
                return code;
            out += ",";
        }
        out += "]";
        return 0;
    }
    int readWord(String &out)
    {
        String word;
        while (!isAtEnd() && !isAt(',') && !isAt(']') && !isAt('}'))
            word += static_cast<unsigned short>(text.wstr()[at++]);
        if (word.length() == 0 && !isAt(','))
            return fail(8, "");
        word.strip();
        if (word == "null" || word == "true" || word == "false") {
            out += word;
        } else {
            Variant number(word);
            number.convert(kNumber);
            out += "#";
            out += number.getString();
        }
        return 0;
    }

    String text;
    int at = 0;
};

// The same text from what a parse has made.
inline void showValue(const Variant &value, String &out);

inline void showPairs(const LiveObject &object, String &out)
{
    SimpleArray ids;
    object.enumerate(ids, kListReadWrite | kDefaultLanguage);
    for (const std::int64_t slot : std::as_const(ids)) {
        const auto id = static_cast<int>(slot);
        String name;
        Variant value;
        object.getNameForID(id, name, kDefaultLanguage);
        object.get(id, value, nullptr);
        out += name + "=";
        showValue(value, out);
        out += ";";
    }
}

inline void showValue(const Variant &value, String &out)
{
    if (const Array *array = value.getArray()) {
        out += "[";
        for (unsigned index = 0; index < array->length(); ++index) {
            showValue((*array)[index], out);
            out += ",";
        }
        out += "]";
    } else if (const LiveObject *object = value.getLiveObject()) {
        out += "{";
        showPairs(*object, out);
        out += "}";
    } else {
        if (value.getType() == kNumber)
            out += "#";
        else if (value.getType() == kString)
            out += "'";
        out += value.getString();
    }
}

// What differs between the library and the model, or nothing.
inline std::string objectTextGap(const String &text)
{
    const auto object = InterfacePtr<LiveObject>::adopt(new LiveObject("Object", true));
    Error error;
    const int code = object->parse(text, error, 1);
    ObjectTextModel model(text);
    String expected;
    const int expectedCode = model.readInto(expected);
    if (code != expectedCode)
        return "code " + std::to_string(code) + ", not " + std::to_string(expectedCode);
    if (code == 0) {
        String shown;
        showPairs(*object, shown);
        return shown == expected ? "" : "other pairs";
    }
    String message;
    TvGetErrorMsg(code, message);
    message.replaceAll("%1", model.fault);
    if (!(error.getError()->getText() == message))
        return "another message";
    const int offset = error.getError()->getOffset();
    return offset >= 0 && offset <= text.length() ? "" : "an offset outside the text";
}

} // namespace Tavrin::test
