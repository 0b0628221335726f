// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Array.h>
#include <tavrin/Export.h>
#include <tavrin/Heap.h>
#include <tavrin/Variant.h>

namespace Tavrin {

class Broadcaster;
class Error;
class LiveObject;
class SimpleArray;
class String;

namespace detail {
class BroadcasterData;
class BroadcasterPin;
} // namespace detail

// Message: what a Broadcaster sends to its listeners.
// Owns:    nothing. It lives on the stack of its sender; a listener does not keep it.
// Threads: one thread's.
class TAVRIN_API Message : public Root
{
public:
    explicit Message(int id);
    ~Message() override;

    // A four-character code, written big-endian.
    int getID() const { return id; }
    // Who is broadcasting it; null before and after.
    const Broadcaster *getSender() const { return sender; }
    // The value that it carries, which listeners may write to; null if it carries none.
    virtual Variant *getData() const;

private:
    friend class Broadcaster;

    const Broadcaster *sender = nullptr;
    int id;
};

// DataMessage: a Message with a value. Listeners answer by writing to it.
class TAVRIN_API DataMessage : public Message
{
public:
    explicit DataMessage(int id);
    DataMessage(int id, const Variant &value);
    DataMessage(int id, const String &string);
    DataMessage(int id, const char *bytes);
    DataMessage(int id, const unsigned short *units);
    DataMessage(int id, int number);
    DataMessage(int id, double number);
    DataMessage(int id, bool flag);
    // A null pointer gives a null value.
    DataMessage(int id, LiveObject *object);
    ~DataMessage() override;

    Variant *getData() const override;

private:
    mutable Variant data;
};

// ArgumentsMessage: a DataMessage with a list of arguments, for the messages of hosts.
class TAVRIN_API ArgumentsMessage : public DataMessage
{
public:
    ArgumentsMessage(int id, const Array &arguments);
    ~ArgumentsMessage() override;

    const Array &getArgs() const { return args; }

private:
    Array args;
};

// LiveMessage: how a LiveObject asks whoever serves one of its properties. Listeners leave their
// answer in getData() and getError(), and the id of a name that they know in getPropertyID().
class TAVRIN_API LiveMessage : public DataMessage
{
public:
    LiveMessage(const LiveObject &object, int id, int propertyID, Error *error);
    LiveMessage(const LiveObject &object, int id, int propertyID, const Variant &value,
                Error *error);
    LiveMessage(const LiveObject &object, int id, int propertyID, const Array &arguments,
                Error *error);
    // Listeners add to `ids`.
    LiveMessage(const LiveObject &object, int id, SimpleArray &ids);
    ~LiveMessage() override;

    // The object that the message is about; for a call, the one that the method works on.
    const LiveObject *getThis() const { return thisObject; }
    const Array &getArgs() const { return args; }
    // Null unless ids are asked for.
    SimpleArray *getEnumIDs() const { return enumIDs; }
    // Where a listener may word its failure; may be null.
    Error *getExtError() const { return extError; }

    int &getPropertyID() { return propertyID; }
    int getPropertyID() const { return propertyID; }
    // The language bits of a lookup; 0x10000 at first.
    int &getLanguage() { return language; }
    int getLanguage() const { return language; }
    // The code of the answer; 0 at first.
    int &getError() { return error; }
    int getError() const { return error; }

private:
    const LiveObject *thisObject;
    int propertyID;
    Array args;
    int language = 0x10000;
    SimpleArray *enumIDs = nullptr;
    Error *extError;
    int error = 0;
};

// Listener: what hears messages. A listener is removed from its broadcasters before it dies.
class TAVRIN_API Listener
{
public:
    virtual ~Listener();

    // True ends the broadcast: nobody else hears the message.
    virtual bool notify(Message &message) = 0;

protected:
    Listener() = default;
    Listener(const Listener &) = default;
    Listener &operator=(const Listener &) = default;
};

// Broadcaster: what keeps listeners, by the ids of the messages that they want to hear.
// Owns:    the lists; not the listeners.
// Threads: any, after InitTerm::setMT. A broadcast holds the broadcaster's own lock, so that its
//          listeners are called one at a time.
// Cost:    nothing until the first listener comes; a broadcast costs one lookup and one call for
//          each listener, as long as no list changes meanwhile.
// Failure: std::bad_alloc from addListener, and from a broadcast during which a list changed; the
//          listener is then not added, or the rest of the listeners not called. So it is with what
//          a listener throws; at a farewell it goes no further.
class TAVRIN_API Broadcaster
{
public:
    // Hears the messages of all ids.
    static constexpr int allMessages = 0x414C4C21; // "ALL!"
    // A broadcaster is about to die: sent in this order.
    static constexpr int firstFarewell = 0x44454C45; // "DELE"
    static constexpr int lastFarewell = 0x44454C21;  // "DEL!"

    Broadcaster() = default;
    // Listeners belong to one object: a copy has none, and assignment changes nothing.
    Broadcaster(const Broadcaster &) noexcept {}
    Broadcaster &operator=(const Broadcaster &) noexcept { return *this; }
    // Says farewell, if anyone listens to that.
    ~Broadcaster();

    // A listener stands in a list once. With the id "ALL!" it leaves all others.
    void addListener(Listener &listener, int id);
    // With the id "ALL!" it leaves every list.
    void removeListener(Listener &listener, int id);
    bool isListening(int id) const;

    // Calls the listeners of the message's id in the order in which they came, until one answers
    // true, and then, unless one did, those of "ALL!". The result is the last answer. Listeners may
    // add and remove themselves and others, broadcast again, and end this object's life; no
    // listener of a list is called twice. D-210: a listener that removes more than one listener
    // at or before its own place makes the next ones miss the message.
    bool broadcast(Message &message) const;
    bool broadcast(int id) const;

private:
    friend class detail::BroadcasterPin;

    detail::BroadcasterData &makeRecord();
    detail::BroadcasterData *record() const { return __atomic_load_n(&data, __ATOMIC_ACQUIRE); }

    detail::BroadcasterData *data = nullptr;
};

} // namespace Tavrin
