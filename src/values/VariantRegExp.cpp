// SPDX-License-Identifier: MIT
// Regular expressions as values. A value owns a handle of its own, which shares the compiled
// expression. Pinned by tests/regexp/VariantRegExpTest.cpp.
#include <tavrin/Variant.h>
#include <tvscript/Object.h>

// A door: this is the one source of values that knows regular expressions.
#include <tavrin/RegExp.h>

#include "values/RegExpValue.h"
#include "values/VariantAccess.h"

namespace Tavrin {

namespace detail {

RegExp *copyRegExp(const RegExp &expression) noexcept
{
    return copyOrNull(expression);
}

void deleteRegExp(RegExp *expression) noexcept
{
    deleteOnHeap(expression);
}

const String &patternOf(const RegExp *expression) noexcept
{
    return expression != nullptr ? expression->getPattern() : String::emptyString();
}

namespace {

// Boxes within boxes are opened so many times, as an object may hold itself.
constexpr int mostOpened = 8;

} // namespace

} // namespace detail

RegExp *Variant::getRegExp() const
{
    const Variant *holder = this;
    for (int opened = 0; opened < detail::mostOpened && holder != nullptr; ++opened) {
        if (holder->type == kRegExp)
            return holder->value.regExp;
        const TvScript::Object *object = holder->getJSObject();
        if (object == nullptr || object->classTag != TvScript::Object::regExpTag)
            return nullptr;
        holder = object->getValue();
    }
    return nullptr;
}

void Variant::setRegExp(const RegExp &expression)
{
    become(kRegExp, {.regExp = detail::copyRegExp(expression)});
}

// The expression that it stands for, or its text as a pattern.
void Variant::convertToRegExp(Variant &converted) const
{
    if (const RegExp *expression = getRegExp()) {
        converted.setRegExp(*expression);
        return;
    }
    try {
        converted.setRegExp(RegExp(getString(), 0));
    } catch (const std::bad_alloc &) { // as a copy without memory
        converted.become(kRegExp, {.regExp = nullptr});
    }
}

} // namespace Tavrin
