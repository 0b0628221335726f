// SPDX-License-Identifier: MIT
#pragma once

#include <tavrin/Message.h>
#include <tavrin/Reflection.h>

namespace Tavrin {

class LiveObject;

// LiveObjectClassInfo: the class of an object, with what its components and its own properties add.
// Owns:    nothing of the object. It hears of the object's end, and then knows the name only.
// Threads: as the object, whose lock it takes.
// Failure: std::bad_alloc from the constructor.
class LiveObjectClassInfo final : public ClassInfo, public Listener
{
public:
    explicit LiveObjectClassInfo(LiveObject &object);

    void getName(String &out) const override;
    ClassKind getKind() const override;
    // 45 when the object is gone.
    int enumerate(SimpleArray &ids, int flags) const override;
    using ClassInfo::getStaticServiceInfo;
    const ServiceInfo *getServiceInfo(const String &service) const override;
    const ServiceInfo *getServiceInfo(int id) const override;
    const ServiceInfo *getStaticServiceInfo(const String &service) const override;

    bool notify(Message &message) override;

private:
    ~LiveObjectClassInfo() override;

    const ServiceInfo *newService(int id) const;
    const ServiceInfo *newPropertyService(const LiveProperty &property) const;
    const ServiceInfo *newRowService(int id) const;
    const ServiceInfo *newOverrideService(int id) const;

    LiveObject *object; // not counted; null once it is gone
    String name;
};

// LiveObjectTypeInfo: the type of a value that no row describes.
class LiveObjectTypeInfo final : public TypeInfo
{
public:
    explicit LiveObjectTypeInfo(VariantType kind) : dataType(kind) {}

    VariantType getDataType() const override { return dataType; }

private:
    VariantType dataType;
};

// LiveObjectServiceInfo: a service of an object, as its provider describes it.
// Owns:    a reference to its class and one to the provider's record.
// Failure: nothing throws; where the provider does, there is nothing to say.
class LiveObjectServiceInfo final : public ServiceInfo
{
public:
    // Takes over the caller's reference to `record`. A kind replaces the type that the record has,
    // unless it is kNoType.
    LiveObjectServiceInfo(const ClassInfo &ofClass, InterfacePtr<const ServiceInfo> record,
                          VariantType kind);

    int getLanguage() const override;
    InfoState getState() override;
    void getName(String &out) const override;
    void getDescription(bool longForm, String &out) const override;
    int getID() const override;
    InfoType getType() const override;
    const TypeInfo &getTypeInfo() const override;
    const TypeInfo &getTypeInfo2() const override;
    int getParamCount() const override;
    const ParamInfo *getParamInfo(int index) const override;
    bool getSampleCode(FileSpec &out) const override;
    bool getSampleCode(String &out) const override;

private:
    ~LiveObjectServiceInfo() override;

    InterfacePtr<const ClassInfo> owner;
    InterfacePtr<const ServiceInfo> service;
    LiveObjectTypeInfo valueType;
};

// LiveObjectParamInfo: a parameter of such a service.
// Owns:    a reference to its service and one to the provider's record.
// Failure: as LiveObjectServiceInfo.
class LiveObjectParamInfo final : public ParamInfo
{
public:
    LiveObjectParamInfo(const ServiceInfo &ofService, InterfacePtr<const ParamInfo> record,
                        int atIndex);

    int getLanguage() const override;
    InfoState getState() override;
    // A parameter that its provider gives no name is called as TypeInfo::parse would.
    void getName(String &out) const override;
    void getDescription(bool longForm, String &out) const override;
    const TypeInfo &getTypeInfo() const override;

private:
    ~LiveObjectParamInfo() override;

    InterfacePtr<const ServiceInfo> owner;
    InterfacePtr<const ParamInfo> param;
    int index;
    const LiveObjectTypeInfo noType{kNoType};
};

} // namespace Tavrin
