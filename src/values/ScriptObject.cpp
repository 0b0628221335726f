// SPDX-License-Identifier: MIT
#include "values/ScriptObject.h"

#include <utility>

#include <tvscript/Object.h>

#include "values/LiveValue.h"
#include "values/VariantAccess.h"

namespace Tavrin::detail {

namespace {

constexpr int mostHardHolders = 0x4000'0000;
constexpr int hardCountMask = mostHardHolders - 1;

constexpr int mostAsked = 8;
constexpr int noHint = 0;
constexpr int stringHint = 1;

bool isAskedOn(const Variant &answer, Wanted wanted)
{
    if (answer.getType() == kLiveObject)
        return wanted != Wanted::text;
    return answer.getJSObject() != nullptr && wanted != Wanted::integer;
}

} // namespace

void addObject(TvScript::Object &object)
{
    ++object.refCount;
}

void dropObject(TvScript::Object &object)
{
    if (--object.refCount == 0)
        object.destroy();
}

void addHardHolder(TvScript::Object &object)
{
    if (object.hardRefCount < mostHardHolders)
        ++object.hardRefCount;
}

void dropHardHolder(TvScript::Object &object)
{
    if ((object.hardRefCount & hardCountMask) != 0)
        --object.hardRefCount;
}

int idOf(const TvScript::Object &object)
{
    return object.objectID;
}

// Each object is held while it is asked, because it may run a script that lets it go.
Variant primitiveOf(Variant object, Wanted wanted)
{
    Variant holder(object);
    for (int asked = 0; asked < mostAsked; ++asked) {
        Variant answer;
        if (TvScript::Object *script = holder.getJSObject()) {
            if (!script->valueOf(answer, wanted == Wanted::text ? stringHint : noHint))
                return holder;
        } else {
            askLiveObject(*holder.getLiveObject(), answer);
        }
        if (!isAskedOn(answer, wanted) || VariantAccess::isSame(answer, holder))
            return answer;
        holder = std::move(answer);
    }
    return object;
}

String textOf(TvScript::Object &object)
{
    Variant holder;
    holder.setJSObject(object);
    String text;
    object.toString(text);
    return text;
}

} // namespace Tavrin::detail
