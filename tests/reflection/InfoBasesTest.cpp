// SPDX-License-Identifier: MIT
// The smallest records that a host can write, and the places of their virtual operations.
#include <tavrin/Reflection.h>

#include <cmath>

#include <gtest/gtest.h>

#include <tavrin/SimpleArray.h>

#include "support/LibraryTest.h"
#include "support/VirtualSlot.h"

using namespace Tavrin;

namespace {

using InfoBasesTest = test::LibraryTest;

class PlainType : public TypeInfo
{
public:
    VariantType getDataType() const override { return kPoint; }
};

class PlainParam : public ParamInfo
{
public:
    const TypeInfo &getTypeInfo() const override { return type; }

private:
    PlainType type;
};

class PlainService : public ServiceInfo
{
public:
    void getName(String &out) const override { out = "plain"; }
    int getID() const override { return 5; }
    InfoType getType() const override { return kInfoMethod; }
    const TypeInfo &getTypeInfo() const override { return type; }

private:
    PlainType type;
};

class PlainClass : public ClassInfo
{
public:
    using ClassInfo::getServiceInfo;
    void getName(String &out) const override { out = "Plain"; }
    ClassKind getKind() const override { return kClassOfTable; }
    const ServiceInfo *getServiceInfo(const String &) const override { return nullptr; }
};

TEST_F(InfoBasesTest, ATypeHasNoMoreThanItsKind)
{
    const PlainType type;
    String text("before");
    type.getDataTypeAsString(text);
    EXPECT_EQ(text, "point");
    type.getDataClass(text);
    EXPECT_EQ(text, "");
    text = "before";
    type.getDescription(text);
    EXPECT_EQ(text, "");
    EXPECT_FALSE(type.isCollection());
    double min = 0, max = 0;
    EXPECT_FALSE(type.getValidRange(min, max));
    EXPECT_TRUE(std::isinf(min) && min < 0 && std::isinf(max) && max > 0);
    Variant value("before");
    EXPECT_FALSE(type.getDefaultValue(value));
    EXPECT_FALSE(value.isDefined());
}

TEST_F(InfoBasesTest, AParameterHasNoTexts)
{
    auto *param = new PlainParam;
    String text("before");
    param->getName(text);
    EXPECT_EQ(text, "");
    text = "before";
    param->getDescription(true, text);
    EXPECT_EQ(text, "");
    EXPECT_EQ(param->getLanguage(), 0);
    EXPECT_EQ(param->getState(), kStateDynamic);
    param->release();
}

TEST_F(InfoBasesTest, AServiceHasNoTextsAndNoParameters)
{
    auto *service = new PlainService;
    String text("before");
    service->getDescription(false, text);
    EXPECT_EQ(text, "");
    text = "before";
    EXPECT_FALSE(service->getSampleCode(text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(service->getLanguage(), 0);
    EXPECT_EQ(service->getState(), kStateDynamic);
    EXPECT_EQ(service->getParamCount(), 0);
    EXPECT_EQ(service->getParamInfo(0), nullptr);
    EXPECT_EQ(&service->getTypeInfo2(), &service->getTypeInfo());
    service->release();
}

TEST_F(InfoBasesTest, AClassHasNoTextsAndNoServices)
{
    auto *info = new PlainClass;
    String text("before");
    info->getSuperclass(text);
    EXPECT_EQ(text, "");
    text = "before";
    info->getDescription(false, text);
    EXPECT_EQ(text, "");
    text = "before";
    EXPECT_FALSE(info->getSampleCode(text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(info->getLanguage(), 0);
    EXPECT_EQ(info->getState(), kStateDynamic);
    SimpleArray ids;
    EXPECT_EQ(info->enumerate(ids, -1), 0);
    EXPECT_EQ(ids.length(), 0);
    EXPECT_EQ(info->getServiceInfo(1), nullptr);
    EXPECT_EQ(info->getStaticServiceInfo(1), nullptr);
    EXPECT_EQ(info->getStaticServiceInfo("a"), nullptr);
    info->release();
}

// No sample code is looked for in a file, so that none has to be made to ask.
TEST_F(InfoBasesTest, NoRecordHasASampleFile)
{
    auto *service = new PlainService;
    auto *info = new PlainClass;
    alignas(8) char storage[8];
    auto &file = reinterpret_cast<FileSpec &>(storage);
    // The compiler would have to know the class to choose between the overloads.
    bool (ServiceInfo::*const ofService)(FileSpec &) const = &ServiceInfo::getSampleCode;
    bool (ClassInfo::*const ofClass)(FileSpec &) const = &ClassInfo::getSampleCode;
    EXPECT_FALSE((service->*ofService)(file));
    EXPECT_FALSE((info->*ofClass)(file));
    service->release();
    info->release();
}

#ifdef TAVRIN_HAS_VIRTUAL_SLOTS

using test::virtualSlot;

// The destructor takes two places.
constexpr std::size_t slot(std::size_t number)
{
    return number + 1;
}

TEST(InfoBasesSlots, ThoseOfClassInfoStandInTheirFixedOrder)
{
    using ByName = const ServiceInfo *(ClassInfo::*)(const String &) const;
    using ByID = const ServiceInfo *(ClassInfo::*)(int) const;
    using ToFile = bool (ClassInfo::*)(FileSpec &) const;
    using ToText = bool (ClassInfo::*)(String &) const;
    EXPECT_EQ(virtualSlot(&ClassInfo::release), slot(1));
    EXPECT_EQ(virtualSlot(&ClassInfo::getSuperclass), slot(2));
    EXPECT_EQ(virtualSlot(&ClassInfo::getLanguage), slot(3));
    EXPECT_EQ(virtualSlot(&ClassInfo::getState), slot(4));
    EXPECT_EQ(virtualSlot(&ClassInfo::getName), slot(5));
    EXPECT_EQ(virtualSlot(&ClassInfo::getDescription), slot(6));
    EXPECT_EQ(virtualSlot(&ClassInfo::getKind), slot(7));
    EXPECT_EQ(virtualSlot(&ClassInfo::enumerate), slot(8));
    EXPECT_EQ(virtualSlot<ByName>(&ClassInfo::getServiceInfo), slot(9));
    EXPECT_EQ(virtualSlot<ByID>(&ClassInfo::getServiceInfo), slot(10));
    EXPECT_EQ(virtualSlot<ByName>(&ClassInfo::getStaticServiceInfo), slot(11));
    EXPECT_EQ(virtualSlot<ByID>(&ClassInfo::getStaticServiceInfo), slot(12));
    EXPECT_EQ(virtualSlot<ToFile>(&ClassInfo::getSampleCode), slot(13));
    EXPECT_EQ(virtualSlot<ToText>(&ClassInfo::getSampleCode), slot(14));
}

TEST(InfoBasesSlots, ThoseOfServiceInfoStandInTheirFixedOrder)
{
    using ToFile = bool (ServiceInfo::*)(FileSpec &) const;
    using ToText = bool (ServiceInfo::*)(String &) const;
    EXPECT_EQ(virtualSlot(&ServiceInfo::release), slot(1));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getLanguage), slot(2));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getState), slot(3));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getName), slot(4));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getDescription), slot(5));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getID), slot(6));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getType), slot(7));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getTypeInfo), slot(8));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getTypeInfo2), slot(9));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getParamCount), slot(10));
    EXPECT_EQ(virtualSlot(&ServiceInfo::getParamInfo), slot(11));
    EXPECT_EQ(virtualSlot<ToFile>(&ServiceInfo::getSampleCode), slot(12));
    EXPECT_EQ(virtualSlot<ToText>(&ServiceInfo::getSampleCode), slot(13));
}

