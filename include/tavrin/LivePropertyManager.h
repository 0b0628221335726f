// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include <tavrin/Export.h>
#include <tavrin/Heap.h>
#include <tavrin/Lock.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

namespace Tavrin {

class Array;
class LiveObject;
class LivePropertyManagerImpl;
class ServiceInfo;
class SimpleArray;

namespace detail {
struct LivePropertyAccess;
struct LivePropertyManagerAccess;
} // namespace detail

// What a name or an id stands for.
enum InfoType : int
{
    kInfoReadOnly = 1,
    kInfoReadWrite = 2,
    kInfoMethod = 5,
    kInfoReadWriteMethod = 6, // a property that can also be called
    kInfoReadOnlyMethod = 7,
    kInfoNone = 16,   // unknown here: the next provider is asked
    kInfoHidden = 17, // ends the search: the name is hidden from this object
};

// The flags word of a row and of a dynamic property: an InfoType in the low four bits, and these.
inline constexpr int kPropertyTypeMask = 0xF;
inline constexpr int kPropertyUnlisted = 0x20; // enumerated only on demand, see kListUnlisted
inline constexpr int kPropertyPrivate = 0x80;  // enumerated only on demand, see kListPrivate
// For dynamic properties only.
inline constexpr int kPropertyListedReadOnly = 0x10; // enumerated among the read-only ones
inline constexpr int kPropertyPermanent = 0x40;      // survives the deletion of properties
inline constexpr int kPropertyShownAsMethod = 0x100; // reflection shows it as a method
inline constexpr int kPropertyFirstPut = 0x200000;   // the first write of a read-only one is open
inline constexpr int kPropertyByMessage = 0x400000;  // its value lives with listeners

// The languages that a row is valid in, and those of a lookup. A row without any is valid in all.
inline constexpr int kLanguageMask = 0xFF0000;
inline constexpr int kDefaultLanguage = 0x10000;
inline constexpr int kCaselessLanguage = 0x40000; // alone: upper and lower case are the same
inline constexpr int kUsedLanguages = 0x70000;

// What an enumeration is to contain, beside the languages.
inline constexpr int kListUnlisted = 0x0800'0000;
inline constexpr int kListPrivate = 0x1000'0000;
inline constexpr int kListReadWrite = 0x2000'0000;
inline constexpr int kListReadOnly = 0x4000'0000;
inline constexpr int kListMethods = static_cast<int>(0x8000'0000u);

// Operators are methods with these ids.
inline constexpr int firstOperatorID = 0x1FF10100;
inline constexpr int lastOperatorID = 0x1FF10118;
constexpr bool isOperatorID(int id) noexcept
{
    return id >= firstOperatorID && id <= lastOperatorID;
}

// LivePropertyInfo: one row of a host's table of properties. A row with a null name ends the table;
// one with an empty name describes the constructor of the class.
struct LivePropertyInfo
{
    const char *name;
    int id;
    int flags;
    const char *description; // see TypeInfo::parse; may be null
};

// LivePropertyManager: the properties and methods of a class, by name and by id. One manager serves
// all instances of a class, and is usually a static object beside its table:
//
//   constexpr LivePropertyInfo rows[] = {
//       {"size", 1, kInfoReadOnly, "number\tThe size in bytes."},
//       {"clear", 2, kInfoMethod, "undefined\tEmpties the document."},
//       {nullptr, 0, 0, nullptr},
//   };
//   LivePropertyManager properties(rows);
//
// A manager begins static: it uses the table in place. The first registration of a single row makes
// it dynamic for good: it then has tables of its own, and copies of all texts.
// Owns:    nothing of a static table, which has to outlive it.
// Threads: lookups may run on several threads at once. Registration may not run beside anything
//          else. The manager never takes its own optional lock; the objects that it serves do.
// Cost:    a static manager allocates nothing until its first lookup, which makes an index; it may
//          be constructed before InitTerm::init and live on after InitTerm::exit. A lookup takes
//          O(1), but for the name of an id in a dynamic manager: O(n).
// Failure: 2 for an unknown name or id; kInfoNone and null likewise. Nothing throws: without memory
//          a name or a list is left empty and the code is -28, a record is null, and a registration
//          leaves out what it cannot store.
class TAVRIN_API LivePropertyManager : public Root, public Lockable
{
public:
    // A null pointer counts as an empty table.
    explicit LivePropertyManager(const LivePropertyInfo *table);
    LivePropertyManager();
    ~LivePropertyManager() override;

    // The id and type of a name; 0 and kInfoNone if there is none. An empty name has no id. The
    // first row counts that has the name and shares a language with `flags`, or is valid in all.
    // D-220: a dynamic manager refuses a name only if it shares some of the languages of `flags`
    // and not all of them.
    virtual int getIDForName(const String &name, int &id, InfoType &type, int flags) const;
    // The name of an id, in the languages of `flags`; else the name is emptied. D-221: a static
    // manager looks at the first row with the id only.
    virtual int getNameForID(int id, String &name, int flags) const;
    // Not constant where a host overrides it, like that of objects and components.
    virtual InfoType getType(int id);
    InfoType getType(int id) const { return const_cast<LivePropertyManager *>(this)->getType(id); }
    // Appends the ids of all rows that `flags` asks for, by what is to be listed and
    // by the languages. D-222: rows of a type that can also be called, and of none of the types
    // above, always belong to it.
    virtual int enumerate(SimpleArray &ids, int flags) const;
    // The records belong to the caller, who releases them. Names are compared exactly. D-223: of
    // several fitting constructors in a static table the last one counts, and the one of a dynamic
    // manager fits any language.
    virtual const ServiceInfo *getConstructor(int flags) const;
    virtual const ServiceInfo *getServiceInfo(const String &name, int flags) const;
    virtual const ServiceInfo *getServiceInfo(int id, int flags) const;

    // Whether there are operators. D-224: a table that replaced another is not searched for them.
    bool hasOperators() const;

    // A static manager gets this table in place of its own; a dynamic one adds the rows.
    void registerProperties(const LivePropertyInfo *table);
    // Add one row. A name that is known gets a new meaning; D-225: an id that is known keeps its
    // first type and description, and is only valid in more languages. A null name registers the
    // id alone.
    void registerProperty(const LivePropertyInfo &row);
    void registerProperty(const char *name, int id, int flags, const char *description);

private:
    friend struct detail::LivePropertyManagerAccess;

    void makeDynamic() noexcept;
    void dropImpl() noexcept;

    LivePropertyManagerImpl *impl;
    alignas(void *) std::byte staticForm[4 * sizeof(void *)]; // the first impl, made in place
};

// LiveProperty: one dynamic property of one object. LiveObject::createProperty makes them; a host
// that wants other properties overrides it and returns a subclass.
// Owns:    its value. It belongs to its object.
// Threads: as its object.
// Failure: codes of errors.
class TAVRIN_API LiveProperty : public Root
{
public:
    // D-226: flags without a type mean a read-write property; any odd type is read-only.
    LiveProperty(LiveObject &owner, const String &name, int id, unsigned int flags);
    ~LiveProperty() override;

    // Compare the values, as Variant does.
    virtual bool operator==(const LiveProperty &other) const;
    virtual int compare(const LiveProperty &other) const;

    virtual int get(Variant &out) const;
    // D-227: a read-only property takes one value, its first; then the code is 46.
    virtual int put(const Variant &newValue);
    // 24 with an undefined result: a value cannot be called. Subclasses can.
    virtual int call(const Array &args, Variant &result);

    LiveObject &getOwner() const { return *owner; }
    LiveProperty *getNext() const { return next; }
    const String &getName() const { return name; }
    int getID() const { return id; }
    unsigned int getFlags() const { return flags; }
    InfoType getType() const { return static_cast<InfoType>(flags & kPropertyTypeMask); }
    // The place in the order of enumeration.
    int getIndex() const { return index; }

protected:
    Variant &getValue() { return value; }
    const Variant &getValue() const { return value; }

private:
    friend class LiveObject;
    friend struct detail::LivePropertyAccess;

    LiveObject *owner;
    LiveProperty *next = nullptr;
    String name;
    int index = 0;
    Variant value;
    [[maybe_unused]] int reserved = 0;
    int id;
    unsigned int flags;
    [[maybe_unused]] int version = 1;
    LiveProperty *previous = nullptr; // in the list; null for the first
};

} // namespace Tavrin
