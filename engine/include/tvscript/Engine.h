// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include <tavrin/Export.h>
#include <tavrin/String.h>

namespace Tavrin {
class Array;
class Error;
class Variant;
} // namespace Tavrin

#if defined(TAVRIN_ENGINE_BUILDING)
#define TAVRIN_ENGINE_API TAVRIN_EXPORT
#else
#define TAVRIN_ENGINE_API TAVRIN_IMPORT
#endif

namespace TvScript {

class EngineData;

// Engine: runs scripts, and lets them use the objects of the application:
//
//   TvScript::Engine engine;
//   engine.setGlobal("app", application);
//   Variant result;
//   Error error;
//   if (engine.evaluate(text, "startup.js", result, &error) != 0)
//       show(TvScript::Engine::report(error));
//
// A script sees the properties, methods and elements of a live object as those of an object of its
// own (D-360, D-361), and constructs the classes of LiveObject::addFactory with `new`. The same
// live object is the same object to it each time. Arrays are copied, points and rectangles are
// objects of the classes Point and Rect, functions and other objects of a script arrive as kObject
// and stay alive as long as a value holds them.
// Owns:    the objects of its scripts, and one reference to each live object that they can reach.
//          Values that outlive it hold invalid objects.
// Threads: belongs to the thread that made it: another one is refused with 32. Several may live
//          side by side, between InitTerm::init and InitTerm::exit.
// Failure: codes of errors, 0 for success; what an Error * receives, which may be null: the message
//          with file, source text and line. What a script throws gives the code that is its
//          property `number`, else 8 for a syntax error, 27 for endless recursion, -28 for memory,
//          54 for anything else; the record holds a thrown value that is no Error. Error codes of
//          the application's objects are exceptions to the script, with the properties `message`,
//          `number`, `fileName` and `line`. Nothing throws but the constructor and report:
//          std::bad_alloc.
class TAVRIN_ENGINE_API Engine
{
public:
    // A function of the application: 0 and a result, or a code, and its words if there are any. It
    // may throw std::bad_alloc, which becomes -28; other exceptions become -29.
    using Function = std::function<int(const Tavrin::Array &args, Tavrin::Variant &result,
                                       Tavrin::Error *error)>;

    Engine();
    ~Engine();
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    // Runs a text. The result is the value of its last expression. The file names the text in
    // errors. A first line that begins with "#!" is skipped.
    int evaluate(const Tavrin::String &text, const Tavrin::String &file, Tavrin::Variant &result,
                 Tavrin::Error *error = nullptr);

    // Calls a function of a script, which a value has brought here, in the engine that it belongs
    // to. 45 if that engine is gone; 24 if it is no function.
    static int call(const Tavrin::Variant &function, const Tavrin::Array &args,
                    Tavrin::Variant &result, Tavrin::Error *error = nullptr);
    static int call(const Tavrin::Variant &function, const Tavrin::Variant &thisValue,
                    const Tavrin::Array &args, Tavrin::Variant &result,
                    Tavrin::Error *error = nullptr);

    // The global variables of the scripts. A missing one reads as undefined.
    int setGlobal(const Tavrin::String &name, const Tavrin::Variant &value,
                  Tavrin::Error *error = nullptr);
    int getGlobal(const Tavrin::String &name, Tavrin::Variant &value,
                  Tavrin::Error *error = nullptr);
    // Makes a function of the application a global variable.
    int setFunction(const Tavrin::String &name, Function function, Tavrin::Error *error = nullptr);

    // Makes a class of LiveObject::addFactory a global constructor. That happens by itself for each
    // class that a text names (D-362) when it is evaluated; this is for names that a script puts
    // together. 22 if there is no such class.
    int addClass(const Tavrin::String &name, Tavrin::Error *error = nullptr);

    // Replaces `names` by the names of all properties and methods of an object, as a prompt offers
    // them: its own ones first, in order, and then those that it inherits.
    int getNames(const Tavrin::Variant &object, Tavrin::Array &names,
                 Tavrin::Error *error = nullptr);

    // What went wrong, as a terminal shows it: the place and the message of each record, the newest
    // first, with the line of the source below. Each line of it has an end; none if there are no
    // records.
    //
    //   startup.js:5: width is out of range
    //       box.width = 5000;
    static Tavrin::String report(const Tavrin::Error &error);

    // Frees what scripts can no longer reach although it refers to itself, as functions do. That
    // happens by itself now and then; everything else is freed at once.
    void collectGarbage();
    // How many live objects the scripts hold.
    int heldObjects() const;

private:
    friend class EngineData;

    static void setFile(Tavrin::Error &error, const Tavrin::String &file);

    EngineData *data;
};

} // namespace TvScript
