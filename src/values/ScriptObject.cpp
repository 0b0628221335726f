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
constexpr int stringHint = 1;

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
bool primitiveOf(const Variant &object, int hint, Variant &primitive)
{
    Variant holder(object);
    for (int asked = 0; asked < mostAsked; ++asked) {
        Variant answer;
        if (TvScript::Object *script = holder.getJSObject()) {
            if (!script->valueOf(answer, hint))
                return false;
        } else {
            askLiveObject(*holder.getLiveObject(), answer);
        }
        const bool isLive = answer.getType() == kLiveObject;
        if (answer.getJSObject() == nullptr && !(isLive && hint != stringHint)) {
            primitive = std::move(answer);
            return true;
        }
        if (VariantAccess::isSame(answer, holder))
            return false;
        holder = std::move(answer);
    }
    return false;
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
