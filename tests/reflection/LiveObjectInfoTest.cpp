// SPDX-License-Identifier: MIT
// Objects that describe themselves: their tables, dynamic properties, components and overrides, and
// what is left of the description when the object is gone.
#include <tavrin/Reflection.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/LiveCollection.h>
#include <tavrin/LiveComponent.h>
#include <tavrin/LiveObject.h>
#include <tavrin/SimpleArray.h>

#include "live/Hosts.h"
#include "live/PropertyManagerSupport.h"
#include "support/LibraryTest.h"
#include "support/MemoryFailure.h"
#include "support/RunOnThreads.h"

using namespace Tavrin;
using test::bytesOf;
using test::Document;
using test::idsOf;
using test::listAll;
using test::make;
using test::Owned;
using test::Ruler;
using test::Service;
using test::underMemoryFailure;

namespace {

using LiveObjectInfoTest = test::LibraryTest;
using LiveObjectInfoThreadTest = test::MultiThreadedLibraryTest;

using Class = InterfacePtr<const ClassInfo>;
using Param = InterfacePtr<const ParamInfo>;

constexpr int farewell = Broadcaster::firstFarewell;

// A document with a constructor.
class Letter : public Document
{
public:
    Letter() : Document("Letter") { setPropertyManager(&table()); }

