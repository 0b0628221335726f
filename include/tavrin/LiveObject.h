// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Export.h>
#include <tavrin/LivePropertyManager.h>
#include <tavrin/Lock.h>
#include <tavrin/Message.h>
#include <tavrin/Refcountable.h>
#include <tavrin/String.h>

namespace Tavrin {

class Array;
class ClassInfo;
class Error;
class LiveComponent;
class LiveObjectData;
class Root;
class SimpleArray;
class StaticPropertyManager;
class Variant;

namespace detail {
struct LiveObjectAccess;
}

// The number that four characters stand for, as ids of messages, properties and interfaces.
constexpr int fourCharCode(const char (&code)[5]) noexcept
{
    unsigned number = 0;
    for (int at = 0; at < 4; ++at)
        number = number << 8 | static_cast<unsigned char>(code[at]);
    return static_cast<int>(number);
}

// Ids with a fixed meaning, beside those of operators.
inline constexpr int constructorID = 0x1FF00000; // a call makes a new object of the class
inline constexpr int functionID = 0x1FF10000;    // a call of the object itself
inline constexpr int firstGivenID = 0x1F800000;  // LiveBase::getNextID counts from here

// What getAs may be asked for.
inline constexpr int asLiveObject = fourCharCode(" obj");     // LiveObject
inline constexpr int asValue = fourCharCode(" val");          // Variant, the object's own value
inline constexpr int asLiveCollection = fourCharCode(" col"); // LiveCollection
inline constexpr int asArray = fourCharCode(" ard");          // Array, of a LiveArray
inline constexpr int asUnitValue = fourCharCode("unVA");      // UnitValue

// The ids of the LiveMessages by which an object asks its listeners. The answer goes into the data
// and the error of the message, and the listener returns true.
inline constexpr int askGet = fourCharCode("loGe");
inline constexpr int askPut = fourCharCode("loPu");       // the data is the value
inline constexpr int askCall = fourCharCode("loCa");      // with arguments
inline constexpr int askInvoke = fourCharCode("loIn");    // the data is the name; with arguments
inline constexpr int askCanInvoke = fourCharCode("loCi"); // the data is the name; answer a boolean
inline constexpr int askID = fourCharCode("loGi"); // the data is the name; set the property id, and
                                                   // answer the type
inline constexpr int askIDs = fourCharCode("loEn");      // add to the enumeration
inline constexpr int askGetIndex = fourCharCode("loIg"); // of collections; the property id is the
inline constexpr int askPutIndex = fourCharCode("loIp"); // index
inline constexpr int askDeleteIndex = fourCharCode("loIt");
inline constexpr int askGetLength = fourCharCode("loLG");
inline constexpr int askPutLength = fourCharCode("loLS");

// The ids of the Messages by which an object tells its listeners.
inline constexpr int becameInvalid = fourCharCode("loIw");
inline constexpr int becameValid = fourCharCode("loRw");
inline constexpr int definitionsChanged = fourCharCode("loFo"); // see propertyDefsChanged

// LiveBase: what objects and their components have in common: references, an optional lock, a table
// of properties, validity, and the wording of errors about a property.
// Owns:    nothing; the property manager is borrowed, and usually static.
// Threads: reference counting and the valid flag: any. For the rest whoever calls holds the lock.
// Failure: codes of errors.
class TAVRIN_API LiveBase : public Refcountable, public Lockable
{
public:
    LiveBase(const LiveBase &) = delete;
    LiveBase &operator=(const LiveBase &) = delete;

    void release() const override;

    // Another face of this object, named by a four-character code, or null. The pointer was cast to
    // exactly the class of the code. Subclasses test their own codes and then ask their base.
    virtual const void *getAs(int code) const;
    virtual void *getAs(int code);

    // Retires this object: from then on every operation on it answers 45.
    virtual void invalidate();
    virtual void revalidate();
    bool isValid() const { return __atomic_load_n(&valid, __ATOMIC_RELAXED); }

    // Replaces `out` by the message of an error about the text, or about the property or index of
    // that id, as setError words it. A host may find better words. 0, or the code of a failure.
    virtual int getErrorText(String &out, int code, const String *text) const;
    virtual int getErrorText(String &out, int code, int id, bool isIndex) const;

    const LivePropertyManager *getPropertyManager() const { return propertyManager; }
    void setPropertyManager(const LivePropertyManager *manager) { propertyManager = manager; }

    // A new id, for properties that are made at run time: from firstGivenID on, one after the
    // other.
    static int getNextID();

    // Replaces `out` by how an error names the property or index. D-241: of an index it shows
    // the low 16 bits and a letter l, as in "[5l]". 0.
    int getPropertyText(String &out, int id, bool isIndex) const;
    // Pushes the code with the name of the property, unless the error already says more. Returns
    // the code.
    int setError(int code, int id, Error *error, bool isIndex) const;

protected:
    LiveBase() = default;
    ~LiveBase() override;

    // Whether the language is the one that does not tell upper from lower case.
    static bool isCaseless(int flags) { return (flags & kCaselessLanguage) != 0; }

