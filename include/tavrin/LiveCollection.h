// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Array.h>
#include <tavrin/Export.h>
#include <tavrin/LiveObject.h>

namespace Tavrin {

// LiveCollection: an object with a length and elements. A class overrides the five operations on
// them, or leaves them to the first indexable component, or else to listeners.
// Owns:    nothing more than a LiveObject.
// Threads: as LiveObject. D-270: the lock of the component is not taken for elements.
// Failure: codes of errors; 46 for every change of a read-only collection, 41 for an element that
//          nobody serves. A change that succeeds is autostored, and its code is then that of it.
class TAVRIN_API LiveCollection : public LiveObject
{
public:
    // Without a class name it is a "Collection". A length id of 0 means a new one. Only a writable
    // collection is dynamic.
    LiveCollection(const char *className, int lengthID, bool isReadOnly);

    static int getInterfaceID() { return asLiveCollection; }

    const void *getAs(int code) const override;
    void *getAs(int code) override;

    // The property "length" comes first. In the caseless language it reads "Length".
    int getIDForName(const String &name, int &id, InfoType &type, int flags) const override;
    int getNameForID(int id, String &name, int flags) const override;
    int enumerate(SimpleArray &ids, int flags) const override;
    InfoType getType(int id) override;
    int get(int id, Variant &out, Error *error) const override;
    int put(int id, const Variant &value, Error *error) override;
    using LiveObject::get;
    using LiveObject::put;

    virtual int getLength(unsigned int &length) const;
    // D-271: listeners hear of it also when a component has served it.
    virtual int putLength(unsigned int length);
    virtual int getByIndex(unsigned int index, Variant &out, Error *error) const;
    virtual int putByIndex(unsigned int index, const Variant &value, Error *error);
    // D-272: listeners are asked if one of them listens to askPutIndex.
    virtual int deleteByIndex(unsigned int index);

    int getLengthID() const { return lengthID; }
    bool isReadOnly() const { return readOnly; }
    // 0 if it fails.
    unsigned int length() const;

protected:
    ~LiveCollection() override;

private:
    int lengthID;
    bool readOnly;
};

// LiveArray: the collection of the elements of an Array.
// Owns:    its array. D-273: a read-only one is not dynamic and refuses a new length by name; by
//          index, by id and by putLength it can still be written to.
// Failure: as LiveCollection; a missing element is undefined, and a new one makes the array longer.
class TAVRIN_API LiveArray : public LiveCollection
{
public:
    LiveArray(const char *className, int lengthID, bool isReadOnly);
    // Shares the elements until one of the two is written to.
    LiveArray(const Array &elements, const char *className, int lengthID, bool isReadOnly);

    static int getInterfaceID() { return asArray; }

    const void *getAs(int code) const override;
    void *getAs(int code) override;
    int getLength(unsigned int &length) const override;
    int putLength(unsigned int length) override;
    int getByIndex(unsigned int index, Variant &out, Error *error) const override;
    int putByIndex(unsigned int index, const Variant &value, Error *error) override;
    // Also removes all elements.
    void reset() override;
    // The texts of the elements with commas in between, as far as there are not more than 1000. An
    // undefined element has an empty text, and the array itself "[object Class]".
    void toString(String &out) const override;

    Array &getArray() { return array; }
    const Array &getArray() const { return array; }

protected:
    ~LiveArray() override;

private:
    bool tellByMethod(String &out) const;

    Array array;
};

} // namespace Tavrin
