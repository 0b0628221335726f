// SPDX-License-Identifier: MIT
// Codes become exceptions, with their records attached, and exceptions become records again, which
// are the attached ones if there are any. Pinned by tests/engine/EngineErrorTest.cpp.
#include "duktape/Failures.h"

#include <cstdlib>

#include "duktape/Definitions.h"
#include "duktape/Values.h"

using Tavrin::Error;
using Tavrin::String;
using Tavrin::Variant;

namespace TvScript {

namespace {

// The codes of the library by the class of their exception; the others are plain Errors.
enum class ErrorClass
{
    plain,
    type,
    syntax,
    reference,
    range,
    eval,
    uri,
    io,
    internal,
};

struct ClassOfCodes
{
    int first;
    int last;
    ErrorClass errorClass;
};

constexpr ClassOfCodes classesOfCodes[] = {
    {2, 2, ErrorClass::reference}, {3, 3, ErrorClass::type},       {4, 6, ErrorClass::syntax},
    {8, 18, ErrorClass::syntax},   {19, 24, ErrorClass::type},     {25, 25, ErrorClass::syntax},
    {26, 26, ErrorClass::type},    {27, 27, ErrorClass::range},    {30, 30, ErrorClass::syntax},
    {31, 31, ErrorClass::uri},     {33, 34, ErrorClass::internal}, {39, 40, ErrorClass::syntax},
    {41, 41, ErrorClass::range},   {42, 42, ErrorClass::syntax},   {43, 43, ErrorClass::eval},
    {44, 47, ErrorClass::type},    {48, 53, ErrorClass::io},       {55, 55, ErrorClass::type},
    {56, 56, ErrorClass::io},      {58, 59, ErrorClass::io},
};

constexpr const char *extraClasses[] = {"InternalError", "FatalError", "IOError"};

ErrorClass classOf(int code)
{
    const int magnitude = std::abs(code);
    for (const ClassOfCodes &row : classesOfCodes)
        if (magnitude >= row.first && magnitude <= row.last)
            return row.errorClass;
    return ErrorClass::plain;
}

const char *nameOf(ErrorClass errorClass)
{
    switch (errorClass) {
    case ErrorClass::type:
        return "TypeError";
    case ErrorClass::syntax:
        return "SyntaxError";
    case ErrorClass::reference:
        return "ReferenceError";
    case ErrorClass::range:
        return "RangeError";
    case ErrorClass::eval:
        return "EvalError";
    case ErrorClass::uri:
        return "URIError";
    case ErrorClass::io:
        return "IOError";
    case ErrorClass::internal:
        return "InternalError";
    case ErrorClass::plain:
        break;
    }
    return "Error";
}

// The class, as bytes in the engine's second buffer: a host's own, or that of the library's code.
const char *classNameOf(EngineData &engine, int code) noexcept
{
    try {
        String text;
        String className;
        if (Error::getErrorDefinition(code, text, className) && className.length() != 0) {
            const Bytes bytes = bytesOf(className, engine.moreBytes);
            const_cast<char *>(bytes.data)[bytes.length] = 0;
            return bytes.data;
        }
    } catch (const std::bad_alloc &) { // then it is a plain one
    }
    return nameOf(classOf(code));
}

// Pushes the class of that name, and makes it if the script has none: a class derived from Error.
void pushErrorClass(duk_context *ctx, const char *name)
{
    duk_get_global_string(ctx, name);
    if (duk_is_callable(ctx, -1))
        return;
    duk_pop(ctx);
    duk_push_sprintf(ctx,
                     "(function () {"
                     "  function %s(message) {"
                     "    var error = Object.create(%s.prototype);"
                     "    var made = new Error(message);"
                     "    Object.setPrototypeOf(made, %s.prototype);"
                     "    return made;"
                     "  }"
                     "  %s.prototype = Object.create(Error.prototype, {"
                     "    constructor: {value: %s, writable: true, configurable: true},"
                     "    name: {value: '%s', writable: true, configurable: true}});"
                     "  return %s;"
                     "})()",
                     name, name, name, name, name, name, name);
    if (duk_peval(ctx) != DUK_EXEC_SUCCESS) { // the host's name is no word
        duk_pop(ctx);
        duk_get_global_literal(ctx, "Error");
        return;
    }
    defineGlobal(ctx, name);
}

duk_ret_t onLine(duk_context *ctx)
{
    duk_push_this(ctx);
    duk_get_prop_literal(ctx, -1, "lineNumber");
    return 1;
}

bool attachFailure(EngineData &engine, void *exception, int code) noexcept
{
    try {
        Blocks::attach(exception, *new Failure(engine, code, engine.failure));
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

const String *textOfFailure(const EngineData &engine) noexcept
{
    const Tavrin::ErrorInfo *newest = engine.failure.getError();
    return newest != nullptr ? &newest->getText() : nullptr;
}

// What an exception says of itself.
struct Told
{
    bool isComplete = false; // nothing was thrown on the way
    bool isError = false;
    int number = 0;
    int line = -1;
    String name;
    String message;
    String file;

    // The text on top of the value stack.
    bool take(duk_context *ctx, String &text) noexcept
    {
        duk_size_t length = 0;
        const char *bytes = duk_get_lstring(ctx, -1, &length);
        try {
            text = textOf(bytes, length);
            return true;
        } catch (const std::bad_alloc &) {
            isShort = true;
            return false;
        }
    }

    bool isShort = false; // of memory
};

void takeProperty(duk_context *ctx, duk_idx_t at, const char *property, Told &told, String &text)
{
    duk_get_prop_string(ctx, at, property);
    if (duk_is_string(ctx, -1) && !duk_is_symbol(ctx, -1))
        told.take(ctx, text);
    duk_pop(ctx);
}

duk_ret_t onTell(duk_context *ctx, void *data)
{
    auto &told = *static_cast<Told *>(data);
    const duk_idx_t at = duk_get_top_index(ctx);
    told.isError = duk_is_error(ctx, at) != 0;
    if (!told.isError) {
        told.isComplete = true;
        return 0;
    }
    takeProperty(ctx, at, "name", told, told.name);
    takeProperty(ctx, at, "message", told, told.message);
    takeProperty(ctx, at, "fileName", told, told.file);
    duk_get_prop_literal(ctx, at, "lineNumber");
    told.line = duk_get_int_default(ctx, -1, -1);
    duk_pop(ctx);
    duk_get_prop_literal(ctx, at, "number");
    told.number = duk_get_int_default(ctx, -1, 0);
    told.isComplete = !told.isShort;
    return 0;
}

bool endsWith(const String &text, const char *end)
{
    const String tail(end);
    return text.length() >= tail.length() && text.substr(text.length() - tail.length()) == tail;
}

// Duktape names the place in the message of a syntax error; the record has it elsewhere.
void cutPlace(String &message)
{
    const int at = message.find(" (line ", -1, true);
    if (at < 0 || !endsWith(message, ")"))
        return;
    const bool isAtEnd = endsWith(message, ", end of input)");
    message.erase(at, -1);
    if (isAtEnd)
        message += " at the end of the text";
}

int pushRecord(Error &records, Told &told)
{
    if (told.number != 0) {
        records.push(told.number, told.message, nullptr, false);
        return told.number;
    }
    if (told.name == "RangeError" && endsWith(told.message, " limit")) {
        records.push(EngineData::stackOverrun, nullptr);
        return EngineData::stackOverrun;
    }
    if (told.name == "SyntaxError") {
        cutPlace(told.message);
        records.push(8, String("Syntax error: ") + told.message, nullptr, false);
        return 8;
    }
    records.push(54, told.name + ": " + told.message, nullptr, true);
    return 54;
}

int reportTold(EngineData &engine, duk_context *ctx, Told &told, Error &records)
{
    if (const auto *failure = Blocks::find<Failure>(duk_get_heapptr(ctx, -1))) {
        records.push(failure->records);
        return failure->code;
    }
    if (engine.hasRefused() &&
        (!told.isComplete || told.message == "alloc failed" || told.name == "DoubleError")) {
        records.push(EngineData::outOfMemory, nullptr);
        return EngineData::outOfMemory;
    }
    if (told.isError)
        return pushRecord(records, told);
    Variant thrown;
    if (!readValue(engine, ctx, -1, thrown)) {
        duk_pop(ctx);
        thrown.setString("an exception that cannot be read");
    }
    records.push(54, thrown, nullptr);
    return 54;
}

} // namespace

void throwFailure(duk_context *ctx, EngineData &engine)
{
    const int code = engine.failureCode;
    duk_require_stack(ctx, 16);
    duk_push_error_object_raw(ctx, DUK_ERR_ERROR, nullptr, 0, "%s", "");
    pushErrorClass(ctx, classNameOf(engine, code));
    duk_get_prop_literal(ctx, -1, "prototype");
    duk_set_prototype(ctx, -3);
    duk_pop(ctx);
    duk_push_literal(ctx, "message");
    if (const String *text = textOfFailure(engine))
        pushText(ctx, engine, *text);
    else
        duk_push_literal(ctx, "");
    duk_def_prop(ctx, -3, DUK_DEFPROP_HAVE_VALUE | DUK_DEFPROP_FORCE);
    duk_push_int(ctx, code);
    duk_put_prop_literal(ctx, -2, "number");
    attachFailure(engine, duk_get_heapptr(ctx, -1), code);
    engine.failure.erase();
    (void)duk_throw(ctx);
    std::abort(); // it does not come back
}

void throwCode(duk_context *ctx, EngineData &engine, int code)
{
    engine.fail(code);
    throwFailure(ctx, engine);
}

duk_ret_t pushReply(duk_context *ctx, EngineData &engine, Reply reply)
{
    switch (reply.kind) {
    case Reply::Kind::number:
        duk_push_number(ctx, reply.number);
        return 1;
    case Reply::Kind::boolean:
        duk_push_boolean(ctx, reply.flag ? 1 : 0);
        return 1;
    case Reply::Kind::null:
        duk_push_null(ctx);
        return 1;
    case Reply::Kind::value:
        pushValue(ctx, engine, *reply.value);
        reply.value->erase();
        return 1;
    case Reply::Kind::method:
        duk_push_heapptr(ctx, reply.pointer);
        return 1;
    case Reply::Kind::failure:
        throwFailure(ctx, engine);
    case Reply::Kind::thrown:
        (void)duk_throw(ctx);
        break;
    case Reply::Kind::undefined:
    case Reply::Kind::inherited:
    case Reply::Kind::newMethod:
        break;
    }
    return 0;
}

void defineErrorClasses(duk_context *ctx)
{
    for (const char *name : extraClasses) {
        pushErrorClass(ctx, name);
        duk_pop(ctx);
    }
    duk_get_global_literal(ctx, "Error");
    duk_get_prop_literal(ctx, -1, "prototype");
    duk_push_literal(ctx, "line");
    duk_push_c_function(ctx, onLine, 0);
    duk_def_prop(ctx, -3, DUK_DEFPROP_HAVE_GETTER | DUK_DEFPROP_SET_CONFIGURABLE);
    duk_pop_2(ctx);
}

int reportException(EngineData &engine, duk_context *ctx, Error *error)
{
    Told told;
    duk_dup(ctx, -1);
    duk_safe_call(ctx, onTell, &told, 1, 1); // a getter that throws says nothing
    duk_pop(ctx);
    Error records;
    const int code = reportTold(engine, ctx, told, records);
    duk_pop(ctx);
    const Tavrin::ErrorInfo *newest = records.getError();
    if (newest != nullptr && newest->getLine() < 0)
        engine.place(records, told.file, told.line);
    if (error != nullptr)
        error->push(records);
    return code;
}

} // namespace TvScript
