// SPDX-License-Identifier: MIT
#pragma once

#include <limits>

#include <tavrin/Export.h>
#include <tavrin/Heap.h>
#include <tavrin/LivePropertyManager.h>
#include <tavrin/Refcountable.h>
#include <tavrin/String.h>
#include <tavrin/Variant.h>

// The records by which classes describe themselves to scripts and tools: a ClassInfo has services
// (properties and methods), a ServiceInfo has types and parameters. All texts are answered by
// storing them in the caller's String; they are empty when there is nothing to say.

namespace Tavrin {

class FileSpec;
class SimpleArray;
class SimpleTypeInfo;

// What a record stands for beside what it is.
enum InfoState : int
{
    kStateDynamic = 0,
    kStateEnumeration = 6, // a class whose services are its constants; a service that is constant
};

// What a class record describes.
enum ClassKind : int
{
    kClassOfTable = 0,  // the table of a class
    kClassOfObject = 1, // one object, with its components and its own properties
};

// The kinds of value that a TypeInfo has beside those of Variant.
inline constexpr VariantType kAnyType{126};
inline constexpr VariantType kNoType{127}; // nothing was said about it

// For ClassInfo::enumerate: the static services in place of those of the instances.
inline constexpr int kListStatic = 0x0400'0000;

// TypeInfo: the type of a property, of a result or of a parameter.
// Owns:    nothing. It belongs to the record that hands it out.
// Failure: nothing throws; without memory a text is left empty and parse gives null.
class TAVRIN_API TypeInfo : public Root
{
public:
    ~TypeInfo() override;

    virtual VariantType getDataType() const = 0;
    // The word for the type, or the name of the class that it is.
    virtual void getDataTypeAsString(String &out) const;
    // The name of the class, if one is known.
    virtual void getDataClass(String &out) const;
    // Whether it is a list of such values.
    virtual bool isCollection() const;
    // Stores the limits, which are infinite where there is none. True if there is one.
    virtual bool getValidRange(double &min, double &max) const;
    // Stores the default, or undefined and answers false.
    virtual bool getDefaultValue(Variant &out) const;
    virtual void getDescription(String &out) const;

    // "any" for whatever is no kind of value.
    static const char *convertDataTypeToString(VariantType type);

    // Reads the description of a service, as it stands in a LivePropertyInfo: a list, separated by
    // commas, of a segment for the result and one for each parameter. A segment is a head, a short
    // and a long description, separated by tabs; the head of a parameter is "name:type", or a type
    // alone; a type is "word;min;max;default;collection", where all behind the word may be missing:
    //
    //   "bool\tConverts the value.,unit:string\tThe name of the unit.,digits:int;0;15;6"
    //
    // The words are undefined, boolean, bool, number, int, uint, string, object, Object and any;
    // D-282: another one that begins with a letter is the name of a class. Everything else is any.
    // D-281: if the first head has a name, there is no segment for the result, which then is any.
    // D-283: a default that begins with a digit or a sign is a number, other texts are strings, but
    // for undefined, null, true and false. The result
    // of a property may be "type1/type2": one for reading and one for writing. Blanks around names
    // and words do not count.
    //
    // `index` is that of a parameter, or -1 for the result, as all negative ones. The result is
    // new and the caller's, and so is the type for writing, which is null if there is none. Each
    // pointer may be null. A parameter without a name is called "arg" and its number, from 1 on.
    static SimpleTypeInfo *parse(const String &text, int index, String *name, String *shortText,
                                 String *longText, TypeInfo **setterType);
};

// SimpleTypeInfo: a TypeInfo that was read from a description. Its description is the short text of
// the segment.
class TAVRIN_API SimpleTypeInfo : public TypeInfo
{
public:
    // Without a type.
    SimpleTypeInfo();
    // Of the text of a type, see parse.
    SimpleTypeInfo(detail::UnitView type, const String &shortText, const String &longText);
    ~SimpleTypeInfo() override;

    VariantType getDataType() const override;
    void getDataTypeAsString(String &out) const override;
    void getDataClass(String &out) const override;
    bool isCollection() const override;
    bool getValidRange(double &min, double &max) const override;
    bool getDefaultValue(Variant &out) const override;
    void getDescription(String &out) const override;

private:
    void read(detail::UnitView type);
    void setWord(detail::UnitView word);

