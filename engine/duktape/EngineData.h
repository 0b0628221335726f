// SPDX-License-Identifier: MIT
#pragma once

// How the engine is written. Duktape reports an error by longjmp, and a jump must not pass a frame
// that has something to destroy. So each function that Duktape calls has two halves:
//
// - The *steady* half does all work of C++. It is noexcept, catches what the application throws,
//   calls of Duktape only what cannot fail (it reads the value stack, pushes numbers and pointers,
//   runs protected calls), and returns a Reply.
// - The *jumping* half is plain C: it holds nothing that has to be destroyed, calls Duktape freely,
//   pushes the Reply or throws it. Functions that may jump take the duk_context first, begin with
//   push, throw, define or on, and are called from others of the kind and from protected calls
//   only.

#include <cstdint>
#include <new>
#include <thread>

#include <duktape.h>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/HashTable.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>
#include <tavrin/Variant.h>
#include <tvscript/Engine.h>

#include "duktape/Blocks.h"
#include "duktape/Text.h"

namespace Tavrin {
class LiveObject;
}

namespace TvScript {

class ClassRecord;
class LiveRecord;
class ScriptObject;

// Name: the name of a property, attached to the string that a script uses for it.
// Owns:    its text. It dies with the string.
class Name final : public Attached
{
public:
    static constexpr Kind itsKind = Kind::name;

    Name(const Tavrin::String &itsText, std::uint64_t itsSerial, bool isSymbolName)
        : Attached(itsKind),
          text(itsText),
          serial(itsSerial),
          index(indexOf(itsText)),
          isSymbol(isSymbolName)
    {}

    void blockFreed(void *) noexcept override { delete this; }

    const Tavrin::String text;
    const std::uint64_t serial; // never given twice, so that caches need not hear of its end
    const unsigned int index;   // the array index that it stands for, or noIndex
    const bool isSymbol;
};

// Mortal: what is attached to a block and holds something of the application, or of the script. It
// is finished outside of Duktape, once its block is gone, because that may run any code.
class Mortal : public Attached
{
public:
    using Attached::Attached;
    virtual ~Mortal() = default;

    Mortal *next = nullptr; // among the dead
};

// Reply: what the steady half of a native function leaves to the jumping one.
struct Reply
{
    enum class Kind
    {
        undefined,
        null,
        boolean,
        number,
        value,     // in a slot of the engine
        inherited, // the prototype has the answer
        method,    // a function of the script heap
        newMethod, // one that has to be made
        failure,   // a code, with its records in the engine
        thrown,    // the exception is on top of the value stack
    };

    Kind kind = Kind::undefined;
    union
    {
        bool flag;
        double number;
        void *pointer = nullptr;
        Tavrin::Variant *value;
    };

    Reply() = default;
    explicit Reply(Kind itsKind) : kind(itsKind) {}
    explicit Reply(bool itsFlag) : kind(Kind::boolean), flag(itsFlag) {}
    explicit Reply(double itsNumber) : kind(Kind::number), number(itsNumber) {}
    explicit Reply(Tavrin::Variant *slot) : kind(Kind::value), value(slot) {}
    Reply(Kind itsKind, void *function) : kind(itsKind), pointer(function) {}

    bool isTrue() const { return kind == Kind::boolean && flag; }
    bool isFailure() const { return kind == Kind::failure; }
};

// ArgumentList: room for the arguments of a call, see Arguments.
struct ArgumentList
{
    Tavrin::Array array;
    Tavrin::Variant *items = nullptr; // its elements
    unsigned int length = 0;          // and how many
};

// EngineData: what is behind an Engine.
// Owns:    the script heap and the records attached to it.
class EngineData final : public Tavrin::Heap, public Blocks
{
public:
    explicit EngineData(Engine &itsFacade);
    ~EngineData();
    EngineData(const EngineData &) = delete;
    EngineData &operator=(const EngineData &) = delete;

    static EngineData &of(duk_context *ctx)
    {
        duk_memory_functions functions;
        duk_get_memory_functions(ctx, &functions);
        return *static_cast<EngineData *>(static_cast<Blocks *>(functions.udata));
    }
    static EngineData *of(const Engine *engine)
    {
        return engine == nullptr ? nullptr : engine->data;
    }

    // Session: one entry from the application: puts the value stack back at its end, and buries the
    // dead. What it cuts off the stack are references, so that nothing can fail.
    class Session
    {
    public:
        explicit Session(EngineData &itsEngine);
        ~Session();
        Session(const Session &) = delete;
        Session &operator=(const Session &) = delete;

        // 0, or why it may not go on, which `error` tells.
        int getCode(Tavrin::Error *error) const;

    private:
        static constexpr duk_idx_t neededStack = 32;

        EngineData &engine;
        duk_idx_t top = 0;
        int code = 0;
    };

    // What the facade does.
    int evaluate(const Tavrin::String &text, const Tavrin::String &file, Tavrin::Variant &result,
                 Tavrin::Error *error);
    int call(const Tavrin::Variant &function, const Tavrin::Variant &thisValue,
             const Tavrin::Array &args, Tavrin::Variant &result, Tavrin::Error *error);
    int setGlobal(const Tavrin::String &name, const Tavrin::Variant &value, Tavrin::Error *error);
    int getGlobal(const Tavrin::String &name, Tavrin::Variant &value, Tavrin::Error *error);
    int setFunction(const Tavrin::String &name, Engine::Function &function, Tavrin::Error *error);
    int addClass(const Tavrin::String &name, Tavrin::Error *error);
    int getNames(const Tavrin::Variant &object, Tavrin::Array &names, Tavrin::Error *error);
    void collectGarbage();

