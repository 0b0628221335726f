// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Variant.h>

// What values do with the objects of an interpreter.
namespace Tavrin::detail {

void addObject(TvScript::Object &object);
// Gives one reference up; the last one destroys.
void dropObject(TvScript::Object &object);

// Count a hard holder in and out. D-165: the count sticks once it has reached its limit.
void addHardHolder(TvScript::Object &object);
void dropHardHolder(TvScript::Object &object);

int idOf(const TvScript::Object &object);

// The primitive value of a script object or live object; false if it has none. D-166: an object
// that answers with an object is asked in turn, eight times at most; one that answers with itself
// has no primitive value. With a hint of 1, for a string, a live object is an answer.
bool primitiveOf(const Variant &object, int hint, Variant &primitive);

// What the object says about itself.
String textOf(TvScript::Object &object);

} // namespace Tavrin::detail
