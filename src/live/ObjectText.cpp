// SPDX-License-Identifier: MIT
// One value after the other, without recursion: the arrays and objects that are open wait in a
// list, and a value that is complete goes into the innermost one, which may be complete then, too.
// Each round takes something from the text, or fails. Pinned by tests/live/ObjectTextTest.cpp and
// fuzz/object_text_fuzz.cpp.
#include "live/ObjectText.h"

#include <utility>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/LiveObject.h>
#include <tavrin/UnicodeUtils.h>

#include "live/Guarded.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"

namespace Tavrin {

namespace detail {

namespace {

constexpr unsigned short lastBlank = 32;
const char *const plainClass = "Object";

bool endsWord(unsigned short unit)
{
    return unit == ',' || unit == ']' || unit == '}';
}

} // namespace

// An array or an object that is open.
struct ObjectText::List : Heap
{
    List *outer = nullptr;
    char closer = 0;                 // 0 for the pairs of a whole text without braces
    InterfacePtr<LiveObject> object; // null for an array
    LiveObject *enclosing = nullptr; // the innermost object, which may be this one
    String name;                     // of the pair whose value is being read
    Array elements;
};

ObjectText::~ObjectText()
{
    while (List *list = innermost) {
        innermost = list->outer;
        delete list;
    }
}

int ObjectText::readInto(LiveObject &object)
{
    auto *list = new List;
    push(list);
    list->object = &object;
    list->enclosing = &object;
    objectDepth = 1;
    skipBlanks();
    if (isAtEnd())
        return fail(errorSyntax);
    if (take('{'))
        list->closer = '}';
    Variant ignored;
    if (const int code = read(ignored))
        return code;
    skipBlanks();
    return isAtEnd() ? 0 : fail(errorSyntax);
}

int ObjectText::readValue(Variant &out)
{
    const int code = read(out);
    skipBlanks();
    return code;
}

int ObjectText::readElement(Variant &out)
{
    const int code = readValue(out);
    take(',');
    skipBlanks();
    return code;
}

// Reads a value, or the rest of the one list that is open.
int ObjectText::read(Variant &out)
{
    bool isNew = innermost != nullptr; // whether a list has just been opened
    for (;;) {
        Variant value;
        bool isComplete = false;
        if (!isNew) {
            if (const int code = begin(value, isComplete))
                return code;
            isNew = !isComplete;
        }
        while (isNew || isComplete) {
            if (isComplete) {
                if (innermost == nullptr) {
                    out = std::move(value);
                    return 0;
                }
                if (const int code = store(value))
                    return code;
            }
            const Step step = advance(std::exchange(isNew, false));
            if (step == Step::failed)
                return faultCode;
            isComplete = step == Step::closed;
            if (isComplete)
                close(value);
        }
    }
}

// Reads the value that begins here, or opens a list.
int ObjectText::begin(Variant &value, bool &isComplete)
{
    skipBlanks();
    if (take('[')) {
        auto *list = new List;
        list->closer = ']';
        list->enclosing = innermost != nullptr ? innermost->enclosing : nullptr;
        push(list);
        return 0;
    }
    if (isAtObject())
        return openObject();
    isComplete = true;
    return readScalar(value);
}

// Goes on to where the next value of the innermost list begins, or behind the end of the list.
ObjectText::Step ObjectText::advance(bool isFirst)
{
    const char closer = innermost->closer;
    skipBlanks();
    const bool isSeparated = isFirst || take(',');
    skipBlanks();
    if (closer != 0 ? take(closer) : isAtEnd())
        return Step::closed;
    if (isAtEnd())
        return failed(errorExpected, closer);
    if (!isSeparated && !isAtQuote() && !isAtSymbol())
        return failed(errorExpected, ',');
    if (innermost->object && readName() != 0)
        return Step::failed;
    return Step::more;
}

int ObjectText::store(const Variant &value)
{
    LiveObject *object = innermost->object.get();
    if (object == nullptr) {
        innermost->elements += value;
        return 0;
    }
    const String &name = innermost->name;
    int id;
    InfoType type;
    int code = object->getIDForName(name, id, type, kDefaultLanguage);
    if (code == errorUndefined)
        code = object->createIDForName(name, id, kInfoReadWrite);
    if (code == 0)
        code = object->put(id, value, nullptr);
    return code == 0 ? 0 : fail(code, name);
}

// Makes a value of the innermost list.
void ObjectText::close(Variant &value)
{
    List *list = innermost;
    if (list->object) {
        --objectDepth;
        value.setLiveObject(list->object.get(), 0);
    } else {
        value = list->elements;
    }
    innermost = list->outer;
    delete list;
}

void ObjectText::push(List *list)
{
    list->outer = innermost;
    innermost = list;
}

int ObjectText::openObject()
{
    String className = readSymbol();
    if (className.length() == 0)
        className = plainClass;
    skipBlanks();
    take('{');
    if (++objectDepth > deepestObject)
        return fail(errorSyntax); // D-244
    LiveObject *enclosing = innermost != nullptr ? innermost->enclosing : nullptr;
    LiveObject *made = nullptr;
    const int code = enclosing != nullptr ? enclosing->createLocal(&made, className, flags)
                                          : LiveObject::create(&made, className, flags);
    auto object = InterfacePtr<LiveObject>::adopt(made);
    if (code < 0)
        return fail(code, className);
    if (!object && className == plainClass)
        object = newPlainObject(className);
    if (!object)
        return fail(enclosing != nullptr ? errorNoObject : errorNoConstructor, className);
    auto *list = new List;
    list->closer = '}';
    list->enclosing = object.get();
    list->object = std::move(object);
    push(list);
    return 0;
}

int ObjectText::readScalar(Variant &value)
{
    if (!isAtQuote())
        return readWord(value);
    String string;
    if (const int code = readString(string))
        return code;
    value = string;
    return 0;
}

int ObjectText::readWord(Variant &value)
{
    const unsigned short *units = text.wstr();
    const int start = position;
    while (!isAtEnd() && !endsWord(units[position]))
        ++position;
    if (position == start && !isAt(','))
        return fail(errorSyntax);
    String word = text.substr(start, position - start);
    word.strip();
    if (word == "null")
        value.setNull();
    else if (word == "true" || word == "false")
        value.setBool(word == "true");
    else
        value.setDouble(Variant(word).getDouble());
    return 0;
}

// Reads the name of a pair and the colon.
int ObjectText::readName()
{
    if (isAtQuote()) {
        if (const int code = readString(innermost->name))
            return code;
    } else if (isAtSymbol()) {
        innermost->name = readSymbol();
    } else {
        return fail(errorSyntax);
    }
    skipBlanks();
    return take(':') ? 0 : fail(errorExpected, ":");
}

int ObjectText::readString(String &out)
{
    int end = position;
    if (!text.parse(out, end))
        return fail(errorSyntax);
    position = end;
    return 0;
}

String ObjectText::readSymbol()
{
    const int start = position;
    if (isAtSymbol())
        ++position;
    while (position > start && !isAtEnd() && UnicodeUtils::isSymbolChar(text.wstr()[position]))
        ++position;
    return text.substr(start, position - start);
}

int ObjectText::fail(int code)
{
    return fail(code, String::emptyString());
}

int ObjectText::fail(int code, const String &about)
{
    fault = about;
    faultCode = code;
    return code;
}

ObjectText::Step ObjectText::failed(int code, char missing)
{
    String unit;
    unit = missing;
    fail(code, unit);
    return Step::failed;
}

int ObjectText::line() const
{
    int lines = 1;
    const unsigned short *units = text.wstr();
    for (int at = 0; at < position; ++at) {
        const bool isInPair = units[at] == '\r' && at + 1 < text.length() && units[at + 1] == '\n';
        if ((units[at] == '\n' || units[at] == '\r') && !isInPair)
            ++lines;
    }
    return lines;
}

bool ObjectText::isAt(char unit) const
{
    return !isAtEnd() && text.wstr()[position] == static_cast<unsigned char>(unit);
}

bool ObjectText::isAtSymbol() const
{
    return !isAtEnd() && UnicodeUtils::isSymbolStart(text.wstr()[position]);
}

// A brace, or the name of a class and a brace.
bool ObjectText::isAtObject() const
{
    const unsigned short *units = text.wstr();
    int at = position;
    if (isAtSymbol())
        ++at;
    while (at > position && at < text.length() && UnicodeUtils::isSymbolChar(units[at]))
        ++at;
    while (at < text.length() && units[at] <= lastBlank)
        ++at;
    return at < text.length() && units[at] == '{';
}

bool ObjectText::take(char unit)
{
    if (!isAt(unit))
        return false;
    ++position;
    return true;
}

void ObjectText::skipBlanks()
{
    while (!isAtEnd() && text.wstr()[position] <= lastBlank)
        ++position;
}

} // namespace detail

using detail::guarded;
using detail::ObjectText;

namespace {

// The first brace or colon of the text; 0 without one.
char firstMark(const String &text)
{
    const int place = text.findAny("{:");
    return place < 0 ? '\0' : static_cast<char>(text.wstr()[place]);
}

int readPlain(const String &text, int flags, InterfacePtr<LiveObject> &object)
{
    object = detail::newPlainObject(detail::plainClass);
    return ObjectText(text, flags).readInto(*object);
}

int readAny(const String &text, int flags, InterfacePtr<LiveObject> &object)
{
    ObjectText reader(text, flags);
    Variant value;
    if (const int code = reader.readValue(value))
        return code;
    object = value.getLiveObject();
    if (!object)
        return detail::errorNoConstructor;
    return reader.isAtEnd() ? 0 : detail::errorSyntax;
}

} // namespace

int LiveObject::parse(const String &text, Error &error, int parseFlags)
{
    const detail::SelfHold hold(*this);
    return guarded(&error, [&] {
        if (!detail::isUsable(*this)) {
            error.push(detail::errorInvalid, nullptr);
            return detail::errorInvalid;
        }
        ObjectText reader(text, parseFlags);
        const int code = reader.readInto(*this);
        if (code != 0) {
            error.push(code, reader.faultText(), nullptr, true);
            error.setMoreInfo(text, reader.line(), reader.offset(), -1, 0);
        }
        return code;
    });
}

int LiveObject::parse(const String &text, int parseFlags)
{
    Error error;
    return parse(text, error, parseFlags);
}

int LiveObject::parseNew(const String &text, LiveObject *&out, int parseFlags)
{
    out = nullptr;
    return guarded(nullptr, [&] {
        InterfacePtr<LiveObject> object;
        int code = 0;
        switch (firstMark(text)) {
        case '{':
            code = readAny(text, parseFlags, object);
            break;
        case ':':
            code = readPlain(text, parseFlags, object);
            break;
        default:
            break;
        }
        if (code == 0)
            out = object.detach();
        return code;
    });
}

} // namespace Tavrin