    static const LivePropertyManager &table()
    {
        static constexpr LivePropertyInfo rows[] = {
            {"", 40, kInfoMethod, "Letter\tWrites one.,to:string"},
            {"pages", 41, kInfoReadOnly, "number/string\tThe pages.\tAll of them."},
            {"send", 42, kInfoMethod, "bool\tSends it.,to:string\tWhom.,:number\tHow often."},
            {"hint", 43, kInfoReadOnly | kCaselessLanguage, "string"},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        return manager;
    }
};

Class classOf(const LiveObject &object)
{
    return Class::adopt(object.getClassInfo(0));
}

// A service record in one line, and its references besides that of its holder.
std::string describe(const ServiceInfo *record)
{
    return test::describe(record);
}

std::string nameOf(const ClassInfo &info)
{
    String name("before");
    info.getName(name);
    return bytesOf(name);
}

std::vector<int> listed(const ClassInfo &info, int flags, int code = 0)
{
    SimpleArray ids;
    EXPECT_EQ(info.enumerate(ids, flags), code);
    return idsOf(ids);
}

TEST_F(LiveObjectInfoTest, AnObjectHasOneClassRecordThatItHoldsToo)
{
    const auto letter = make<Letter>();
    const Class first = classOf(*letter), second = classOf(*letter);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->getRefCount(), 3);
    EXPECT_EQ(letter->getRefCount(), 1) << "the record does not count";
    EXPECT_EQ(nameOf(*first), "Letter");
    EXPECT_EQ(first->getKind(), kClassOfObject);
    EXPECT_EQ(first->getLanguage(), 0);
}

TEST_F(LiveObjectInfoTest, ARowIsDescribedByTheTable)
{
    const auto letter = make<Letter>();
    const Class info = classOf(*letter);
    EXPECT_EQ(describe(info->getServiceInfo("pages")),
              "pages 41 1 The pages.|All of them. -> number(0)");
    EXPECT_EQ(describe(info->getServiceInfo(42)), "send 42 5 Sends it.| -> boolean(2)");
    EXPECT_EQ(describe(info->getServiceInfo("none")), "none");
    EXPECT_EQ(describe(info->getServiceInfo(99)), "none");
    EXPECT_EQ(describe(info->getServiceInfo("hint")), "none") << "for another language only";
    const Service pages = Service::adopt(info->getServiceInfo(41));
    EXPECT_EQ(pages->getTypeInfo().getDataType(), kNumber);
    EXPECT_EQ(pages->getTypeInfo2().getDataType(), kString);
}

TEST_F(LiveObjectInfoTest, ItsConstructorIsAStaticServiceWithoutAName)
{
    const auto letter = make<Letter>();
    const Class info = classOf(*letter);
    EXPECT_EQ(describe(info->getStaticServiceInfo(String())),
              "Letter 0 5 Writes one.| -> Letter(1)");
    EXPECT_EQ(describe(info->getStaticServiceInfo("send")), "none");
    EXPECT_EQ(describe(info->getStaticServiceInfo(42)), "none");
    EXPECT_EQ(describe(info->getServiceInfo(String())), "none");
}

TEST_F(LiveObjectInfoTest, AnObjectWithoutATableHasNoRows)
{
    const auto plain = make<test::Plain>();
    const Class info = classOf(*plain);
    EXPECT_EQ(describe(info->getStaticServiceInfo(String())), "none");
    EXPECT_EQ(describe(info->getServiceInfo(1)), "none");
    EXPECT_EQ(listed(*info, listAll), std::vector<int>());
}

TEST_F(LiveObjectInfoTest, EnumeratesInTheDefaultLanguageUnlessToldOtherwise)
{
    const auto letter = make<Letter>();
    const Class info = classOf(*letter);
    const int all = listAll & ~kLanguageMask;
    EXPECT_EQ(listed(*info, all), (std::vector<int>{41, 42})) << "without the constructor";
    EXPECT_EQ(listed(*info, all | kCaselessLanguage), (std::vector<int>{41, 42, 43}));
    EXPECT_EQ(listed(*info, kListMethods), std::vector<int>{42});
    EXPECT_EQ(listed(*info, all | kListStatic), std::vector<int>());
    EXPECT_EQ(letter->defineIDForName("more", 7, kInfoReadWrite), 0);
    EXPECT_EQ(listed(*info, all), (std::vector<int>{7, 41, 42}));
}

TEST_F(LiveObjectInfoTest, ADynamicPropertyIsDescribedByItsValue)
{
    const auto letter = make<Letter>();
    const Class info = classOf(*letter);
    const auto define = [&](const char *name, int id, int flags) {
        ASSERT_EQ(letter->defineIDForName(name, id, flags), 0) << name;
    };
    define("number", 71, kInfoReadWrite);
    define("text", 72, kInfoReadOnly);
    define("empty", 73, kInfoReadWrite);
    define("shown", 74, kInfoReadWrite | kPropertyShownAsMethod);
    define("pages", 75, kInfoReadWrite);
    EXPECT_EQ(letter->put(71, 12.5, nullptr), 0);
    EXPECT_EQ(letter->put(72, "a text", nullptr), 0);
    EXPECT_EQ(letter->put(74, true, nullptr), 0);
    EXPECT_EQ(describe(info->getServiceInfo("number")), "number 71 2 | -> number(0)");
    EXPECT_EQ(describe(info->getServiceInfo(72)), "text 72 1 | -> string(0)");
    EXPECT_EQ(describe(info->getServiceInfo("empty")), "empty 73 2 | -> any(0)");
    EXPECT_EQ(describe(info->getServiceInfo("shown")), "shown 74 5 | -> boolean(0)");
    EXPECT_EQ(describe(info->getServiceInfo("pages")), "pages 75 2 | -> any(0)")
        << "dynamic properties come before the table";
    const Service number = Service::adopt(info->getServiceInfo(71));
    EXPECT_EQ(number->getTypeInfo2().getDataType(), kNumber);
    EXPECT_EQ(number->getParamInfo(0), nullptr);
}

// A property that would have to ask its listeners for the value is not asked.
TEST_F(LiveObjectInfoTest, APropertyBehindMessagesMayBeAnything)
{
    const auto letter = make<Letter>();
    test::Ear ear = test::liveEar([](LiveMessage &message) {
        EXPECT_EQ(message.getID(), askID);
        message.getPropertyID() = 77;
        *message.getData() = static_cast<int>(kInfoReadWrite);
        return true;
    });
    letter->addListener(ear, askID);
    letter->addListener(ear, askGet);
    EXPECT_EQ(describe(classOf(*letter)->getServiceInfo("remote")), "remote 77 2 | -> any(0)");
    letter->removeListener(ear, Broadcaster::allMessages);
}

TEST_F(LiveObjectInfoTest, AComponentDescribesWhatItAdds)
{
    const auto letter = make<Letter>();
    const auto ruler = make<Ruler>();
    letter->addComponent(*ruler);
    const Class info = classOf(*letter);
    EXPECT_EQ(describe(info->getServiceInfo("unit")), "unit 101 2 The unit.| -> string(0)");
    EXPECT_EQ(describe(info->getServiceInfo(Ruler::measureID)),
              "measure 103 5 Measures.| -> number(0)");
    letter->removeComponent(*ruler);
    EXPECT_EQ(describe(info->getServiceInfo("unit")), "none");
}

TEST_F(LiveObjectInfoTest, WhatAComponentHidesIsNotDescribed)
{
    const auto plain = make<test::Plain>();
    const auto ruler = make<Ruler>();
    const auto veil = make<test::Veil>(kInfoHidden);
    plain->addComponent(*ruler);
    plain->addComponent(*veil);
    EXPECT_EQ(describe(classOf(*plain)->getServiceInfo(Ruler::unitID)), "none");
    veil->type = kInfoNone;
    EXPECT_NE(describe(classOf(*plain)->getServiceInfo(Ruler::unitID)), "none");
}

TEST_F(LiveObjectInfoTest, WhatOnlyAnOverrideKnowsIsDescribedByIt)
{
    const auto list = make<LiveArray>("List", 500, false);
    const Class info = classOf(*list);
    EXPECT_EQ(describe(info->getServiceInfo("length")), "length 500 2 | -> any(0)");
    EXPECT_EQ(describe(info->getServiceInfo(500)), "length 500 2 | -> any(0)");
    EXPECT_EQ(describe(info->getServiceInfo(501)), "none");
    EXPECT_EQ(nameOf(*info), "List");
}

// Records of a host's own: texts everywhere, and a parameter without a name.
class HostType : public TypeInfo
{
public:
    VariantType getDataType() const override { return kRect; }
};

class HostParam : public ParamInfo
{
public:
    int getLanguage() const override { return 3; }
    InfoState getState() override { return kStateEnumeration; }
    void getDescription(bool longForm, String &out) const override
    {
        out = longForm ? "long" : "short";
    }
    const TypeInfo &getTypeInfo() const override { return type; }

private:
    HostType type;
};

class HostService : public ServiceInfo
{
public:
    int getLanguage() const override { return 4; }
    InfoState getState() override { return kStateEnumeration; }
    void getName(String &out) const override { out = "host"; }
    int getID() const override { return 600; }
    InfoType getType() const override { return kInfoMethod; }
    const TypeInfo &getTypeInfo() const override { return type; }
    int getParamCount() const override { return 1; }
    const ParamInfo *getParamInfo(int index) const override
    {
        if (index == 7)
            throw std::runtime_error("no such parameter");
        return index == 0 ? new HostParam : nullptr;
    }
    bool getSampleCode(String &out) const override
    {
        out = "host();";
        return true;
    }
    bool getSampleCode(FileSpec &) const override { return true; }

private:
    HostType type;
};

class HostComponent : public LiveComponent
{
public:
    InfoType getType(const LiveObject &, int id) override
    {
        return id == 600 || id == 601 ? kInfoMethod : kInfoNone;
    }
    const ServiceInfo *getServiceInfo(const LiveObject &, int id, int) const override
    {
        if (id == 601)
            throw std::runtime_error("no record");
        return new HostService;
    }
};

TEST_F(LiveObjectInfoTest, TheRecordsOfAHostSpeakThroughThoseOfTheObject)
{
    const auto letter = make<Letter>();
    const auto component = make<HostComponent>();
    letter->addComponent(*component);
    const Class info = classOf(*letter);
    const Service service = Service::adopt(info->getServiceInfo(600));
    ASSERT_TRUE(service);
    String text;
    EXPECT_EQ(service->getLanguage(), 4);
    EXPECT_EQ(const_cast<ServiceInfo *>(service.get())->getState(), kStateEnumeration);
    EXPECT_TRUE(service->getSampleCode(text));
    EXPECT_EQ(text, "host();");
    EXPECT_EQ(service->getTypeInfo().getDataType(), kRect);
    EXPECT_EQ(service->getTypeInfo2().getDataType(), kRect);
    alignas(8) char storage[8];
    bool (ServiceInfo::*const toFile)(FileSpec &) const = &ServiceInfo::getSampleCode;
    EXPECT_TRUE((*service.*toFile)(reinterpret_cast<FileSpec &>(storage)));

    const Param param = Param::adopt(service->getParamInfo(0));
    ASSERT_TRUE(param);
    param->getName(text);
    EXPECT_EQ(text, "arg1") << "a parameter without a name";
    param->getDescription(false, text);
    EXPECT_EQ(text, "short");
    param->getDescription(true, text);
    EXPECT_EQ(text, "long");
    EXPECT_EQ(param->getLanguage(), 3);
    EXPECT_EQ(const_cast<ParamInfo *>(param.get())->getState(), kStateEnumeration);
    EXPECT_EQ(param->getTypeInfo().getDataType(), kRect);
}

TEST_F(LiveObjectInfoTest, NoExceptionOfAHostComesOut)
{
    const auto letter = make<Letter>();
    const auto component = make<HostComponent>();
    letter->addComponent(*component);
    const Class info = classOf(*letter);
    EXPECT_EQ(info->getServiceInfo(601), nullptr);
    const Service service = Service::adopt(info->getServiceInfo(600));
    EXPECT_EQ(service->getParamInfo(7), nullptr);
    EXPECT_EQ(service->getParamInfo(1), nullptr);
}

// Records of which nothing can be had.
struct ThrowingParam : ParamInfo
{
    int getLanguage() const override { throw 5; }
    InfoState getState() override { throw 5; }
    void getName(String &) const override { throw 5; }
    void getDescription(bool, String &) const override { throw 5; }
    const TypeInfo &getTypeInfo() const override { throw 5; }
};

struct ThrowingService : ServiceInfo
{
    int getLanguage() const override { throw 5; }
    InfoState getState() override { throw 5; }
    void getName(String &out) const override
    {
        out = "half a na";
        throw 5;
    }
    void getDescription(bool, String &) const override { throw 5; }
    int getID() const override { throw 5; }
    InfoType getType() const override { throw 5; }
    const TypeInfo &getTypeInfo() const override { throw 5; }
    const TypeInfo &getTypeInfo2() const override { throw 5; }
    int getParamCount() const override { throw 5; }
    const ParamInfo *getParamInfo(int) const override { return new ThrowingParam; }
    bool getSampleCode(String &) const override { throw 5; }
    bool getSampleCode(FileSpec &) const override { throw 5; }
};

TEST_F(LiveObjectInfoTest, ARecordOfAHostThatThrowsSaysNothing)
{
    struct Component : LiveComponent
    {
        InfoType getType(const LiveObject &, int) override { return kInfoMethod; }
        const ServiceInfo *getServiceInfo(const LiveObject &, int, int) const override
        {
            return new ThrowingService;
        }
    };
    const auto letter = make<Letter>();
    letter->addComponent(*make<Component>());
    const Service service = Service::adopt(classOf(*letter)->getServiceInfo(600));
    ASSERT_TRUE(service);
    String text = "before";
    EXPECT_EQ(service->getLanguage(), 0);
    EXPECT_EQ(const_cast<ServiceInfo *>(service.get())->getState(), kStateDynamic);
    service->getName(text);
    EXPECT_EQ(text, "");
    service->getDescription(true, text);
    EXPECT_EQ(text, "");
    EXPECT_EQ(service->getID(), 0);
    EXPECT_EQ(service->getType(), kInfoNone);
    EXPECT_EQ(service->getTypeInfo().getDataType(), kNoType);
    EXPECT_EQ(service->getTypeInfo2().getDataType(), kNoType);
    EXPECT_EQ(service->getParamCount(), 0);
    EXPECT_FALSE(service->getSampleCode(text));
    alignas(8) char storage[8];
    bool (ServiceInfo::*const toFile)(FileSpec &) const = &ServiceInfo::getSampleCode;
    EXPECT_FALSE((*service.*toFile)(reinterpret_cast<FileSpec &>(storage)));

    const Param param = Param::adopt(service->getParamInfo(2));
    ASSERT_TRUE(param);
    EXPECT_EQ(param->getLanguage(), 0);
    EXPECT_EQ(const_cast<ParamInfo *>(param.get())->getState(), kStateDynamic);
    param->getName(text);
    EXPECT_EQ(text, "arg3");
    param->getDescription(false, text);
    EXPECT_EQ(text, "");
    EXPECT_EQ(param->getTypeInfo().getDataType(), kNoType);
}

// A class whose name cannot be had.
class Nameless : public test::Plain
{
public:
    const String &getClassName() const override
    {
        if (throws)
            throw std::runtime_error("no name");
        return Plain::getClassName();
    }
    bool throws = true;
};

// The last reference to the object goes while its own code runs.
TEST_F(LiveObjectInfoTest, AHostMayEndTheObjectThatIsBeingDescribed)
{
    struct Leaving : LiveObject
    {
        Leaving() : LiveObject("Leaving", true) { ++count(); }
        ~Leaving() override { --count(); }
        void leave() const
        {
            if (!std::exchange(hasLeft, true))
                release();
        }
        const String &getClassName() const override
        {
            if (isReady)
                leave();
            return LiveObject::getClassName();
        }
        int enumerate(SimpleArray &ids, int flags) const override
        {
            leave();
            return LiveObject::enumerate(ids, flags);
        }
        int getIDForName(const String &name, int &id, InfoType &type, int flags) const override
        {
            leave();
            return LiveObject::getIDForName(name, id, type, flags);
        }
        int getNameForID(int id, String &name, int) const override
        {
            leave();
            name = "own";
            return id == 7 ? 0 : 2;
        }
        InfoType getType(int id) override { return id == 7 ? kInfoReadOnly : kInfoNone; }
        LiveProperty *createProperty(const String &name, int id, unsigned flags) override
        {
            struct Ending : LiveProperty
            {
                using LiveProperty::LiveProperty;
                int get(Variant &out) const override
                {
                    getOwner().deleteID(getID());
                    static_cast<Leaving &>(getOwner()).leave();
                    return LiveProperty::get(out);
                }
            };
            return new Ending(*this, name, id, flags);
        }
        static int &count()
        {
            static int living = 0;
            return living;
        }
        mutable bool hasLeft = false;
        bool isReady = false;
    };
    using Question = void (*)(const ClassInfo &);
    const Question questions[] = {
        [](const ClassInfo &info) { EXPECT_EQ(nameOf(info), "Leaving"); },
        [](const ClassInfo &info) { EXPECT_EQ(listed(info, 0), std::vector<int>()); },
        [](const ClassInfo &info) { EXPECT_EQ(describe(info.getServiceInfo("x")), "none"); },
        [](const ClassInfo &info) { EXPECT_NE(describe(info.getServiceInfo(7)), "none"); },
        [](const ClassInfo &info) { EXPECT_NE(describe(info.getServiceInfo(8)), "none"); },
    };
    for (const Question question : questions) {
        auto *object = new Leaving;
        object->defineIDForName("hidden", 8, kInfoReadOnly | kPropertyUnlisted);
        const Class info = classOf(*object);
        object->isReady = true;
        question(*info);
        EXPECT_EQ(Leaving::count(), 0);
        EXPECT_EQ(describe(info->getServiceInfo(7)), "none");
    }
}

TEST_F(LiveObjectInfoTest, AnObjectThatFailsToTellItsNameHasNoRecordOrItsOldName)
{
    const auto object = make<Nameless>();
    EXPECT_EQ(object->getClassInfo(0), nullptr);
    object->throws = false;
    const Class info = classOf(*object);
    object->throws = true;
    EXPECT_EQ(nameOf(*info), "Plain");
}

TEST_F(LiveObjectInfoTest, ParametersAndServicesHoldTheirOwners)
{
    auto letter = make<Letter>();
    Class info = classOf(*letter);
    EXPECT_EQ(info->getRefCount(), 2);
    Service service = Service::adopt(info->getServiceInfo("send"));
    EXPECT_EQ(info->getRefCount(), 3);
    const Param to = Param::adopt(service->getParamInfo(0)),
                times = Param::adopt(service->getParamInfo(1));
    EXPECT_EQ(service->getRefCount(), 3);
    info.reset();
    service.reset();
    letter.reset();
    String name, word;
    to->getName(name);
    to->getTypeInfo().getDataTypeAsString(word);
    EXPECT_EQ(name, "to");
    EXPECT_EQ(word, "string");
    times->getName(name);
    EXPECT_EQ(name, "arg2");
}

TEST_F(LiveObjectInfoTest, ARecordOutlivesItsObjectAndKnowsTheNameOnly)
{
    auto letter = make<Letter>();
    const Class info = classOf(*letter);
    const Service send = Service::adopt(info->getServiceInfo("send"));
    letter.reset();
    EXPECT_EQ(info->getRefCount(), 2) << "the object has given up its reference";
    EXPECT_EQ(nameOf(*info), "Letter");
    EXPECT_EQ(info->getKind(), kClassOfObject);
    EXPECT_EQ(describe(info->getServiceInfo("send")), "none");
    EXPECT_EQ(describe(info->getServiceInfo(42)), "none");
    EXPECT_EQ(describe(info->getStaticServiceInfo(String())), "none");
    EXPECT_EQ(listed(*info, listAll, 45), std::vector<int>());
    String name;
    send->getName(name);
    EXPECT_EQ(name, "send");
    EXPECT_EQ(send->getParamCount(), 2);
}

TEST_F(LiveObjectInfoTest, ARecordListensToItsObjectAsLongAsBothLive)
{
    const auto letter = make<Letter>();
    EXPECT_FALSE(letter->isListening(farewell));
    {
        const Class info = classOf(*letter);
        EXPECT_TRUE(letter->isListening(farewell));
    }
    EXPECT_TRUE(letter->isListening(farewell)) << "the object holds the record";
}

TEST_F(LiveObjectInfoTest, ARecordMadeByHandLeavesItsObjectInPeace)
{
    const auto letter = make<Letter>();
    Class held = classOf(*letter);
    const auto other = make<Letter>();
    {
        const Class info = classOf(*other);
        held = info;
    }
    EXPECT_EQ(nameOf(*held), "Letter");
}

TEST_F(LiveObjectInfoTest, AnInvalidObjectDescribesNothing)
{
    const auto letter = make<Letter>();
    const Class info = classOf(*letter);
    letter->invalidate();
    EXPECT_EQ(describe(info->getServiceInfo("send")), "none");
    EXPECT_EQ(describe(info->getServiceInfo(42)), "none");
    EXPECT_EQ(listed(*info, listAll, 45), std::vector<int>());
    EXPECT_EQ(letter->getClassInfo(0), nullptr);
    EXPECT_EQ(nameOf(*info), "Letter");
    letter->revalidate();
    EXPECT_NE(describe(info->getServiceInfo(42)), "none");
}

TEST_F(LiveObjectInfoTest, WithoutMemoryThereIsNoRecord)
{
    struct Answer
    {
        Owned<Letter> letter = make<Letter>();
        Class info;
        Service row, property;
        Param param;
        std::string name;
        SimpleArray ids;
        int code = 0;
    };
    using AnswerPtr = std::unique_ptr<Answer>;
    const String send("send");
    underMemoryFailure(
        [] {
            auto answer = std::make_unique<Answer>();
            answer->letter->defineIDForName("a dynamic property with a long name", 7, 2);
            return answer;
        },
        [&](AnswerPtr &answer) {
            answer->info = Class::adopt(answer->letter->getClassInfo(0));
            if (!answer->info)
                return;
            answer->row = Service::adopt(answer->info->getServiceInfo(send));
            answer->property = Service::adopt(answer->info->getServiceInfo(7));
            if (answer->row)
                answer->param = Param::adopt(answer->row->getParamInfo(1));
            answer->code = answer->info->enumerate(answer->ids, listAll);
        },
        [&](AnswerPtr &answer, bool failed) {
            EXPECT_FALSE(failed);
            EXPECT_TRUE(answer->code == 0 || answer->code == -28) << answer->code;
            const Class info = classOf(*answer->letter);
            EXPECT_EQ(describe(info->getServiceInfo("send")), "send 42 5 Sends it.| -> boolean(2)");
            EXPECT_EQ(listed(*info, listAll), (std::vector<int>{7, 41, 42}));
        });
}

TEST_F(LiveObjectInfoTest, AParameterThatCannotBeNamedHasNoName)
{
    const auto letter = make<Letter>();
    const auto component = make<HostComponent>();
    letter->addComponent(*component);
    const Class info = classOf(*letter);
    const Service service = Service::adopt(info->getServiceInfo(600));
    const Param param = Param::adopt(service->getParamInfo(0));
    underMemoryFailure([] { return std::make_unique<String>("before"); },
                       [&](std::unique_ptr<String> &name) { param->getName(*name); },
                       [](std::unique_ptr<String> &name, bool failed) {
                           EXPECT_FALSE(failed);
                           EXPECT_TRUE(*name == "" || *name == "arg1");
                       });
}

TEST_F(LiveObjectInfoThreadTest, ThreadsMayDescribeOneObject)
{
    const auto letter = make<Letter>();
    letter->createLock();
    letter->defineIDForName("dynamic", 7, kInfoReadWrite);
    const Class info = classOf(*letter);
    test::runOnThreads(8, [&](int) {
        for (int turn = 0; turn < 200; ++turn) {
            const Service row = Service::adopt(info->getServiceInfo("send"));
            ASSERT_TRUE(row);
            const Param param = Param::adopt(row->getParamInfo(1));
            const Service property = Service::adopt(info->getServiceInfo(7));
            ASSERT_TRUE(property);
            EXPECT_EQ(listed(*info, listAll), (std::vector<int>{7, 41, 42}));
            EXPECT_EQ(nameOf(*info), "Letter");
        }
    });
}

} // namespace
