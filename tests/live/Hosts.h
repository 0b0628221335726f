// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <tavrin/Array.h>
#include <tavrin/Error.h>
#include <tavrin/LiveCollection.h>
#include <tavrin/LiveComponent.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Message.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/Variant.h>

#include "support/ValueText.h"

// Classes of an application, as their authors write them, for the tests of live objects.
namespace Tavrin::test {

// Holds the reference of the maker, and gives it up.
template <class T>
using Owned = InterfacePtr<T>;

template <class T, class... Arguments>
Owned<T> make(Arguments &&...arguments)
{
    return Owned<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

template <class... Values>
Array arrayOfValues(const Values &...values)
{
    Array array;
    ((array += Variant(values)), ...);
    return array;
}

inline std::vector<int> idsIn(const SimpleArray &ids)
{
    return {ids.begin(), ids.end()};
}

// Document: a size that scripts may change, a title that they may not, methods, and an operator.
class Document : public LiveObject
{
public:
    enum : int
    {
        sizeID = 1,
        titleID,
        clearID,
        scaleID,
        throwID,
        exhaustID,
        layersID,
        plusID = firstOperatorID + 5,
    };

    explicit Document(const char *className = "Document", bool isDynamic = true)
        : LiveObject(className, isDynamic)
    {
        setPropertyManager(&table());
        ++living;
    }

    static const LivePropertyManager &table()
    {
        static constexpr LivePropertyInfo rows[] = {
            {"size", sizeID, kInfoReadWrite, "number\tThe size in pages."},
            {"title", titleID, kInfoReadOnly, "string\tThe title."},
            {"clear", clearID, kInfoMethod, "undefined\tEmpties the document."},
            {"scale", scaleID, kInfoMethod, "number\tScales.,factor:number\tBy how much."},
            {"throws", throwID, kInfoReadWriteMethod, "any\tThrows."},
            {"exhausts", exhaustID, kInfoReadWriteMethod, "any\tRuns out of memory."},
            {"layers", layersID, kInfoReadOnlyMethod, "object\tThe layers, all or one of them."},
            {"+", plusID, kInfoMethod, nullptr},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        return manager;
    }

    int get(int id, Variant &out, Error *error) const override
    {
        switch (id) {
        case sizeID:
            out = size;
            return 0;
        case titleID:
            out = title;
            return 0;
        case throwID:
            throw std::runtime_error("no paper");
        case exhaustID:
            throw std::bad_alloc();
        default:
            return LiveObject::get(id, out, error);
        }
    }
    int put(int id, const Variant &value, Error *error) override
    {
        switch (id) {
        case sizeID:
            if (const int code = value.validate(0, 1000))
                return setError(code, id, error, false);
            size = value.getInteger();
            return invokeAutostore(error);
        case throwID:
            throw std::runtime_error("no paper");
        case exhaustID:
            throw std::bad_alloc();
        default:
            return LiveObject::put(id, value, error);
        }
    }
    int call(int id, const Array &args, Variant &result, Error *error) override
    {
        switch (id) {
        case clearID:
            size = 0;
            return 0;
        case scaleID:
            size *= args[0].getInteger();
            result = size;
            return 0;
        case throwID:
            throw std::runtime_error("no paper");
        case exhaustID:
            throw std::bad_alloc();
        default:
            return LiveObject::call(id, args, result, error);
        }
    }
    using LiveObject::call;
    using LiveObject::get;
    using LiveObject::put;

    using LiveObject::cloneContent;
    using LiveObject::invokeAutostore;
    using LiveObject::lookupComponent;
    using LiveObject::lookupIndexableComponent;

    int size = 3;
    String title = "Report";

    static inline int living = 0;

protected:
    ~Document() override { --living; }
};

// Plain: a dynamic object that counts how many of it there are.
class Plain : public LiveObject
{
public:
    explicit Plain(const char *className = "Plain", bool isDynamic = true)
        : LiveObject(className, isDynamic)
    {
        ++living;
    }

    using LiveObject::cloneContent;
    using LiveObject::invokeAutostore;
    using LiveObject::lookupComponent;
    using LiveObject::lookupIndexableComponent;

    static inline int living = 0;

protected:
    ~Plain() override { --living; }
};

// Ear: a listener that notes the messages, and does what the test says.
class Ear : public Listener
{
public:
    using Action = std::function<bool(Message &)>;

    Ear() = default;
    explicit Ear(Action whatToDo) : action(std::move(whatToDo)) {}

    bool notify(Message &message) override
    {
        heard.push_back(message.getID());
        return action && action(message);
    }

    Action action;
    std::vector<int> heard;
};

// An ear for the messages of objects.
inline Ear liveEar(std::function<bool(LiveMessage &)> action)
{
    return Ear([action = std::move(action)](Message &message) {
        return action(static_cast<LiveMessage &>(message));
    });
}

// Ruler: a component that measures documents.
class Ruler : public LiveComponent
{
public:
    enum : int
    {
        unitID = 101,
        lengthID,
        measureID,
        anywhereID,
        gridID,
        resetID,
    };

    Ruler()
    {
        setPropertyManager(&table());
        ++living;
    }

    static const LivePropertyManager &table()
    {
        static constexpr LivePropertyInfo rows[] = {
            {"unit", unitID, kInfoReadWrite, "string\tThe unit."},
            {"extent", lengthID, kInfoReadOnly, "number\tThe extent."},
            {"measure", measureID, kInfoMethod, "number\tMeasures."},
            {"anywhere", anywhereID, kInfoReadOnlyMethod, "number\tWorks on all objects."},
            {"grid", gridID, kInfoReadWriteMethod, "number\tThe grid."},
            {nullptr, 0, 0, nullptr},
        };
        static const LivePropertyManager manager(rows);
        return manager;
    }

    int get(const LiveObject &object, int id, Variant &out, Error *error) const override
    {
        switch (id) {
        case unitID:
            out = unit;
            return 0;
        case lengthID:
            out = 297;
            return 0;
        case anywhereID:
        case gridID:
            out = id;
            return 0;
        default:
            return LiveComponent::get(object, id, out, error);
        }
    }
    int put(LiveObject &object, int id, const Variant &value, Error *error) override
    {
        if (id != unitID)
            return LiveComponent::put(object, id, value, error);
        unit = value.getString();
        return 0;
    }
    int call(LiveObject &object, int id, const Array &args, Variant &result, Error *error) override
    {
        if (id != measureID && id != anywhereID && id != gridID)
            return LiveComponent::call(object, id, args, result, error);
        measured = &object;
        result = static_cast<int>(args.length());
        return 0;
    }
    bool isGeneric(int id) const override { return id == anywhereID; }
    void reset() override { ++resets; }

    String unit = "mm";
    const LiveObject *measured = nullptr;
    int resets = 0;

    static inline int living = 0;

protected:
    ~Ruler() override { --living; }
};

// Veil: a component that gives all ids the type that it is told to.
class Veil : public LiveComponent
{
public:
    explicit Veil(InfoType whichType) : type(whichType) {}

    InfoType getType(const LiveObject &, int) override { return type; }

    InfoType type;
};

// Shelf: an indexable component.
class Shelf : public LiveComponent
{
public:
    bool isIndexable() const override { return true; }
    int getLength(const LiveObject &, unsigned int &length) const override
    {
        length = elements.length();
        return code;
    }
    int putLength(LiveObject &, unsigned int length) override
    {
        elements.setLength(length);
        return code;
    }
    int getByIndex(const LiveObject &, unsigned int index, Variant &out, Error *) const override
    {
        out = std::as_const(elements)[index];
        return code;
    }
    int putByIndex(LiveObject &, unsigned int index, const Variant &value, Error *) override
    {
        elements[index] = value;
        return code;
    }
    int deleteByIndex(LiveObject &, unsigned int index) override
    {
        elements.deleteAt(index);
        return code;
    }

    Array elements;
    int code = 0;
};

// Clerk: a listener that serves the elements of a collection.
class Clerk : public Listener
{
public:
    bool notify(Message &sent) override
    {
        auto &message = static_cast<LiveMessage &>(sent);
        const auto index = static_cast<unsigned>(message.getPropertyID());
        switch (message.getID()) {
        case askGetLength:
            message.getData()->setInteger(elements.length());
            return true;
        case askPutLength:
            elements.setLength(message.getData()->getUInteger());
            return true;
        case askGetIndex:
            *message.getData() = std::as_const(elements)[index];
            return true;
        case askPutIndex:
            elements[index] = *message.getData();
            return true;
        case askDeleteIndex:
            elements.deleteAt(index);
            return true;
        default:
            return false;
        }
    }

    Array elements;
};

} // namespace Tavrin::test
