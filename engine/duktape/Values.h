// SPDX-License-Identifier: MIT
#pragma once

#include <duktape.h>

namespace Tavrin {
class LiveObject;
class String;
class Variant;
} // namespace Tavrin

namespace TvScript {

class EngineData;

// From a script. Steady.

// A value that has no inside: undefined, null, booleans, numbers, strings, live objects and objects
// that values have held before. False, and undefined, for any other.
bool readPlain(EngineData &engine, duk_context *ctx, duk_idx_t at, Tavrin::Variant &out);
// Any value. False if the script threw meanwhile: the exception is on top of the value stack then.
bool readValue(EngineData &engine, duk_context *ctx, duk_idx_t at, Tavrin::Variant &out);

// Into a script. These jump.

void pushText(duk_context *ctx, EngineData &engine, const Tavrin::String &text);
// `value` has to stay as it is meanwhile.
void pushValue(duk_context *ctx, EngineData &engine, const Tavrin::Variant &value);
// The object by which the script sees the live one.
void pushLiveObject(duk_context *ctx, EngineData &engine, Tavrin::LiveObject &object);

} // namespace TvScript
