// SPDX-License-Identifier: MIT
// Services and parameters that the rows of tables describe, and classes made of them.
#include <tavrin/Reflection.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/SimpleArray.h>

#include "live/PropertyManagerSupport.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"

using namespace Tavrin;
using test::bytesOf;
using test::describe;
using test::idsOf;
using test::listAll;
using test::Service;
using test::underMemoryFailure;

namespace {

using PropServiceInfoTest = test::LibraryTest;
using PropertyManagerClassInfoTest = test::LibraryTest;

using Param = InterfacePtr<const ParamInfo>;
using Class = InterfacePtr<PropertyManagerClassInfo>;

Service newService(const char *description, InfoType type = kInfoMethod)
{
    return Service::adopt(new PropServiceInfo(7, "service", type, description));
}

// A parameter in one line: "name word short|long"; "none" without one.
std::string param(const Service &service, int index)
{
    const Param record = Param::adopt(service->getParamInfo(index));
    if (!record)
        return "none";
    EXPECT_EQ(record->getRefCount(), 1);
    String name, word, shortText, longText;
    record->getName(name);
    record->getTypeInfo().getDataTypeAsString(word);
    record->getDescription(false, shortText);
    record->getDescription(true, longText);
    return bytesOf(name) + ' ' + bytesOf(word) + ' ' + bytesOf(shortText) + '|' + bytesOf(longText);
}

TEST_F(PropServiceInfoTest, SaysWhatItsRowSays)
{
    EXPECT_EQ(describe(new PropServiceInfo(7, "zoom", kInfoReadWrite, "number\tShort.\tLong.")),
              "zoom 7 2 Short.|Long. -> number(0)");
    EXPECT_EQ(describe(new PropServiceInfo(-1, "", kInfoMethod, "")), " -1 5 | -> any(0)");
}

TEST_F(PropServiceInfoTest, HasNoLanguageStateOrSample)
{
    PropServiceInfo *service = new PropServiceInfo(7, "zoom", kInfoReadWrite, "number");
    String sample("before");
    EXPECT_EQ(service->getLanguage(), 0);
    EXPECT_EQ(service->getState(), kStateDynamic);
    EXPECT_FALSE(service->getSampleCode(sample));
    EXPECT_EQ(sample, "");
    service->release();
}

TEST_F(PropServiceInfoTest, MayHaveATypeForWriting)
{
    const Service two = newService("number/string"), one = newService("number");
    EXPECT_EQ(two->getTypeInfo().getDataType(), kNumber);
    EXPECT_EQ(two->getTypeInfo2().getDataType(), kString);
    EXPECT_EQ(&one->getTypeInfo(), &one->getTypeInfo2());
}

struct CountCase
{
    const char *description;
    int count;
};

TEST_F(PropServiceInfoTest, CountsTheParametersBehindTheResult)
{
    constexpr CountCase cases[] = {
        {"", 0},
        {"bool", 0},
        {"bool,a:string", 1},
        {"bool,a:string,number", 2},
        {"a:string", 1},
        {"a:string,", 2},
        {"bool,", 1},
        {",", 1},
        {"\tText.", 0},
        {"\tText.,a:number", 1},
        {":string", 0},
        {"bool\tA: text", 0},
    };
    for (const CountCase &row : cases)
        EXPECT_EQ(newService(row.description)->getParamCount(), row.count) << row.description;
}

TEST_F(PropServiceInfoTest, DescribesItsParameters)
{
    const Service service =
        newService("bool\tText.,unit:string\tShort.\tLong.,number,,:string\tNo name.");
    EXPECT_EQ(service->getParamCount(), 4);
    EXPECT_EQ(param(service, 0), "unit string Short.|Long.");
    EXPECT_EQ(param(service, 1), "arg2 number |");
    EXPECT_EQ(param(service, 2), "arg3 any |");
    EXPECT_EQ(param(service, 3), "arg4 string No name.|");
    for (const int index : {-1, 4, 2147483647, -2147483647 - 1})
        EXPECT_EQ(param(service, index), "none") << index;
}

TEST_F(PropServiceInfoTest, AParameterOutlivesItsService)
{
    Service service = newService("bool,unit:Foo\tText.");
    const Param record = Param::adopt(service->getParamInfo(0));
    service.reset();
    String word;
    record->getTypeInfo().getDataTypeAsString(word);
    EXPECT_EQ(word, "Foo");
    EXPECT_EQ(record->getLanguage(), 0);
    EXPECT_EQ(const_cast<ParamInfo *>(record.get())->getState(), kStateDynamic);
}

TEST_F(PropServiceInfoTest, WithoutMemoryThereIsNoRecord)
{
    const String name("service"), description("bool/A class\tA short text.,a name:A class\tText.");
    underMemoryFailure([] { return Service(); },
                       [&](Service &service) {
                           service = Service::adopt(
                               new PropServiceInfo(7, name, kInfoMethod, description));
                       },
                       [](Service &service, bool failed) { EXPECT_EQ(!service, failed); });
    underMemoryFailure(
        [&] {
            return std::make_pair(
                Service::adopt(new PropServiceInfo(7, name, kInfoMethod, description)), Param());
        },
        [](auto &records) { records.second = Param::adopt(records.first->getParamInfo(0)); },
        [](auto &records, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_EQ(param(records.first, 0), "a name A class Text.|");
        });
}

constexpr LivePropertyInfo endRow{nullptr, 0, 0, nullptr};

constexpr LivePropertyInfo rows[] = {
    {"size", 1, kInfoReadOnly, "number\tThe size."},
    {"clear", 2, kInfoMethod, "undefined\tEmpties it."},
    {"", 3, kInfoMethod, "Document\tMakes one.,name:string"},
    {"width", 4, kInfoReadOnly | kCaselessLanguage, "number"},
    {"", 5, kInfoMethod | kCaselessLanguage, "document"},
    endRow,
};

Class newClass()
{
    return Class::adopt(new PropertyManagerClassInfo(rows, "Document"));
}

std::vector<int> listed(const ClassInfo &info, int flags)
{
    SimpleArray ids;
    ids.append(3); // what is there stays
    EXPECT_EQ(info.enumerate(ids, flags), 0);
    EXPECT_EQ(ids.removeAt(0), 3);
    return idsOf(ids);
}

TEST_F(PropertyManagerClassInfoTest, ReflectsATable)
{
    const Class info = newClass();
    String name;
    info->getName(name);
    EXPECT_EQ(name, "Document");
    EXPECT_EQ(info->getKind(), kClassOfTable);
    EXPECT_EQ(info->getRefCount(), 1);
    EXPECT_EQ(describe(info->getServiceInfo("size")), "size 1 1 The size.| -> number(0)");
    EXPECT_EQ(describe(info->getServiceInfo(2)), "clear 2 5 Empties it.| -> undefined(0)");
    EXPECT_EQ(describe(info->getServiceInfo("none")), "none");
    EXPECT_EQ(describe(info->getServiceInfo(99)), "none");
}

TEST_F(PropertyManagerClassInfoTest, ItsConstructorIsAStaticServiceWithoutAName)
{
    const Class info = newClass();
    EXPECT_EQ(describe(info->getStaticServiceInfo(String())),
              "Document 0 5 Makes one.| -> Document(1)");
    EXPECT_EQ(describe(info->getServiceInfo(String())), "none");
    EXPECT_EQ(describe(info->getStaticServiceInfo("size")), "none");
    EXPECT_EQ(describe(info->getStaticServiceInfo(1)), "none");
}

TEST_F(PropertyManagerClassInfoTest, EnumeratesInTheDefaultLanguageUnlessToldOtherwise)
{
    const Class info = newClass();
    const int all = listAll & ~kLanguageMask;
    EXPECT_EQ(listed(*info, all), (std::vector<int>{1, 2}));
    EXPECT_EQ(listed(*info, all | kCaselessLanguage), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(listed(*info, kListMethods), std::vector<int>{2});
    EXPECT_EQ(listed(*info, all | kListStatic), std::vector<int>());
}

TEST_F(PropertyManagerClassInfoTest, HasOneText)
{
    const Class info = newClass();
    String text("before");
    info->getDescription(false, text);
    EXPECT_EQ(text, "");
    EXPECT_EQ(info->getText(), "");
    info->setText("A document.");
    EXPECT_EQ(info->getText(), "A document.");
    for (const bool longForm : {false, true}) {
        info->getDescription(longForm, text);
        EXPECT_EQ(text, "A document.");
    }
}

TEST_F(PropertyManagerClassInfoTest, MayBeAssembledFromSeveralTables)
{
    const Class info = newClass();
    info->getPropertyManager().registerProperty({"more", 9, kInfoReadWrite, "string"});
    EXPECT_EQ(describe(info->getServiceInfo("more")), "more 9 2 | -> string(0)");
    std::vector<int> ids = listed(*info, listAll);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, (std::vector<int>{1, 2, 9}));
}

TEST_F(PropertyManagerClassInfoTest, OfNoTableHasNoServices)
{
    const Class info = Class::adopt(new PropertyManagerClassInfo(nullptr, "Empty"));
    EXPECT_EQ(listed(*info, listAll), std::vector<int>());
    EXPECT_EQ(describe(info->getStaticServiceInfo(String())), "none");
}

TEST_F(PropertyManagerClassInfoTest, AnswersWithoutMemoryAreEmpty)
{
    struct Answer
    {
        Class info = newClass();
        SimpleArray ids;
        int code = 0;
        Service service;
    };
    using AnswerPtr = std::unique_ptr<Answer>;
    const String size("size");
    underMemoryFailure([] { return std::make_unique<Answer>(); },
                       [&](AnswerPtr &answer) {
                           answer->code = answer->info->enumerate(answer->ids, listAll);
                           answer->service = Service::adopt(answer->info->getServiceInfo(size));
                       },
                       [](AnswerPtr &answer, bool failed) {
                           EXPECT_FALSE(failed);
                           EXPECT_TRUE(answer->code == 0 || answer->code == -28) << answer->code;
                           EXPECT_EQ(answer->ids.length(), answer->code == 0 ? 2 : 0);
                       });
}

} // namespace
