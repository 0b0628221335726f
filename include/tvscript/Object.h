// SPDX-License-Identifier: MIT
#pragma once

namespace Tavrin {
class Error;
class LiveObject;
class Root;
class String;
class Variant;
template <class T>
class THashTable;
} // namespace Tavrin

namespace TvScript {

// Engine: an interpreter. The library only hands pointers to it on.
class Engine;

// Object: an object of a script, as values hold it. Interpreters derive their objects from it and
// compile against this layout.
// Owns:    itself: when the last value lets it go, the library calls destroy.
// Threads: the counters are plain, so one thread handles the objects of an engine.
// Failure: the operations do not throw.
class Object
{
public:
    // The class tag of regular-expression objects.
    static constexpr int regExpTag = 0x20000091;

    Tavrin::LiveObject *wrappedObject = nullptr; // what it shows to scripts, or null
    int objectID = 0;
    Tavrin::Root *data = nullptr; // see setData
    int refCount = 0;             // values that hold it
    int hardRefCount = 0;         // those of them that are hard holders; see Variant::setHardRef
    int classTag = 0;

    virtual bool isValid() const = 0;
    // Called when refCount has come down to 0; nothing touches the object afterwards.
    virtual void destroy() = 0;
    virtual void toString(Tavrin::String &text) = 0;
    virtual void setData(Tavrin::Root *object) = 0;
    // The value inside a boxed object; null if there is none.
    virtual const Tavrin::Variant *getValue() const = 0;
    virtual Engine *getEngine() const = 0;
    virtual void setObjectID(int id) = 0;
    // Its primitive value; false if it has none. A hint of 1 asks for a string.
    virtual bool valueOf(Tavrin::Variant &value, int hint) = 0;
    // All properties at once; 0 or an error code.
    virtual int getProperties(Tavrin::THashTable<Tavrin::Variant> &properties, int flags,
                              Tavrin::Error *error) = 0;
    virtual int setProperties(const Tavrin::THashTable<Tavrin::Variant> &properties,
                              Tavrin::Error *error) = 0;

protected:
    Object() = default;
    ~Object() = default;
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;
};

} // namespace TvScript
