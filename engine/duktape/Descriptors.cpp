// SPDX-License-Identifier: MIT
// Questions about a property by itself. A proxy of Duktape has no trap for them and answers for its
// empty self, so the functions of the language that ask them are replaced by ones that know live
// objects, and hand on what is about any other object.
// Pinned by tests/engine/LivePropertyTest.cpp.
#include "duktape/Definitions.h"
#include "duktape/Failures.h"
#include "duktape/LiveRecord.h"

namespace TvScript {

namespace {

// Where what is asked about and the name stand on the value stack.
struct Question
{
    LiveRecord *record; // null if it is about another object
    duk_idx_t object;
    duk_idx_t key;
};

// Of a function whose first argument is the object.
Question questionOfArguments(duk_context *ctx)
{
    return {Blocks::find<LiveRecord>(duk_get_heapptr(ctx, 0)), 0, 1};
}

// Of a method of the object.
Question questionOfThis(duk_context *ctx)
{
    duk_push_this(ctx);
    return {Blocks::find<LiveRecord>(duk_get_heapptr(ctx, -1)), duk_get_top_index(ctx), 0};
}

// Whether the object has the property itself. Throws what the object answers otherwise.
bool pushTraits(duk_context *ctx, const Question &question, PropertyTraits &traits)
{
    if (!duk_is_string(ctx, question.key))
        duk_to_string(ctx, question.key);
    const Reply reply = question.record->describe(ctx, question.key, traits);
    if (reply.isFailure())
        throwFailure(ctx, question.record->getEngine());
    return reply.isTrue();
}

// Calls the function that the running one replaces, with the same arguments.
duk_ret_t pushOriginal(duk_context *ctx)
{
    const duk_idx_t count = duk_get_top(ctx);
    duk_push_current_function(ctx);
    duk_get_prop_literal(ctx, -1, DUK_HIDDEN_SYMBOL("original"));
    duk_insert(ctx, 0);
    duk_pop(ctx);
    duk_push_this(ctx);
    duk_insert(ctx, 1);
    duk_call_method(ctx, count);
    return 1;
}

void pushFlag(duk_context *ctx, const char *name, bool flag)
{
    duk_push_boolean(ctx, flag ? 1 : 0);
    duk_put_prop_string(ctx, -2, name);
}

duk_ret_t onGetOwnPropertyDescriptor(duk_context *ctx)
{
    const Question question = questionOfArguments(ctx);
    if (question.record == nullptr)
        return pushOriginal(ctx);
    PropertyTraits traits;
    if (!pushTraits(ctx, question, traits))
        return 0;
    duk_push_object(ctx);
    duk_dup(ctx, question.key);
    duk_get_prop(ctx, question.object);
    duk_put_prop_literal(ctx, -2, "value");
    pushFlag(ctx, "writable", traits.isWritable);
    pushFlag(ctx, "enumerable", traits.isEnumerable);
    pushFlag(ctx, "configurable", traits.isRemovable);
    return 1;
}

// D-363: a descriptor with a value writes the property; its traits are the object's business.
void defineLive(duk_context *ctx)
{
    duk_require_object(ctx, 2);
    if (duk_has_prop_literal(ctx, 2, "get") != 0 || duk_has_prop_literal(ctx, 2, "set") != 0)
        duk_error_raw(ctx, DUK_ERR_TYPE_ERROR, nullptr, 0,
                      "a live object takes no accessors; its prototype does");
    if (duk_has_prop_literal(ctx, 2, "value") == 0)
        return;
    duk_dup(ctx, 1);
    duk_get_prop_literal(ctx, 2, "value");
    duk_put_prop(ctx, 0);
}

duk_ret_t onDefineProperty(duk_context *ctx)
{
    if (questionOfArguments(ctx).record == nullptr)
        return pushOriginal(ctx);
    defineLive(ctx);
    duk_dup(ctx, 0);
    return 1;
}

duk_ret_t onReflectDefineProperty(duk_context *ctx)
{
    if (questionOfArguments(ctx).record == nullptr)
        return pushOriginal(ctx);
    defineLive(ctx);
    duk_push_true(ctx);
    return 1;
}

// A method of the object that answers yes or no.
duk_ret_t pushAnswer(duk_context *ctx, bool (*answerOf)(const PropertyTraits &))
{
    const Question question = questionOfThis(ctx);
    if (question.record == nullptr) {
        duk_pop(ctx);
        return pushOriginal(ctx);
    }
    PropertyTraits traits;
    duk_push_boolean(ctx, pushTraits(ctx, question, traits) && answerOf(traits) ? 1 : 0);
    return 1;
}

duk_ret_t onHasOwnProperty(duk_context *ctx)
{
    return pushAnswer(ctx, [](const PropertyTraits &) { return true; });
}

duk_ret_t onPropertyIsEnumerable(duk_context *ctx)
{
    return pushAnswer(ctx, [](const PropertyTraits &traits) { return traits.isEnumerable; });
}

// Puts the function in the place of the one of that name in the object on top of the value stack.
void defineReplacement(duk_context *ctx, const char *name, duk_c_function function, int count)
{
    duk_push_string(ctx, name);
    duk_push_c_function(ctx, function, count);
    defineName(ctx, -2);
    duk_get_prop_string(ctx, -3, name);
    duk_put_prop_literal(ctx, -2, DUK_HIDDEN_SYMBOL("original"));
    defineHidden(ctx, -3);
}

} // namespace

void defineDescriptors(duk_context *ctx)
{
    for (const char *holder : {"Object", "Reflect"}) {
        duk_get_global_string(ctx, holder);
        defineReplacement(ctx, "getOwnPropertyDescriptor", onGetOwnPropertyDescriptor, 2);
        duk_pop(ctx);
    }
    duk_get_global_literal(ctx, "Reflect");
    defineReplacement(ctx, "defineProperty", onReflectDefineProperty, 3);
    duk_get_global_literal(ctx, "Object");
    defineReplacement(ctx, "defineProperty", onDefineProperty, 3);
    duk_get_prop_literal(ctx, -1, "prototype");
    defineReplacement(ctx, "hasOwnProperty", onHasOwnProperty, 1);
    defineReplacement(ctx, "propertyIsEnumerable", onPropertyIsEnumerable, 1);
    duk_pop_3(ctx);
}

} // namespace TvScript