TEST(InfoBasesSlots, ThoseOfParamInfoStandInTheirFixedOrder)
{
    EXPECT_EQ(virtualSlot(&ParamInfo::release), slot(1));
    EXPECT_EQ(virtualSlot(&ParamInfo::getLanguage), slot(2));
    EXPECT_EQ(virtualSlot(&ParamInfo::getState), slot(3));
    EXPECT_EQ(virtualSlot(&ParamInfo::getName), slot(4));
    EXPECT_EQ(virtualSlot(&ParamInfo::getDescription), slot(5));
    EXPECT_EQ(virtualSlot(&ParamInfo::getTypeInfo), slot(6));
}

TEST(InfoBasesSlots, ThoseOfTypeInfoStandInTheirFixedOrder)
{
    EXPECT_EQ(virtualSlot(&TypeInfo::getDataType), slot(1));
    EXPECT_EQ(virtualSlot(&TypeInfo::getDataTypeAsString), slot(2));
    EXPECT_EQ(virtualSlot(&TypeInfo::getDataClass), slot(3));
    EXPECT_EQ(virtualSlot(&TypeInfo::isCollection), slot(4));
    EXPECT_EQ(virtualSlot(&TypeInfo::getValidRange), slot(5));
    EXPECT_EQ(virtualSlot(&TypeInfo::getDefaultValue), slot(6));
    EXPECT_EQ(virtualSlot(&TypeInfo::getDescription), slot(7));
}

#endif

} // namespace