    void setValid(bool isNowValid) { __atomic_store_n(&valid, isNowValid, __ATOMIC_RELAXED); }

private:
    const LivePropertyManager *propertyManager = nullptr;
    bool valid = true;
};

// LiveObject: an object of the application that scripts see. A class derives from it, describes its
// properties and methods in a table (see LivePropertyManager), and overrides get, put and call for
// the ids of the table; it hands all other ids on to its base.
//
// Four providers answer for a name or an id, in this order: the dynamic properties, which scripts
// add at run time; the table and the overrides of the class; the components, the last one first;
// and listeners, which are asked by messages.
//
// Owns:    its dynamic properties, its value and its data, and one reference to each component. Its
//          maker holds the first reference and gives it up by release; it is never deleted.
// Threads: an object that several threads use gets a lock by createLock. Its callers hold it around
//          every call, also of get, which remembers what was used last. The object itself takes the
//          locks of its components and of its property manager. Objects that store themselves to
//          each other in a circle belong to one thread.
// Cost:    get, put and call by id allocate nothing. The dynamic property that was used last is
//          found at once, any other one in O(1).
// Failure: codes of errors, 0 for success; what an Error * receives, which may be null. Nothing
//          throws: -28 is memory exhaustion, -29 an exception of a handler. Each operation on an
//          object that was invalidated, or found no memory when it was made, answers 45.
class TAVRIN_API LiveObject : public LiveBase, public Broadcaster, public Listener
{
public:
    // D-242: without a class name it is an "Object". A dynamic object takes new properties.
    LiveObject(const String &className, bool isDynamic);
    LiveObject(const char *className, bool isDynamic);

    const void *getAs(int code) const override;
    void *getAs(int code) override;

    // Also tell the listeners, by becameInvalid and becameValid. Only a change is told, once.
    void invalidate() override;
    void revalidate() override;

    // Makes a dynamic property, which the object takes over. A host may return a subclass.
    virtual LiveProperty *createProperty(const String &name, int id, unsigned int flags);
    // As create, for the objects inside an object text.
    virtual int createLocal(LiveObject **out, const String &wantedClass, int flags);
    // Puts a new object into *out, which is the caller's; null if that fails. It is what a call of
    // constructorID makes, or else a plain dynamic object, and then has what cloneContent copies.
    virtual int clone(LiveObject **out, bool isDeep) const;
    // Called with the arguments of a script's constructor. 0.
    virtual int initialize(const Array &args, Error *error);

    virtual const String &getClassName() const;
    // Whether class name, id, autostore target and components are the same, and both are valid.
    virtual bool operator==(const LiveObject &other) const;

    // An object of the host's own, which this one takes over: it is released if it is Refcountable,
    // and otherwise deleted, when another one takes its place and when this object dies.
    // Refcountable ones get a reference.
    virtual void setData(Root *newData);
    virtual Root *getData() const;

    // Components that were added later come first. One that is there already, or that is removed
    // and is not there, makes no difference.
    virtual int addComponent(LiveComponent &component);
    virtual int removeComponent(LiveComponent &component);

    // The id and type of a name, in the languages of `flags`; 2, 0 and kInfoNone if there is none.
    virtual int getIDForName(const String &name, int &id, InfoType &type, int flags) const;
    // Add a dynamic property with the flags of a row, and a new id or that one. 55 if the object is
    // not dynamic, 40 if there is one of this name.
    virtual int createIDForName(const String &name, int &id, int flags);
    virtual int defineIDForName(const String &name, int id, int flags);
    virtual int getNameForID(int id, String &name, int flags) const;

    // Without `all`, the permanent ones stay.
    virtual void deleteDynamicProperties(bool all);
    virtual bool hasOperators() const;
    // Deletes a dynamic property; 2 if it is none, or permanent.
    virtual int deleteID(int id);
    // Resets the components and deletes all dynamic properties. The flags keep their upper eight
    // bits and their lower two.
    virtual void reset();

    // Adds the ids that `flags` asks for to `ids`, none twice: dynamic properties, in the order of
    // their making, then the table, the components and the listeners. What a component hides goes.
    virtual int enumerate(SimpleArray &ids, int flags) const;
    virtual InfoType getType(int id);
    // A description of the class, with a reference for the caller; null without memory.
    virtual const ClassInfo *getClassInfo(int flags) const;

    // Read, write or call a property by its id: 2 if it is unknown, or does not do that; a call
    // answers 24 then. `out` and `result` are emptied first; they may hold the last reference to
    // the object itself.
    virtual int get(int id, Variant &out, Error *error) const;
    // D-243: a read-only dynamic property takes one value, its first.
    virtual int put(int id, const Variant &value, Error *error);
    virtual int call(int id, const Array &args, Variant &result, Error *error);
    // A call of a method of this object that works on `thisObject`. 26 if that is of another class
    // and the method is not generic.
    virtual int apply(LiveObject &thisObject, int id, const Array &args, Variant &result,
                      Error *error) const;

