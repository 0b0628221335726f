// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <tavrin/String.h>
#include <tavrin/Variant.h>
#include <tvscript/Object.h>

namespace TvScript {

// The least that an interpreter can be.
class Engine
{};

} // namespace TvScript

namespace Tavrin::test {

// What became of the objects of a test, in order.
using Journal = std::vector<std::string>;

// FakeObject: a script object whose answers a test decides. It deletes itself when the last value
// lets it go, and then leaves its name in the journal.
class FakeObject final : public TvScript::Object
{
public:
    explicit FakeObject(std::string itsName = {}, Journal *itsJournal = nullptr)
        : name(std::move(itsName)), journal(itsJournal)
    {
        ++living();
    }

    // What it answers. A function that is not set gives the default.
    std::function<void(String &text)> onToString;          // default: "[object <name>]"
    std::function<bool(Variant &value, int hint)> onValue; // default: there is none
    std::function<void()> onDestroy;                       // before it is gone
    bool valid = true;
    const Variant *boxed = nullptr;
    TvScript::Engine *engine = nullptr;
    int propertyCode = 0;
    // What it was asked.
    int lastHint = -1;
    int propertyCalls = 0;
    int lastFlags = 0;

    // All fakes of the process that are not destroyed yet.
    static int &living()
    {
        static int count = 0;
        return count;
    }

    bool isValid() const override { return valid; }
    void destroy() override
    {
        if (onDestroy)
            onDestroy();
        if (journal != nullptr)
            journal->push_back(name);
        delete this;
    }
    void toString(String &text) override
    {
        if (onToString)
            onToString(text);
        else
            text = ("[object " + name + "]").c_str();
    }
    void setData(Root *object) override { data = object; }
    const Variant *getValue() const override { return boxed; }
    TvScript::Engine *getEngine() const override { return engine; }
    void setObjectID(int id) override { objectID = id; }
    bool valueOf(Variant &value, int hint) override
    {
        lastHint = hint;
        return onValue ? onValue(value, hint) : false;
    }
    int getProperties(THashTable<Variant> &, int flags, Error *) override
    {
        ++propertyCalls;
        lastFlags = flags;
        return propertyCode;
    }
    int setProperties(const THashTable<Variant> &, Error *) override
    {
        ++propertyCalls;
        return propertyCode;
    }

private:
    ~FakeObject() { --living(); }

    std::string name;
    Journal *journal;
};

// A value that holds the object.
inline Variant holding(TvScript::Object *object)
{
    Variant value;
    value.setJSObject(object);
    return value;
}

} // namespace Tavrin::test