    Variant defaultValue;
    String dataClass;
    String shortDescription;
    String longDescription;
    VariantType dataType = kNoType;
    double minValue = -std::numeric_limits<double>::infinity();
    double maxValue = std::numeric_limits<double>::infinity();
    bool isCollection_ = false;
    bool hasRange = false;
    bool hasDefault = false;
};

// ParamInfo: a parameter of a method. Whoever gets one releases it, as all that follow here.
class TAVRIN_API ParamInfo : public Refcountable
{
public:
    void release() const override;
    virtual int getLanguage() const;
    virtual InfoState getState();
    virtual void getName(String &out) const;
    virtual void getDescription(bool longForm, String &out) const;
    virtual const TypeInfo &getTypeInfo() const = 0;

protected:
    ~ParamInfo() override;
};

// ServiceInfo: a property or a method. The base class has no text, no parameters and no language.
class TAVRIN_API ServiceInfo : public Refcountable
{
public:
    void release() const override;
    virtual int getLanguage() const;
    virtual InfoState getState();
    virtual void getName(String &out) const = 0;
    virtual void getDescription(bool longForm, String &out) const;
    virtual int getID() const = 0;
    virtual InfoType getType() const = 0;
    // The type of the value, or of the result of a method; and the one for writing.
    virtual const TypeInfo &getTypeInfo() const = 0;
    virtual const TypeInfo &getTypeInfo2() const;
    virtual int getParamCount() const;
    // Null for an index out of range.
    virtual const ParamInfo *getParamInfo(int index) const;
    // An example: the file that has it, or its text. False if there is none.
    virtual bool getSampleCode(FileSpec &out) const;
    virtual bool getSampleCode(String &out) const;

protected:
    ~ServiceInfo() override;
};

// ClassInfo: a class, by its services. The base class has no texts and no static services.
class TAVRIN_API ClassInfo : public Refcountable
{
public:
    void release() const override;
    virtual void getSuperclass(String &out) const;
    virtual int getLanguage() const;
    virtual InfoState getState();
    virtual void getName(String &out) const = 0;
    virtual void getDescription(bool longForm, String &out) const;
    virtual ClassKind getKind() const = 0;
    // Appends the ids of the services that `flags` asks for, as LivePropertyManager::enumerate;
    // without languages there, those of the default language. The result is a code.
    virtual int enumerate(SimpleArray &ids, int flags) const;
    // Null if there is no such service.
    virtual const ServiceInfo *getServiceInfo(const String &name) const = 0;
    virtual const ServiceInfo *getServiceInfo(int id) const;
    // An empty name asks for the constructor.
    virtual const ServiceInfo *getStaticServiceInfo(const String &name) const;
    virtual const ServiceInfo *getStaticServiceInfo(int id) const;
    // An example: the file that has it, or its text. False if there is none.
    virtual bool getSampleCode(FileSpec &out) const;
    virtual bool getSampleCode(String &out) const;

protected:
    ~ClassInfo() override;
};

// PropServiceInfo: a service that a row of a property table describes. Components and managers of
// hosts may hand it out too.
// Owns:    copies of its texts.
// Failure: std::bad_alloc from the constructor.
class TAVRIN_API PropServiceInfo : public ServiceInfo
{
public:
    PropServiceInfo(int id, const String &name, InfoType type, const String &description);

    void getName(String &out) const override;
    void getDescription(bool longForm, String &out) const override;
    int getID() const override;
    InfoType getType() const override;
    const TypeInfo &getTypeInfo() const override;
    const TypeInfo &getTypeInfo2() const override;
    int getParamCount() const override;
    const ParamInfo *getParamInfo(int index) const override;

protected:
    ~PropServiceInfo() override;

private:
    String name;
    String description;
    String shortText;
    String longText;
    int id;
    InfoType type;
    TypeInfo *setterTypeInfo = nullptr; // null if it is the same; set together with the next one
    TypeInfo *typeInfo;
};

} // namespace Tavrin

// PropertyManagerClassInfo: a class that a property table describes.
// Owns:    a property manager over the table, which has to outlive it.
// Failure: std::bad_alloc from the constructor.
class TAVRIN_API PropertyManagerClassInfo : public Tavrin::ClassInfo
{
public:
    PropertyManagerClassInfo(const Tavrin::LivePropertyInfo *table, const Tavrin::String &name);

    void getName(Tavrin::String &out) const override;
    // One text, for both forms.
    void getDescription(bool longForm, Tavrin::String &out) const override;
    Tavrin::ClassKind getKind() const override;
    int enumerate(Tavrin::SimpleArray &ids, int flags) const override;
    const Tavrin::ServiceInfo *getServiceInfo(const Tavrin::String &name) const override;
    const Tavrin::ServiceInfo *getServiceInfo(int id) const override;
    using ClassInfo::getStaticServiceInfo;
    const Tavrin::ServiceInfo *getStaticServiceInfo(const Tavrin::String &name) const override;

    // To assemble a class from several tables.
    Tavrin::LivePropertyManager &getPropertyManager() { return manager; }
    const Tavrin::String &getText() const { return text; }
    void setText(const Tavrin::String &description);

protected:
    ~PropertyManagerClassInfo() override;

private:
    Tavrin::LivePropertyManager manager;
    Tavrin::String name;
    Tavrin::String text;
};
