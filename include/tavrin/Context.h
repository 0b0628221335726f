// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Export.h>

namespace Tavrin {

class Dictionary;
class Encoder;
class Localizer;
class Lock;
class Root;
class String;

// Context: what belongs to one thread, as far as hosts and interpreters see it.
// Owns:    engineState and ownedObject, deleted when the thread ends or the library goes down.
// Threads: made for each thread on its first use of the library; touched by that thread only.
// Cost:    get is one load in single-threaded operation, a thread-local read after InitTerm::setMT.
class TAVRIN_API Context
{
public:
    // The calling thread's own context, whatever Globals::context says.
    static Context &get();

    Encoder *encoder = nullptr;     // the thread's default encoder; null until first asked for
    Localizer *localizer = nullptr; // the thread's current localiser
    void *parentWindow = nullptr;   // owner of this thread's dialogs
    Root *engineState = nullptr;    // set by the interpreter; owned
    Lock *locks = nullptr;          // Globals::locks as it was when this context was made
    Root *ownedObject = nullptr;    // owned
    bool (*dialogWatch)(void *window) = nullptr; // asked while a dialog is up; null: no watch

protected:
    Context();
    ~Context();
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;
};

// Globals: the two words that locate the lock table and a fixed context.
struct Globals
{
    // The first of the 15 locks; null until InitTerm::setMT. Whether it is null decides, all over
    // the library, between plain and atomic or locked work.
    Lock *locks = nullptr;
    // While it is not null, the library works with it in place of the calling thread's context. For
    // hosts: the library never writes it, and a host that set it clears it before InitTerm::exit.
    Context *context = nullptr;

    static Globals *get();
};

namespace detail {

struct BlockClasses;

// What the inline paths of this library read without a call.
struct FrameGlobals : Globals
{
    // The block cache of the one thread that uses the library; null after InitTerm::setMT.
    BlockClasses *singleCache = nullptr;
};
TAVRIN_API extern FrameGlobals globals;

} // namespace detail

inline Globals *Globals::get()
{
    return &detail::globals;
}

// Callbacks: the host's table of hooks.
// Owns:    nothing; the host keeps the registered instance alive.
// Threads: set is the host's, before threads start; the hooks run on the thread that needs them.
class TAVRIN_API Callbacks
{
public:
    Callbacks() = default;
    Callbacks(const Callbacks &) = default;
    Callbacks &operator=(const Callbacks &) = default;
    virtual ~Callbacks();

    // May fill in the locale, and a family name that localisers receive with it.
    virtual void getLocale(String &locale, String &family) = 0;
    // Asked for the class catalogue of the "JavaScript" dictionary; null when there is none.
    virtual Dictionary *getDictionary() = 0;
    // For the interpreter and the host: not called from within this library.
    virtual void hook3() = 0;
    // Asked after getDictionary, in the same way.
    virtual Dictionary *getHostDictionary() = 0;
    virtual void hook5() = 0;
    virtual void hook6() = 0;
    virtual void hook7() = 0;
    virtual void hook8() = 0;

    // The registered hooks; null when there are none.
    static Callbacks *get();
    static void set(Callbacks *callbacks);
};

} // namespace Tavrin
