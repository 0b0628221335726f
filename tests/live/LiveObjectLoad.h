// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "live/Hosts.h"
#include "support/RunOnThreads.h"

namespace Tavrin::test {

// LiveObjectLoad: threads that share objects with locks. They read, write, call, invalidate, clone
// and broadcast, add and remove components and listeners, link objects to owners that come and go,
// change the elements of a collection, and pass values on. Every thread counts in a property of its
// own and in one that all share; what is lost shows in the sums.
class LiveObjectLoad
{
public:
    explicit LiveObjectLoad(int count) : threads(count)
    {
        for (int number = 0; number < objectCount; ++number) {
            objects.push_back(make<Shared>());
            objects.back()->createLock();
        }
        ruler = make<Ruler>();
        ruler->createLock();
        pages = make<LiveArray>("Pages", 0, false);
        pages->createLock();
        prototype = make<Shared>("Prototype");
        prototype->createLock();
        prototype->setObjectID(prototypeID);
        LiveObject::addFactory(*prototype, 1);
    }
    ~LiveObjectLoad() { LiveObject::removeFactory("Prototype"); }
    LiveObjectLoad(const LiveObjectLoad &) = delete;
    LiveObjectLoad &operator=(const LiveObjectLoad &) = delete;

    void run(int rounds)
    {
        runOnThreads(threads, [&](int thread) {
            std::minstd_rand random(static_cast<unsigned>(thread) + 1U);
            for (int round = 0; round < rounds; ++round)
                step(thread, random);
        });
        check();
    }

    // What is wrong, or nothing.
    const std::string &complaint() const { return wrong; }

private:
    static constexpr int objectCount = 4;
    static constexpr int sharedID = 1;
    static constexpr int firstOwnID = 100;
    static constexpr int slotID = 99;
    static constexpr int prototypeID = 4242;

    struct Shared : LiveObject
    {
        explicit Shared(const char *className = "Shared") : LiveObject(className, true)
        {
            defineIDForName("shared", sharedID, kInfoReadWrite);
            put(sharedID, 0, nullptr);
        }
        using LiveObject::put;
    };

    class Hold
    {
    public:
        explicit Hold(const Lockable &owner) : held(owner) { held.lock(); }
        ~Hold() { held.unlock(); }
        Hold(const Hold &) = delete;
        Hold &operator=(const Hold &) = delete;

    private:
        const Lockable &held;
    };

    void step(int thread, std::minstd_rand &random)
    {
        const InterfacePtr<LiveObject> object = objects[random() % objectCount];
        switch (random() % 17) {
        case 0:
        case 1:
        case 2:
            count(*object, sharedID, shared);
            break;
        case 3:
        case 4:
            countByName(*object, thread);
            break;
        case 5: {
            const Hold hold(*object);
            Variant out;
            object->call(Ruler::measureID, Array(), out, nullptr);
            break;
        }
        case 6:
            changeValidity(*object);
            break;
        case 7:
            clone(*object);
            break;
        case 8:
            changeComponent(*object, random() % 2 == 0);
            break;
        case 9:
            listen(*object);
            break;
        case 10:
            link(*object, random() % 2 == 0);
            break;
        case 11:
            create();
            break;
        case 12: {
            const Variant value(*object);
            if (value.getString().length() == 0)
                complain("a text is empty");
            break;
        }
        case 13: {
            const Hold hold(*object);
            SimpleArray ids;
            object->enumerate(ids, kListReadWrite | kDefaultLanguage);
            break;
        }
        case 14:
            object->broadcast(fourCharCode("ping"));
            break;
        case 15:
            usePages(static_cast<unsigned>(random() % 20));
            break;
        default:
            readAll(*object);
            break;
        }
    }

