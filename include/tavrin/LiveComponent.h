// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Export.h>
#include <tavrin/LiveObject.h>

namespace Tavrin {

// LiveComponent: properties and methods that are added to objects at run time, and shared by
// objects of several classes. A class derives from it, describes its rows in a table (see
// LivePropertyManager), and overrides get, put and call. Each operation receives the object that it
// is about, because one component may serve many.
// Owns:    nothing. The objects that it was added to hold a reference each.
// Threads: its objects hold its optional lock around their calls.
// Failure: codes of errors, worded by the object. What a subclass does not override, and what is
//          not in the table, is unknown: 2, 41 for an index, kInfoNone and null.
class TAVRIN_API LiveComponent : public LiveBase
{
public:
    LiveComponent() = default;

    // Called by LiveObject::reset.
    virtual void reset();

    // As the operations of LiveObject; these answer from the table.
    virtual int getIDForName(const LiveObject &object, const String &name, int &id, InfoType &type,
                             int flags) const;
    virtual int getNameForID(const LiveObject &object, int id, String &name, int flags) const;
    // kInfoHidden makes a property unknown to the object, whoever else has it.
    virtual InfoType getType(const LiveObject &object, int id);
    virtual bool hasOperators() const;
    virtual int enumerate(const LiveObject &object, SimpleArray &ids, int flags) const;
    virtual const ServiceInfo *getServiceInfo(const LiveObject &object, int id, int flags) const;

    virtual int get(const LiveObject &object, int id, Variant &out, Error *error) const;
    virtual int put(LiveObject &object, int id, const Variant &value, Error *error);
    virtual int call(LiveObject &object, int id, const Array &args, Variant &result, Error *error);
    // Whether the method works on objects of any class. False, unless a subclass knows better.
    virtual bool isGeneric(int id) const;

    // Whether it serves the elements of a LiveCollection; then these do. False.
    virtual bool isIndexable() const;
    virtual int getLength(const LiveObject &object, unsigned int &length) const;
    virtual int putLength(LiveObject &object, unsigned int length);
    virtual int getByIndex(const LiveObject &object, unsigned int index, Variant &out,
                           Error *error) const;
    virtual int putByIndex(LiveObject &object, unsigned int index, const Variant &value,
                           Error *error);
    virtual int deleteByIndex(LiveObject &object, unsigned int index);

protected:
    ~LiveComponent() override;
};

} // namespace Tavrin
