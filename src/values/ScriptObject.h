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

// What an object is asked for.
enum class Wanted
{
    number,
    integer, // script objects are an answer: their id is it
    text,    // live objects are an answer
};

// The primitive value of a script object or live object. An object that answers with an object is
// asked in turn. One that has no primitive value is the result itself; D-166: so is one that
// answers with itself, and the first one when eight have been asked.
Variant primitiveOf(Variant object, Wanted wanted);

// What the object says about itself.
String textOf(TvScript::Object &object);

} // namespace Tavrin::detail
