// SPDX-License-Identifier: MIT
// Reading, writing and calling by name, and the text and the value of an object.
// Pinned by tests/live/LiveObjectByNameTest.cpp, LiveObjectInvokeTest.cpp and
// LiveObjectTextTest.cpp.
#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/Message.h>

#include "live/Asked.h"
#include "live/Guarded.h"
#include "live/InfoTypes.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"

namespace Tavrin {

using detail::Asked;
using detail::guarded;
using detail::guardedAlone;
using detail::guardedOr;
using detail::isExactly;
using detail::isUsable;
using detail::LivePropertyAccess;

namespace {

int fail(int code, const String &name, Error *error)
{
    if (error != nullptr)
        error->push(code, name, nullptr, true);
    return code;
}

} // namespace

constinit thread_local int detail::askedDepth = 0;

int LiveObject::get(const String &name, Variant &out, Error *error) const
{
    if (isExactly(*this) && isUsable(*this)) {
        const LiveProperty *property = data->findByName(name, isCaseless(kDefaultLanguage));
        if (property != nullptr && LivePropertyAccess::readPlain(*property, out))
            return 0;
    }
    const detail::SelfHold hold(*this);
    out.erase();
    return guarded(error, [&] {
        int id;
        InfoType type;
        if (const int code = getIDForName(name, id, type, kDefaultLanguage))
            return fail(code, name, error);
        const int code = detail::isReadable(type) ? get(id, out, error) : detail::errorNotSupported;
        return code == 0 ? 0 : setError(code, id, error, false);
    });
}

int LiveObject::put(const String &name, const Variant &value, int propertyFlags, Error *error)
{
    const detail::SelfHold hold(*this);
    return guarded(error, [&] {
        int id;
        InfoType type;
        int code = getIDForName(name, id, type, kDefaultLanguage);
        if (code == detail::errorUndefined && propertyFlags != onlyKnown) {
            code = createIDForName(name, id, propertyFlags);
            type = kInfoReadWrite;
        }
        if (code != 0)
            return fail(code, name, error);
        if (type == kInfoMethod)
            code = detail::errorNotSupported;
        else if (!detail::isWritable(type))
            code = detail::errorReadOnly;
        else
            code = put(id, value, error);
        return code == 0 ? 0 : setError(code, id, error, false);
    });
}

int LiveObject::call(const String &name, const Array &args, Variant &result, Error *error)
{
    const detail::SelfHold hold(*this);
    result.erase();
    return guarded(error, [&] {
        int id;
        InfoType type;
        if (const int code = getIDForName(name, id, type, kDefaultLanguage))
            return fail(code, name, error);
        const int code =
            detail::isCallable(type) ? call(id, args, result, error) : detail::errorNoFunction;
        return code == 0 ? 0 : setError(code, id, error, false);
    });
}

int LiveObject::call(const String &name, const Array &args, Error *error)
{
    Variant result;
    return call(name, args, result, error);
}

int LiveObject::call(const String &name, Variant &result, Error *error)
{
    return call(name, Array(), result, error);
}

int LiveObject::call(const String &name, Error *error)
{
    return call(name, Array(), error);
}

int LiveObject::call(int id)
{
    return call(id, Array());
}

int LiveObject::call(int id, Variant &result)
{
    return guarded(nullptr, [&] { return call(id, Array(), result, nullptr); });
}

int LiveObject::call(int id, const Array &args)
{
    Variant result;
    return guarded(nullptr, [&] { return call(id, args, result, nullptr); });
}

int LiveObject::invoke(const String &name, const Array &args, Variant &result, Error *error)
{
    const detail::SelfHold hold(*this);
    result.erase();
    return guarded(error, [&] {
        if (!isUsable(*this))
            return fail(detail::errorInvalid, name, error);
        if (!isListening(askInvoke))
            return fail(detail::errorNoFunction, name, error);
        LiveMessage message(*this, askInvoke, 0, args, error);
        *message.getData() = name;
        broadcast(message);
        result = *message.getData(); // D-248: also the name, if nobody answers
        const int worded = error != nullptr ? error->getCode() : 0;
        return worded != 0 ? worded : message.getError();
    });
}

int LiveObject::invoke(const String &name, const Array &args, Error *error)
{
    Variant result;
    return invoke(name, args, result, error);
}

int LiveObject::invoke(const String &name, Variant &result, Error *error)
{
    return invoke(name, Array(), result, error);
}

int LiveObject::invoke(const String &name, Error *error)
{
    return invoke(name, Array(), error);
}

bool LiveObject::canInvoke(const String &name) const
{
    if (!isUsable(*this))
        return false;
    const detail::SelfHold hold(*this);
    return guardedOr(false, [&] {
        LiveMessage message(*this, askCanInvoke, 0, Variant(name), nullptr);
        broadcast(message);
        const Variant &answer = *message.getData();
        return answer.getType() == kBoolean && answer.getBool();
    });
}

// The id of a name that may be called; false if there is none.
bool LiveObject::findMethod(const char *name, int &id) const
{
    InfoType type;
    return getIDForName(name, id, type, kDefaultLanguage) == 0;
}

int LiveObject::callMethod(int id, Variant &result) const
{
    return const_cast<LiveObject *>(this)->call(id, result);
}

void LiveObject::toString(String &out) const
{
    const detail::SelfHold hold(*this);
    out.erase();
    guardedAlone([&] {
        if (isUsable(*this)) {
            const Asked asked(data->isTelling);
            int id;
            Variant text;
            if (asked.mayAsk() && findMethod("toString", id) && callMethod(id, text) == 0) {
                text.toString(out);
                return;
            }
        }
        out.print("[object %ls]", getClassName().wstr());
    });
}

void LiveObject::valueOf(Variant &out) const
{
    const detail::SelfHold hold(*this);
    out.erase();
    if (!isUsable(*this))
        return;
    guardedAlone([&] {
        const Asked asked(data->isValuing);
        int id;
        if (asked.mayAsk() && findMethod("valueOf", id))
            callMethod(id, out);
        else if (data->value != nullptr)
            out = *data->value;
    });
}

} // namespace Tavrin