    duk_context *context() const { return ctx; }
    Engine *getFacade() const { return &facade; }

    // The name of the string at that place of the value stack.
    Name &nameAt(duk_context *context, duk_idx_t at)
    {
        auto *known = Blocks::find<Name>(duk_get_heapptr(context, at));
        return known != nullptr ? *known : makeName(context, at);
    }

    // A place for a value on its way into the script. It is used again after some others.
    Tavrin::Variant &takeSlot() noexcept { return slots[nextSlot++ % slotCount]; }
    // A number, and other plain values, without a slot.
    Reply replyWith(Tavrin::Variant &value) noexcept
    {
        if (value.getType() == Tavrin::kNumber) [[likely]]
            return Reply(value.getDouble());
        return replyWithAny(value);
    }

    // The list for the arguments of the call in the steady half that is running.
    ArgumentList &argumentList() noexcept { return argumentLists[depth]; }
    const Tavrin::Array noArguments;

    // Notes a failure for throwFailure.
    Reply fail(int code, const Tavrin::Error &records) noexcept;
    Reply fail(int code) noexcept;
    Reply fail(int code, const Tavrin::String &text) noexcept;

    // Runs the steady half of a function: `work` returns a Reply and may throw.
    template <class Work>
    Reply steady(Work work) noexcept
    {
        if (depth >= deepest) [[unlikely]]
            return fail(stackOverrun);
        ++depth;
        Reply reply;
        try {
            reply = work();
        } catch (const std::bad_alloc &) {
            reply = fail(outOfMemory);
        } catch (...) {
            reply = fail(uncaughtException);
        }
        --depth;
        if (firstDead != nullptr) [[unlikely]]
            bury();
        return reply;
    }

    // What `make`, which may throw, gives; null if it does, and there is a failure to be thrown.
    template <class Make>
    auto made(Make make) noexcept -> decltype(make())
    {
        decltype(make()) result = nullptr;
        steady([&] {
            result = make();
            return Reply();
        });
        return result;
    }

    // Mortals whose block is gone.
    void mourn(Mortal &mortal) noexcept
    {
        mortal.next = firstDead;
        firstDead = &mortal;
    }
    void bury() noexcept;

    // Keeping objects of the script heap alive. The slot is the next free one; noteRoot takes it.
    unsigned int freeRoot();
    void noteRoot() noexcept;
    void unroot(unsigned int slot) noexcept;

    static constexpr int outOfMemory = -28;
    static constexpr int uncaughtException = -29;
    static constexpr int stackOverrun = 27;
    // How deep the application and its scripts may call each other.
    static constexpr int deepest = 200;

    // The parts of the engine that other files fill in and use. Pointers into the script heap are
    // to objects that it keeps alive.
    Tavrin::THashTable<ClassRecord> classes;
    Tavrin::SparseArray liveRecords; // from a LiveObject to its LiveRecord, see LiveRecord::keyOf
    int liveCount = 0;
    ScriptObject *firstObject = nullptr; // the list of those that are attached
    ByteBuffer bytes;
    ByteBuffer moreBytes; // for a second text at the same time
    void *roots = nullptr;
    void *handler = nullptr; // the traps of all live objects
    void *livePrototype = nullptr;
    void *collectionPrototype = nullptr;
    void *pointPrototype = nullptr;
    void *rectPrototype = nullptr;
    void *regExpConstructor = nullptr;

    // The failure that is to be thrown.
    int failureCode = 0;
    Tavrin::Error failure;

    // The texts that were evaluated last, for the errors of the functions in them.
    void keepSource(const Tavrin::String &file, const Tavrin::String &text);
    Tavrin::String sourceOf(const Tavrin::String &file) const;
    // Fills in where the newest record happened.
    void place(Tavrin::Error &error, const Tavrin::String &file, int line) const;

private:
    void start();
    Name &makeName(duk_context *context, duk_idx_t at);
    Reply replyWithAny(Tavrin::Variant &value) noexcept;
    void collectIfMany();
    int runProtected(duk_safe_call_function body, void *data, Tavrin::Variant *result,
                     Tavrin::Error *error);
    void defineClassesIn(const Tavrin::String &text);

    static constexpr unsigned slotCount = 64;

    Engine &facade;
    duk_context *ctx = nullptr;
    const std::thread::id thread = std::this_thread::get_id();
    int depth = 0;
    std::uint64_t lastSerial = 0;
    Mortal *firstDead = nullptr;
    bool isBurying = false;
    // With so many live objects the collector is run: it knows nothing of what they hold.
    int collectAt = firstCollection;
    static constexpr int firstCollection = 1000;
    unsigned nextSlot = 0;
    Tavrin::Variant slots[slotCount];
    ArgumentList argumentLists[deepest + 1]; // by depth
    Tavrin::SimpleArray freeRoots; // of `rootCount` slots the first `freeRootCount` are in use
    int freeRootCount = 0;
    int rootCount = 0;
    static constexpr int sourceCount = 16;
    struct Source
    {
        Tavrin::String file;
        Tavrin::String text;
    };
    Source sources[sourceCount];
    int nextSource = 0;
};

} // namespace TvScript