    // What the method "valueOf" gives, else the object's own value, else undefined.
    virtual void valueOf(Variant &out) const;
    // What the method "toString" gives, else "[object Class]".
    virtual void toString(String &out) const;

    // The same by name, in the default language. A name that does not have a value answers 55. A
    // subclass that overrides get, put or call says `using LiveObject::get` to keep them.
    int get(const String &name, Variant &out, Error *error = nullptr) const;
    // An unknown name becomes a dynamic property with these flags; with onlyKnown, 2.
    int put(const String &name, const Variant &value, int flags, Error *error = nullptr);
    static constexpr int onlyKnown = -1;
    // 24 if it is no method.
    int call(const String &name, const Array &args, Variant &result, Error *error = nullptr);
    int call(const String &name, const Array &args, Error *error = nullptr);
    int call(const String &name, Variant &result, Error *error = nullptr);
    int call(const String &name, Error *error = nullptr);
    int call(int id);
    int call(int id, Variant &result);
    int call(int id, const Array &args);

    // Call a function of a listener or of its script by name, by askInvoke. 24 if nobody listens.
    int invoke(const String &name, const Array &args, Variant &result, Error *error = nullptr);
    int invoke(const String &name, const Array &args, Error *error = nullptr);
    int invoke(const String &name, Variant &result, Error *error = nullptr);
    int invoke(const String &name, Error *error = nullptr);
    bool canInvoke(const String &name) const;

    // Put the pairs of an object text, such as `{size: 12, name: "x", tags: [1, 2]}`, into this
    // object; nested objects are made by createLocal with these flags. The error tells the line and
    // the place of a fault; the pairs before it stay. D-244: objects nest a thousand levels deep.
    int parse(const String &text, Error &error, int flags);
    int parse(const String &text, int flags);
    // Makes the object of a text, which may begin with the name of a class. `out` is the caller's;
    // null with 0 if the text has neither a brace nor a colon. 22 if there is no such class.
    static int parseNew(const String &text, LiveObject *&out, int flags);

    int getObjectID() const;
    void setObjectID(int id);
    // Bit 0 allows dynamic properties, bit 23 belongs to the library, the others to the host.
    unsigned int getFlags() const { return flags; }
    void setFlags(unsigned int newFlags) { flags = newFlags; }

    // The component that answers for the id, other than `skip`; null if there is none.
    LiveComponent *getComponent(int id, const LiveComponent *skip) const;
    // The dynamic property, or null.
    LiveProperty *findProperty(int id) const;

    // From now on each successful change of this object is also put to that property of the target,
    // until the target dies. Null ends it.
    int setAutostore(LiveObject *target, int id) const;
    // To be called when the class of this object has changed, for caches of it.
    void propertyDefsChanged() const;

    // The registry of classes that scripts can construct. It holds a reference to the prototype,
    // and knows it by its class name and by its id, if it has one. Classes are found with flags
    // that share a bit with those given here; create answers 22 otherwise.
    static int addFactory(LiveObject &prototype, int flags);
    static int removeFactory(const String &className);
    // Borrowed from the registry.
    static LiveObject *getFactory(const String &className, int flags);
    static LiveObject *getFactory(int objectID, int flags);
    // Put a clone of the prototype into *out, which is the caller's.
    static int create(LiveObject **out, const String &className, int flags);
    static int create(LiveObject **out, int objectID, int flags);

    // Hears the end of the autostore target.
    bool notify(Message &message) override;

protected:
    ~LiveObject() override;

    // Gives the target the class name, the flags, the value and the components of this object, and
    // copies of its dynamic properties if it is deep. D-245: they stand in the opposite order.
    int cloneContent(LiveObject &target, bool isDeep) const;
    LiveComponent *lookupComponent(int id) const { return getComponent(id, nullptr); }
    LiveComponent *lookupIndexableComponent() const;
    // Puts this object to its autostore target; 0 without one. The write of an owner may store that
    // one to its own: D-268: 27 behind 256 of them in a row, which have stored then.
    int invokeAutostore(Error *error);

private:
    friend struct detail::LiveObjectAccess;

    template <class Text>
    void start(const Text &name, bool isDynamic);
    void tell(int messageID) const;
    int findOddName(const StaticPropertyManager &table, const String &name, int &id, InfoType &type,
                    int languages) const;
    int findName(const LivePropertyManager *manager, const String &name, int &id, InfoType &type,
                 int languages) const;
    int lookUp(const LivePropertyManager *manager, const String &name, int &id, InfoType &type,
               int languages) const;
    int lookUpByMessage(const String &name, int &id, InfoType &type, int languages) const;
    int lookUpName(int id, String &name, int languages) const;
    void adoptProperty(LiveProperty &property);
    bool findMethod(const char *name, int &id) const;
    int callMethod(int id, Variant &result) const;
    int cloneProperties(LiveObject &target) const;
    void endAutostore() noexcept;
    bool hasSameAutostore(const LiveObject &other) const;

    LiveObjectData *data = nullptr; // null only if there was no memory for it
    mutable unsigned int flags = 0;
    String className;
};

} // namespace Tavrin