    // Adds one to a property, if the object is valid.
    static void count(LiveObject &object, int id, std::atomic<int> &total)
    {
        const Hold hold(object);
        Variant value;
        if (object.get(id, value, nullptr) != 0)
            return;
        if (object.put(id, value.getInteger() + 1, nullptr) == 0)
            ++total;
    }
    void countByName(LiveObject &object, int thread)
    {
        String name;
        name.print("thread%d", thread);
        const Hold hold(object);
        Variant value;
        Error error;
        if (object.get(name, value, &error) != 0)
            value = 0;
        if (object.put(name, value.getInteger() + 1, kInfoReadWrite, &error) == 0)
            ++owned;
    }
    static void changeValidity(LiveObject &object)
    {
        const Hold hold(object);
        object.invalidate();
        Variant out;
        object.get(sharedID, out, nullptr);
        object.revalidate();
    }
    void clone(LiveObject &object)
    {
        LiveObject *copy = nullptr;
        {
            const Hold hold(object);
            if (object.clone(&copy, true) != 0)
                complain("a clone failed");
        }
        if (copy == nullptr)
            return;
        Variant value;
        if (copy->get(sharedID, value, nullptr) != 0)
            complain("a clone lacks a property");
        copy->release();
    }
    void changeComponent(LiveObject &object, bool adds)
    {
        const Hold hold(object);
        if (adds)
            object.addComponent(*ruler);
        else
            object.removeComponent(*ruler);
    }
    void listen(LiveObject &object)
    {
        Ear ear([](Message &) { return false; });
        object.addListener(ear, fourCharCode("ping"));
        object.addListener(ear, becameInvalid);
        object.broadcast(fourCharCode("ping"));
        object.removeListener(ear, Broadcaster::allMessages);
        if (ear.heard.empty())
            complain("a listener heard nothing");
    }
    // A short life beside an object: one stores to the other.
    static void link(LiveObject &object, bool storesToObject)
    {
        const auto other = make<LiveObject>("Other", true);
        other->createLock();
        other->defineIDForName("slot", slotID, kInfoReadWrite);
        if (storesToObject) {
            other->setAutostore(&object, slotID);
            other->put("x", 1, kInfoReadWrite);
        } else {
            const Hold hold(object);
            object.setAutostore(other.get(), slotID);
        }
    }
    void create()
    {
        LiveObject *made = nullptr;
        if (LiveObject::create(&made, prototypeID, 1) != 0)
            complain("a creation failed");
        if (made != nullptr)
            made->release();
    }
    // Adds one to an element.
    void usePages(unsigned index)
    {
        {
            const Hold hold(*pages);
            Variant value;
            pages->getByIndex(index, value, nullptr);
            if (pages->putByIndex(index, value.getInteger() + 1, nullptr) == 0)
                ++turned;
        }
        if (Variant(*pages).getString().length() == 0)
            complain("a collection has no text");
    }
    static void readAll(LiveObject &object)
    {
        const Variant value(object);
        const Hold hold(object);
        Variant out;
        object.get("shared", out);
        object.get("nothing", out);
        static_cast<void>(object == object);
        static_cast<void>(value.isValidObject());
    }

    void complain(const char *what)
    {
        const Hold hold(*prototype);
        wrong = what;
    }
    void check()
    {
        int sharedSum = 0, ownedSum = 0;
        for (const auto &object : objects) {
            object->setAutostore(nullptr, 0);
            Variant value;
            object->get(sharedID, value, nullptr);
            sharedSum += value.getInteger();
            for (int thread = 0; thread < threads; ++thread) {
                String name;
                name.print("thread%d", thread);
                if (object->get(name, value) == 0)
                    ownedSum += value.getInteger();
            }
            object->deleteDynamicProperties(true);
        }
        if (sharedSum != shared)
            complain("counts of the shared property are lost");
        int turnedSum = 0;
        for (unsigned index = 0; index < pages->length(); ++index)
            turnedSum += std::as_const(*pages).getArray()[index].getInteger();
        if (turnedSum != turned)
            complain("counts of the collection are lost");
        if (ownedSum != owned)
            complain("counts of the threads' own properties are lost");
    }

    int threads;
    std::vector<Owned<LiveObject>> objects;
    Owned<Ruler> ruler;
    Owned<LiveArray> pages;
    Owned<LiveObject> prototype;
    std::atomic<int> shared{0};
    std::atomic<int> owned{0};
    std::atomic<int> turned{0};
    std::string wrong;
};

} // namespace Tavrin::test
