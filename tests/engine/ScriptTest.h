// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/HashTable.h>
#include <tavrin/LiveCollection.h>
#include <tavrin/LiveComponent.h>
#include <tavrin/LiveObject.h>
#include <tvscript/Engine.h>

#include "support/LibraryTest.h"
#include "support/TestAllocator.h"
#include "support/ValueText.h"

namespace Tavrin::test {

inline std::string utf8(const String &text)
{
    std::string bytes(detail::utf8Length(text), char());
    detail::copyUtf8(text, bytes.data());
    return bytes;
}

// ScriptTest: the library up, and one engine in it.
class ScriptTest : public LibraryTest
{
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        owned = std::make_unique<TvScript::Engine>();
    }
    void TearDown() override
    {
        owned.reset();
        LibraryTest::TearDown();
    }

    TvScript::Engine &engine() { return *owned; }
    void endEngine() { owned.reset(); }

    // The value of a script that has to run.
    Variant run(const String &text, const char *file = "test.js")
    {
        Variant result;
        Error error;
        const int code = engine().evaluate(text, file, result, &error);
        EXPECT_EQ(code, 0) << utf8(fullText(error));
        return result;
    }
    // The same as text.
    std::string tell(const String &text) { return utf8(run(text).toString()); }

    // What a script that has to fail reports: "code: text @file:line".
    std::string fail(const String &text, const char *file = "test.js")
    {
        Variant result;
        Error error;
        const int code = engine().evaluate(text, file, result, &error);
        EXPECT_NE(code, 0) << "it ran: " << utf8(result.toString());
        EXPECT_EQ(code, error.getCode());
        EXPECT_FALSE(result.isDefined());
        return describe(error);
    }

    // How often the heap is asked by a script.
    std::int64_t allocationsOf(const char *text)
    {
        const std::int64_t before = TestAllocator::shared().allocations();
        run(text);
        return TestAllocator::shared().allocations() - before;
    }

    static std::string describe(const Error &error)
    {
        const ErrorInfo *newest = error.getError();
        if (newest == nullptr)
            return "none";
        std::string told = std::to_string(newest->getCode()) + ": " + utf8(newest->getText());
        if (newest->getLine() > 0)
            told += " @" + utf8(newest->getFile()) + ":" + std::to_string(newest->getLine());
        return told;
    }

private:
    std::unique_ptr<TvScript::Engine> owned;
};

// A class as a host writes it: a number that can be written, one that cannot, a text, a value of
// any kind, two methods.
class Box : public LiveObject
{
public:
    explicit Box(const char *className = "Box", bool isDynamic = true)
        : LiveObject(className, isDynamic)
    {
        setPropertyManager(&properties());
        ++living();
    }

    enum ID
    {
        widthID = 1,
        areaID,
        labelID,
        anyID,
        growID,
        failID,
        echoID,
        throwID,
    };

    static const LivePropertyManager &properties()
    {
        static constexpr LivePropertyInfo rows[] = {
            {"", 0, kInfoMethod, "Box\tMakes a box.,width:number\tIts width."},
            {"width", widthID, kInfoReadWrite, "number\tThe width."},
            {"area", areaID, kInfoReadOnly, "number\tThe area."},
            {"label", labelID, kInfoReadWrite, "string\tWhat it says."},
            {"any", anyID, kInfoReadWrite, "any\tA value of any kind."},
            {"grow", growID, kInfoMethod, "number\tGrows it.,by:number\tBy how much."},
            {"fail", failID, kInfoMethod, "undefined\tFails.,code:number\tThe code."},
            {"echo", echoID, kInfoMethod, "array\tGives its arguments back."},
            {"raise", throwID, kInfoMethod, "undefined\tThrows an exception of C++."},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        return manager;
    }

    static int &living()
    {
        static int count = 0;
        return count;
    }

    using LiveObject::call;
    using LiveObject::get;
    using LiveObject::put;

    int initialize(const Array &args, Error *error) override
    {
        if (args.length() == 0)
            return 0;
        if (const int code = args[0].validate(0.0, 1000.0))
            return setError(code, widthID, error, false);
        width = args[0].getDouble();
        return 0;
    }
    int get(int id, Variant &out, Error *error) const override
    {
        ++gets;
        switch (id) {
        case widthID:
            out.setDouble(width);
            return 0;
        case areaID:
            out.setDouble(width * width);
            return 0;
        case labelID:
            out.setString(label);
            return 0;
        case anyID:
            out = any;
            return 0;
        default:
            return LiveObject::get(id, out, error);
        }
    }
    int put(int id, const Variant &value, Error *error) override
    {
        switch (id) {
        case widthID:
            if (const int code = value.validate(0.0, 1000.0))
                return setError(code, id, error, false);
            width = value.getDouble();
            return 0;
        case labelID:
            label = value.toString();
            return 0;
        case anyID:
            any = value;
            return 0;
        default:
            return LiveObject::put(id, value, error);
        }
    }
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        switch (id) {
        case constructorID:
            result.setLiveObject(new Box(utf8(getClassName()).c_str()), 0);
            result.getLiveObject()->release();
            return 0;
        case growID:
            width += args[0].getDouble();
            result.setDouble(width);
            return 0;
        case failID:
            return args[0].getInteger();
        case echoID:
            result.setArray(args);
            return 0;
        case throwID:
            throw 5;
        default:
            return LiveObject::call(id, args, result, error);
        }
    }

    double width = 1;
    String label;
    Variant any;
    mutable int gets = 0;

protected:
    ~Box() override { --living(); }
};

// A new object, held.
template <class T, class... Arguments>
InterfacePtr<T> make(Arguments &&...arguments)
{
    return InterfacePtr<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

// BoxScriptTest: the global variable `box` is a box of the test.
class BoxScriptTest : public ScriptTest
{
protected:
    void SetUp() override
    {
        ScriptTest::SetUp();
        box = make<Box>();
        engine().setGlobal("box", *box);
    }
    void TearDown() override
    {
        box.reset();
        ScriptTest::TearDown();
    }

    InterfacePtr<Box> box;
};

// A function of scripts: what the descriptor of a property says.
inline constexpr const char *tellTraits =
    "function tell(object, name) {"
    "  var found = Object.getOwnPropertyDescriptor(object, name);"
    "  return found && [found.value, found.writable, found.enumerable, found.configurable].join();"
    "}";

} // namespace Tavrin::test
