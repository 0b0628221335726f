// SPDX-License-Identifier: MIT
// The collection of the elements of an array. Pinned by tests/live/LiveArrayTest.cpp.
#include <tavrin/LiveCollection.h>

#include <utility>

#include "containers/ArrayRecord.h"
#include "live/Asked.h"
#include "live/Guarded.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"

namespace Tavrin {

using detail::ArrayAccess;
using detail::errorInvalid;
using detail::guarded;
using detail::guardedAlone;
using detail::isUsable;
using detail::SelfHold;

namespace {

constexpr unsigned mostElementsTold = 1000;

// Gives the array a record of its own, because D-163 would write to the one that it was made from.
// The result keeps that alive: what is written may be an element of it.
Array unshare(Array &array)
{
    Array former;
    const ArrayData *record = ArrayAccess::record(array);
    if (record->isShared() && record != detail::emptyRecord()) {
        ArrayData *own = detail::cloneRecord(*record, record->length);
        ArrayAccess::exchangeRecord(former, ArrayAccess::exchangeRecord(array, own));
    }
    return former;
}

void tellClass(const LiveObject &object, String &out)
{
    out += "[object ";
    out += object.getClassName();
    out += ']';
}

// Element by element, as the collection answers for them.
void tellElements(const LiveCollection &collection, String &out)
{
    unsigned length = 0;
    if (collection.getLength(length) != 0) {
        out += "[error]";
        return;
    }
    if (length > mostElementsTold) {
        out += "[too many elements]";
        return;
    }
    for (unsigned index = 0; index < length; ++index) {
        if (index > 0)
            out += ',';
        Variant element;
        if (collection.getByIndex(index, element, nullptr) != 0) {
            out = "[error]";
            return;
        }
        if (element.getLiveObject() == &collection)
            tellClass(collection, out);
        else if (element.isDefined())
            out += element.toString();
    }
}

} // namespace

LiveArray::LiveArray(const char *className, int lengthPropertyID, bool isReadOnly)
    : LiveCollection(className, lengthPropertyID, isReadOnly)
{}

LiveArray::LiveArray(const Array &elements, const char *className, int lengthPropertyID,
                     bool isReadOnly)
    : LiveCollection(className, lengthPropertyID, isReadOnly)
{
    const int code = guarded(nullptr, [&] {
        array = elements;
        return 0;
    });
    if (code != 0) // a pinned array is copied
        LiveObject::invalidate();
}

LiveArray::~LiveArray()
{
    setValid(false);
    array.erase(); // what an element does while it dies meets an array without it
}

const void *LiveArray::getAs(int code) const
{
    return code == asArray ? &array : LiveCollection::getAs(code);
}

void *LiveArray::getAs(int code)
{
    return code == asArray ? &array : LiveCollection::getAs(code);
}

int LiveArray::getLength(unsigned int &number) const
{
    number = array.length();
    return 0;
}

int LiveArray::putLength(unsigned int number)
{
    const SelfHold hold(*this);
    const int code = guarded(nullptr, [&] {
        if (!isUsable(*this))
            return errorInvalid;
        array.setLength(number);
        invokeAutostore(nullptr);
        return 0;
    });
    return setError(code, getLengthID(), nullptr, false);
}

int LiveArray::getByIndex(unsigned int index, Variant &out, Error *error) const
{
    if (!isUsable(*this)) {
        const SelfHold hold(*this);
        out.erase();
        return setError(errorInvalid, getLengthID(), error, false);
    }
    out = array[index];
    return 0;
}

int LiveArray::putByIndex(unsigned int index, const Variant &value, Error *error)
{
    const SelfHold hold(*this);
    const int code = guarded(error, [&] {
        if (!isUsable(*this))
            return errorInvalid;
        const Array former = unshare(array);
        array[index] = value;
        invokeAutostore(nullptr);
        return 0;
    });
    return setError(code, static_cast<int>(index), error, true);
}

void LiveArray::reset()
{
    if (!isUsable(*this))
        return;
    const SelfHold hold(*this);
    LiveObject::reset();
    guardedAlone([&] {
        array.setLength(0);
        invokeAutostore(nullptr);
    });
}

void LiveArray::toString(String &out) const
{
    const SelfHold hold(*this);
    out.erase();
    guardedAlone([&] {
        if (!isUsable(*this)) {
            out = "[Invalid Object]";
            return;
        }
        const detail::Asked asked(detail::LiveObjectAccess::data(*this)->isTelling);
        if (!asked.mayAsk())
            tellClass(*this, out);
        else if (!tellByMethod(out))
            tellElements(*this, out);
    });
}

// Whether there is a method for it, which succeeds.
bool LiveArray::tellByMethod(String &out) const
{
    int id;
    InfoType type;
    Variant text;
    if (getIDForName("toString", id, type, kDefaultLanguage) != 0 || type != kInfoMethod ||
        const_cast<LiveArray *>(this)->call(id, text) != 0)
        return false;
    text.toString(out);
    return true;
}

} // namespace Tavrin
