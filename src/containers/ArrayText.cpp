// SPDX-License-Identifier: MIT
// Arrays as text, and from text.
//
// Writing keeps the arrays that are open on a stack of our own, because they may be nested a
// million deep. An array that is met again while it is open contains itself. Few open arrays are
// searched one by one; those further in stand in a table as well. Pinned by
// tests/containers/ArrayTextTest.cpp, ArrayParseTest.cpp and ArrayNestingTest.cpp.
#include <utility>

#include <tavrin/Array.h>

#include "containers/ArrayRecord.h"
#include "containers/Growing.h"
// A door: the values of a literal are those of an object text, which has objects too.
#include "live/ObjectText.h"
#include "values/VariantAccess.h"

namespace Tavrin {

using detail::ArrayAccess;
using detail::VariantAccess;

namespace {

constexpr unsigned mostElementsWritten = 1000;
constexpr int searchedOneByOne = 16;

class ArrayWriter
{
public:
    explicit ArrayWriter(String &out) : text(out) {}
    ArrayWriter(const ArrayWriter &) = delete;
    ArrayWriter &operator=(const ArrayWriter &) = delete;
    ~ArrayWriter()
    {
        while (!opened.isEmpty())
            detail::dropRecord(opened.pop().record);
    }

    void write(const BasicArray &list)
    {
        const auto *array = dynamic_cast<const Array *>(&list);
        if (array != nullptr)
            open(nullptr, ArrayAccess::record(*array), array->length());
        else
            open(&list, detail::emptyRecord(), list.length());
        while (!opened.isEmpty()) {
            if (opened.last().index == opened.last().length)
                close();
            else
                writeNext();
        }
    }

private:
    // The record is held, because elements may run code of a script when they are written.
    struct Opened
    {
        const BasicArray *list; // an array of a host's own class, or null
        ArrayData *record;
        unsigned index;
        unsigned length;

        const Variant *element() const { return list ? list->get(index) : record->find(index); }
    };

    void open(const BasicArray *list, ArrayData *record, unsigned length)
    {
        if (length > mostElementsWritten) {
            text += "[too many elements]";
            return;
        }
        if (opened.size() >= searchedOneByOne)
            deeplyOpened.set(keyOf(record), 1);
        opened.push({list, record, 0, length});
        detail::holdRecord(record);
    }

    void close()
    {
        ArrayData *record = opened.pop().record;
        if (opened.size() >= searchedOneByOne)
            deeplyOpened.remove(keyOf(record));
        detail::dropRecord(record);
        if (!opened.isEmpty())
            text += ']';
    }

    void writeNext()
    {
        Opened &array = opened.last();
        if (array.index > 0)
            text += ',';
        const Variant *element = array.element();
        ++array.index;
        if (element == nullptr)
            text += "undefined"; // D-162
        else if (const Array *nested = VariantAccess::payloadArray(*element))
            writeNested(*nested);
        else
            writeElement(*element);
    }

    void writeNested(const Array &nested)
    {
        ArrayData *record = ArrayAccess::record(nested);
        if (isOpen(record)) {
            text += "[this]"; // D-161
            return;
        }
        text += '[';
        const int depth = opened.size();
        open(nullptr, record, nested.length());
        if (opened.size() == depth)
            text += ']';
    }

    void writeElement(const Variant &element)
    {
        if (element.getType() == kString) {
            text += element.getString();
            return;
        }
        VariantAccess::writeText(element, 10, elementText);
        text += elementText;
    }

    bool isOpen(const ArrayData *record)
    {
        for (int at = 0; at < opened.size() && at < searchedOneByOne; ++at)
            if (opened[at].list == nullptr && opened[at].record == record)
                return true;
        return deeplyOpened.hasKey(keyOf(record));
    }

    // Blocks of Heap differ from the fifth bit on.
    static std::int64_t keyOf(const ArrayData *record)
    {
        return reinterpret_cast<std::intptr_t>(record) >> 4;
    }

    String &text;
    String elementText;
    detail::Growing<Opened> opened;
    SparseArray deeplyOpened;
};

} // namespace

void BasicArray::toString(String &out) const
{
    ArrayWriter(out).write(*this);
}

bool Array::parse(const String &text, int flags)
{
    String literal = text;
    literal.strip();
    detail::ObjectText reader(literal, flags);
    bool hasRead = false;
    while (!reader.isAtEnd()) {
        Variant element;
        if (reader.readElement(element) != 0)
            return false;
        append(std::move(element));
        hasRead = true;
    }
    return hasRead;
}

} // namespace Tavrin
