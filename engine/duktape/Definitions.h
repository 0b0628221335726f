// SPDX-License-Identifier: MIT
#pragma once

// Jumping functions that set up objects of the script heap.

#include <duktape.h>

namespace TvScript {

class EngineData;

// The key and the value on top of the value stack become a property of the object at that place: a
// writable one that is not enumerated.
void defineHidden(duk_context *ctx, duk_idx_t object);
// The value on top of the value stack, which stays there, becomes a global variable.
void defineGlobal(duk_context *ctx, const char *name);
// Gives the function on top of the value stack its name, which is at that place.
void defineName(duk_context *ctx, duk_idx_t name);

// Keeps the object on top of the value stack alive as long as the engine, under that name.
void *pushKept(duk_context *ctx, const char *name);
// The same without a name, for one at any place, until EngineData::unroot is told what it answers.
unsigned int defineRoot(duk_context *ctx, EngineData &engine, duk_idx_t at);

} // namespace TvScript
