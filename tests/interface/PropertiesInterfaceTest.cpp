// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

#include <cstddef>

#include <gtest/gtest.h>

#include "interface/Forms.h"

using namespace Tavrin;
using test::has;

namespace {

// Reaches what is there for subclasses.
struct OpenProperty : LiveProperty
{
    using LiveProperty::LiveProperty;
};

} // namespace

TEST(PropertiesInterface, ARowIsAPlainStructure)
{
    static_assert(std::is_aggregate_v<LivePropertyInfo> && std::is_trivial_v<LivePropertyInfo>);
    static_assert(offsetof(LivePropertyInfo, name) == 0 && offsetof(LivePropertyInfo, id) == 8 &&
                  offsetof(LivePropertyInfo, flags) == 12 &&
                  offsetof(LivePropertyInfo, description) == 16);
    static_assert(kInfoReadOnly == 1 && kInfoReadWrite == 2 && kInfoMethod == 5 &&
                  kInfoReadWriteMethod == 6 && kInfoReadOnlyMethod == 7 && kInfoNone == 16 &&
                  kInfoHidden == 17);
}

TEST(PropertiesInterface, LivePropertyManager)
{
    using Manager = LivePropertyManager;
    static_assert(std::is_base_of_v<Root, Manager> && std::is_base_of_v<Lockable, Manager>);
    static_assert(std::is_default_constructible_v<Manager> &&
                  std::is_constructible_v<Manager, const LivePropertyInfo *>);
    EXPECT_TRUE((has<int (Manager::*)(const String &, int &, InfoType &, int) const>(
        &Manager::getIDForName)));
    EXPECT_TRUE((has<int (Manager::*)(int, String &, int) const>(&Manager::getNameForID)));
    EXPECT_TRUE(has<InfoType (Manager::*)(int)>(&Manager::getType));
    EXPECT_TRUE(has<InfoType (Manager::*)(int) const>(&Manager::getType));
    EXPECT_TRUE((has<int (Manager::*)(SimpleArray &, int) const>(&Manager::enumerate)));
    EXPECT_TRUE(has<const ServiceInfo *(Manager::*)(int) const>(&Manager::getConstructor));
    EXPECT_TRUE((
        has<const ServiceInfo *(Manager::*)(const String &, int) const>(&Manager::getServiceInfo)));
    EXPECT_TRUE((has<const ServiceInfo *(Manager::*)(int, int) const>(&Manager::getServiceInfo)));
    EXPECT_TRUE(has<bool (Manager::*)() const>(&Manager::hasOperators));
    EXPECT_TRUE(has<void (Manager::*)(const LivePropertyInfo *)>(&Manager::registerProperties));
    EXPECT_TRUE(has<void (Manager::*)(const LivePropertyInfo &)>(&Manager::registerProperty));
    EXPECT_TRUE(
        (has<void (Manager::*)(const char *, int, int, const char *)>(&Manager::registerProperty)));
}

TEST(PropertiesInterface, LiveProperty)
{
    static_assert(std::is_base_of_v<Root, LiveProperty>);
    static_assert(
        std::is_constructible_v<OpenProperty, LiveObject &, const String &, int, unsigned int>);
    EXPECT_TRUE(has<bool (LiveProperty::*)(const LiveProperty &) const>(&LiveProperty::operator==));
    EXPECT_TRUE(has<int (LiveProperty::*)(const LiveProperty &) const>(&LiveProperty::compare));
    EXPECT_TRUE(has<int (LiveProperty::*)(Variant &) const>(&LiveProperty::get));
    EXPECT_TRUE(has<int (LiveProperty::*)(const Variant &)>(&LiveProperty::put));
    EXPECT_TRUE((has<int (LiveProperty::*)(const Array &, Variant &)>(&LiveProperty::call)));
}

TEST(PropertiesInterface, Types)
{
    static_assert(std::is_base_of_v<Root, TypeInfo> && std::is_base_of_v<TypeInfo, SimpleTypeInfo>);
    EXPECT_TRUE(has<VariantType (TypeInfo::*)() const>(&TypeInfo::getDataType));
    EXPECT_TRUE(has<void (TypeInfo::*)(String &) const>(&TypeInfo::getDataTypeAsString));
    EXPECT_TRUE(has<void (TypeInfo::*)(String &) const>(&TypeInfo::getDataClass));
    EXPECT_TRUE(has<bool (TypeInfo::*)() const>(&TypeInfo::isCollection));
    EXPECT_TRUE((has<bool (TypeInfo::*)(double &, double &) const>(&TypeInfo::getValidRange)));
    EXPECT_TRUE(has<bool (TypeInfo::*)(Variant &) const>(&TypeInfo::getDefaultValue));
    EXPECT_TRUE(has<void (TypeInfo::*)(String &) const>(&TypeInfo::getDescription));
    EXPECT_TRUE(has<const char *(*)(VariantType)>(&TypeInfo::convertDataTypeToString));
    EXPECT_TRUE(
        (has<SimpleTypeInfo *(*)(const String &, int, String *, String *, String *, TypeInfo **)>(
            &TypeInfo::parse)));
}

TEST(PropertiesInterface, Records)
{
    static_assert(std::is_base_of_v<Refcountable, ClassInfo> &&
                  std::is_base_of_v<Refcountable, ServiceInfo> &&
                  std::is_base_of_v<Refcountable, ParamInfo>);
    static_assert(std::is_base_of_v<ServiceInfo, PropServiceInfo> &&
                  std::is_base_of_v<ClassInfo, ::PropertyManagerClassInfo>);
    EXPECT_TRUE(has<InfoState (ClassInfo::*)()>(&ClassInfo::getState));
    EXPECT_TRUE((has<int (ClassInfo::*)(SimpleArray &, int) const>(&ClassInfo::enumerate)));
    EXPECT_TRUE(
        has<const ServiceInfo *(ClassInfo::*)(const String &) const>(&ClassInfo::getServiceInfo));
    EXPECT_TRUE(has<const ServiceInfo *(ClassInfo::*)(int) const>(&ClassInfo::getServiceInfo));
    EXPECT_TRUE(has<const ServiceInfo *(ClassInfo::*)(const String &) const>(
        &ClassInfo::getStaticServiceInfo));
    EXPECT_TRUE(
        has<const ServiceInfo *(ClassInfo::*)(int) const>(&ClassInfo::getStaticServiceInfo));
    EXPECT_TRUE(has<bool (ClassInfo::*)(FileSpec &) const>(&ClassInfo::getSampleCode));
    EXPECT_TRUE(has<bool (ClassInfo::*)(String &) const>(&ClassInfo::getSampleCode));
    EXPECT_TRUE(has<InfoState (ServiceInfo::*)()>(&ServiceInfo::getState));
    EXPECT_TRUE(has<const TypeInfo &(ServiceInfo::*)() const>(&ServiceInfo::getTypeInfo2));
    EXPECT_TRUE(has<int (ServiceInfo::*)() const>(&ServiceInfo::getParamCount));
    EXPECT_TRUE(has<const ParamInfo *(ServiceInfo::*)(int) const>(&ServiceInfo::getParamInfo));
    EXPECT_TRUE(has<bool (ServiceInfo::*)(FileSpec &) const>(&ServiceInfo::getSampleCode));
    EXPECT_TRUE(has<InfoState (ParamInfo::*)()>(&ParamInfo::getState));
    EXPECT_TRUE((has<void (ParamInfo::*)(bool, String &) const>(&ParamInfo::getDescription)));
}
