// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "live/Hosts.h"

namespace Tavrin::test {

// ObjectModel: what an object of the walk is, in plain containers that are searched from the front.
struct ObjectModel
{
    struct Property
    {
        std::string name;
        int id;
        int type;
        bool isOpen; // the first write of a read-only one
        bool isPermanent;
        bool isUnlisted;
        int index;
        int value; // see numberOf
        bool isByMessage = false;
    };

    bool isValid = true;
    std::vector<Property> properties; // the one that was used last is the first
    int nextIndex = 0;
    std::vector<int> components; // numbers of rulers
    bool isListening = false;
    int told = 0;              // how often listeners heard of its validity
    bool isServed = false;     // whether a listener answers for its properties
    std::map<int, int> served; // what that one knows
    int target = -1;           // the number of the object that it stores itself to
    int slot = 0;
    bool isStoring = false;

    Property *find(int id)
    {
        return moveToFront([&](const Property &each) { return each.id == id; });
    }
    Property *find(const std::string &name, bool ignoresCase)
    {
        return moveToFront([&](const Property &each) {
            return ignoresCase ? lower(each.name) == lower(name) : each.name == name;
        });
    }
    template <class Test>
    Property *moveToFront(Test test)
    {
        const auto found = std::find_if(properties.begin(), properties.end(), test);
        if (found == properties.end())
            return nullptr;
        std::rotate(properties.begin(), found, found + 1);
        return &properties.front();
    }
    static std::string lower(std::string text)
    {
        std::transform(text.begin(), text.end(), text.begin(),
                       [](unsigned char unit) { return static_cast<char>(std::tolower(unit)); });
        return text;
    }
};

// Server: a listener that knows the names m0 to m5, and has the values of the properties.
struct Server : Listener
{
    static constexpr int firstID = 3000;

    bool notify(Message &sent) override
    {
        auto &message = static_cast<LiveMessage &>(sent);
        Variant &data = *message.getData();
        switch (message.getID()) {
        case askID: {
            const String name = data.getString();
            if (name.length() != 2 || name.wstr()[0] != 'm')
                return false;
            const int number = name.wstr()[1] - '0';
            message.getPropertyID() = firstID + number;
            data = typeOf(number);
            return true;
        }
        case askGet:
            data.erase();
            if (const auto found = values.find(message.getPropertyID()); found != values.end())
                data = found->second;
            return true;
        case askPut:
            values[message.getPropertyID()] = data;
            return true;
        default:
            return false;
        }
    }
    static int typeOf(int number) { return number % 3 == 0 ? kInfoReadOnly : kInfoReadWrite; }

    std::map<int, Variant> values;
};

// LiveObjectWalk: a long walk of random operations over a few objects, their components, listeners,
// owners and collections, each step beside the model. A step returns what differs, or nothing.
class LiveObjectWalk
{
public:
    explicit LiveObjectWalk(std::uint64_t seed) : random(seed)
    {
        for (int number = 0; number < objectCount; ++number) {
            objects.push_back(make<Plain>());
            models.emplace_back();
            ears.push_back(std::make_unique<Ear>());
            servers.push_back(std::make_unique<Server>());
        }
        for (int number = 0; number < rulerCount; ++number)
            rulers.push_back(make<Ruler>());
        list = make<LiveArray>("List", 0, false);
        pages = make<LiveCollection>("Pages", 0, false);
        shelf = make<Shelf>();
    }
    ~LiveObjectWalk()
    {
        for (const auto &each : objects) { // which are values of each other
            each->setAutostore(nullptr, 0);
            each->revalidate();
            each->deleteDynamicProperties(true);
        }
    }
    LiveObjectWalk(const LiveObjectWalk &) = delete;
    LiveObjectWalk &operator=(const LiveObjectWalk &) = delete;

    std::string step()
    {
        using Step = std::string (LiveObjectWalk::*)();
        struct Chance
        {
            int percent;
            Step step;
        };
        static constexpr Chance chances[] = {
            {14, &LiveObjectWalk::define},        {14, &LiveObjectWalk::getByID},
            {12, &LiveObjectWalk::putByID},       {14, &LiveObjectWalk::byName},
            {6, &LiveObjectWalk::lookUp},         {5, &LiveObjectWalk::deleteOne},
            {2, &LiveObjectWalk::deleteMany},     {7, &LiveObjectWalk::changeComponents},
            {6, &LiveObjectWalk::useComponent},   {4, &LiveObjectWalk::enumerate},
            {2, &LiveObjectWalk::changeValidity}, {2, &LiveObjectWalk::changeListener},
            {1, &LiveObjectWalk::changeServer},   {2, &LiveObjectWalk::changeOwner},
            {2, &LiveObjectWalk::clone},          {4, &LiveObjectWalk::useList},
            {3, &LiveObjectWalk::usePages},
        };
        at = below(objectCount);
        int left = below(100);
        for (const Chance &each : chances)
            if ((left -= each.percent) < 0)
                return (this->*each.step)();
        return {};
    }

private:
    static constexpr int objectCount = 4;
    static constexpr int rulerCount = 3;
    static constexpr int firstID = 1000; // of dynamic properties
    static constexpr int idCount = 24;

    int below(int limit) { return static_cast<int>(random() % static_cast<std::uint64_t>(limit)); }
    bool chance(int percent) { return below(100) < percent; }

    Plain &object() { return *objects[static_cast<std::size_t>(at)]; }
    ObjectModel &model() { return models[static_cast<std::size_t>(at)]; }

    std::string someName()
    {
        if (chance(10))
            return "m" + std::to_string(below(6));
        if (chance(5))
            return "unit";
        std::string name = "p" + std::to_string(below(20));
        if (chance(10))
            name[0] = 'P';
        return name;
    }
    int someID()
    {
        if (chance(10))
            return Server::firstID + below(6);
        return firstID + below(idCount);
    }

    static std::string differ(const std::string &what, int got, int expected)
    {
        if (got == expected)
            return {};
        return what + " gave " + std::to_string(got) + ", not " + std::to_string(expected);
    }
    // Numbers stand for themselves, undefined is -1, and an object a number of its own.
    int numberOf(const Variant &value) const
    {
        if (const LiveObject *object = value.getLiveObject())
            for (int number = 0; number < objectCount; ++number)
                if (objects[static_cast<std::size_t>(number)].get() == object)
                    return valueOf(number);
        return value.isDefined() ? value.getInteger() : -1;
    }
    static int valueOf(int number) { return 1'000'000 + number; }

    static bool isCallable(int type) { return type >= kInfoMethod; }
    static bool isReadable(int type) { return type != kInfoMethod; }
    static bool isWritable(int type)
    {
        return type == kInfoReadWrite || type == kInfoReadWriteMethod;
    }

    std::string define()
    {
        static constexpr int types[] = {1, 2, 2, 2, 5, 6, 7};
        const std::string name = someName();
        const int id = someID();
        const int type = types[below(7)];
        const bool isPermanent = chance(10), isUnlisted = chance(20), ignoresCase = chance(10);
        const int flags = type | (isPermanent ? kPropertyPermanent : 0) |
                          (isUnlisted ? kPropertyUnlisted : 0) |
                          (ignoresCase ? kCaselessLanguage : 0);
        int expected = 0;
        if (!model().isValid)
            expected = 45;
        else if (model().find(name, ignoresCase) != nullptr)
            expected = 40;
        const int got = object().defineIDForName(name.c_str(), id, flags);
        if (expected == 0)
            model().properties.insert(model().properties.begin(),
                                      {name, id, type, (type & 1) != 0, isPermanent, isUnlisted,
                                       model().nextIndex++, -1});
        return differ("define " + name, got, expected);
    }

    // What the object of a number answers to a read, and the value.
    int readModel(ObjectModel &object, int id, int &value)
    {
        value = -1;
        if (!object.isValid)
            return 45;
        auto *property = object.find(id);
        if (property == nullptr || !isReadable(property->type))
            return 2;
        if (property->isByMessage) {
            if (!object.isServed)
                return 2;
            const auto found = object.served.find(id);
            property->value = found != object.served.end() ? found->second : -1;
        }
        value = property->value;
        return 0;
    }
    int writeModel(int number, int id, int value)
    {
        ObjectModel &object = models[static_cast<std::size_t>(number)];
        if (!object.isValid)
            return 45;
        auto *property = object.find(id);
        if (property == nullptr || (!property->isOpen && !isWritable(property->type)))
            return 2;
        if (property->isByMessage) {
            if (!object.isServed)
                return 2;
            object.served[id] = value;
        } else {
            property->isOpen = false;
            property->value = value;
        }
        return storeModel(number);
    }
    // A change goes on to the owner, unless it comes from there.
    int storeModel(int number)
    {
        ObjectModel &object = models[static_cast<std::size_t>(number)];
        if (object.target < 0 || object.isStoring)
            return 0;
        object.isStoring = true;
        const int code = writeModel(object.target, object.slot, valueOf(number));
        object.isStoring = false;
        return code;
    }
    // The id and the type of a name; a listener that knows it gives the object a property.
    int findModel(const std::string &name, bool ignoresCase, int &id, int &type)
    {
        id = 0;
        type = kInfoNone;
        if (!model().isValid)
            return 45;
        if (const auto *property = model().find(name, ignoresCase)) {
            id = property->id;
            type = property->type;
            return 0;
        }
        if (name == "unit" && !model().components.empty()) {
            id = Ruler::unitID;
            type = kInfoReadWrite;
            return 0;
        }
        if (!model().isServed || name[0] != 'm')
            return 2;
        const int number = name[1] - '0';
        id = Server::firstID + number;
        type = Server::typeOf(number);
        model().properties.insert(
            model().properties.begin(),
            {name, id, type, (type & 1) != 0, false, true, model().nextIndex++, -1, true});
        return 0;
    }

    std::string getByID()
    {
        const int id = someID();
        int value;
        const int expected = readModel(model(), id, value);
        Variant out = 7;
        Error error;
        const int got = object().get(id, out, &error);
        const std::string gap =
            differ("get", got, expected) + differ("value", numberOf(out), value);
        return gap.empty() ? differ("error of get", error.getCode(), expected) : gap;
    }

    std::string putByID()
    {
        const int id = someID(), value = below(1000);
        const int expected = writeModel(at, id, value);
        return differ("put", object().put(id, value, nullptr), expected);
    }

    std::string byName()
    {
        const std::string name = someName();
        const int way = below(4);
        int id, type;
        int expected = findModel(name, false, id, type);
        const bool isRulers = id == Ruler::unitID;
        Variant out;
        if (way == 0) {
            int value = -1;
            if (expected == 0 && isRulers)
                return {};
            if (expected == 0)
                expected = isReadable(type) ? readModel(model(), id, value) : 55;
            const int got = object().get(name.c_str(), out);
            return differ("get " + name, got, expected) + differ("value", numberOf(out), value);
        }
        if (way < 3) {
            const bool makesNew = way == 2 && chance(20);
            if (expected == 2 && makesNew) {
                expected = 0;
                id = LiveBase::getNextID() + 1;
                type = kInfoReadWrite;
                model().properties.insert(
                    model().properties.begin(),
                    {name, id, type, false, false, false, model().nextIndex++, -1});
            }
            if (expected == 0 && type == kInfoMethod)
                expected = 55;
            else if (expected == 0 && !isWritable(type))
                expected = 46;
            else if (expected == 0)
                expected = isRulers ? storeModel(at) : writeModel(at, id, 5);
            const int flags = makesNew ? kInfoReadWrite : LiveObject::onlyKnown;
            return differ("put " + name, object().put(name.c_str(), 5, flags), expected);
        }
        if (expected == 0) {
            expected = 24;
            if (isCallable(type))
                model().find(id); // is used last
        }
        return differ("call " + name, object().call(name.c_str(), out), expected);
    }

    std::string lookUp()
    {
        if (chance(50)) {
            const std::string name = someName();
            const bool ignoresCase = chance(30);
            int expectedID, expectedType, id;
            InfoType type;
            const int expected = findModel(name, ignoresCase, expectedID, expectedType);
            const int got = object().getIDForName(
                name.c_str(), id, type, ignoresCase ? kCaselessLanguage : kDefaultLanguage);
            return differ("getIDForName " + name, got, expected) + differ("id", id, expectedID) +
                   differ("type", type, expectedType);
        }
        const int id = someID();
        const auto *property = model().isValid ? model().find(id) : nullptr;
        const bool asksType = chance(50);
        if (asksType)
            return differ("getType", object().getType(id),
                          property != nullptr ? property->type : kInfoNone);
        const std::string expectedName = property != nullptr ? property->name : "";
        String name;
        const int got = object().getNameForID(id, name, kDefaultLanguage);
        return differ("getNameForID", got,
                      !model().isValid      ? 45
                      : property == nullptr ? 2
                                            : 0) +
               differ("name", name == expectedName.c_str(), 1);
    }

    std::string deleteOne()
    {
        const int id = someID();
        int expected = 2;
        if (!model().isValid) {
            expected = 45;
        } else if (auto *property = model().find(id); property && !property->isPermanent) {
            expected = 0;
            model().properties.erase(model().properties.begin());
        }
        return differ("deleteID", object().deleteID(id), expected);
    }

    std::string deleteMany()
    {
        const bool resets = chance(20), all = resets || chance(50);
        if (resets)
            object().reset();
        else
            object().deleteDynamicProperties(all);
        if (model().isValid)
            std::erase_if(model().properties, [&](const ObjectModel::Property &each) {
                return all || !each.isPermanent;
            });
        return {};
    }

    std::string changeComponents()
    {
        const int number = below(rulerCount);
        auto &components = model().components;
        Ruler &ruler = *rulers[static_cast<std::size_t>(number)];
        const int expected = model().isValid ? 0 : 45;
        const auto place = std::find(components.begin(), components.end(), number);
        if (chance(50)) {
            if (model().isValid && place == components.end())
                components.push_back(number);
            return differ("addComponent", object().addComponent(ruler), expected);
        }
        if (model().isValid && place != components.end())
            components.erase(place);
        return differ("removeComponent", object().removeComponent(ruler), expected);
    }

    std::string useComponent()
    {
        const bool has = model().isValid && !model().components.empty();
        if (has && chance(50)) {
            const String unit(std::to_string(below(1000)).c_str());
            const int got = object().put(Ruler::unitID, unit, nullptr);
            const Ruler &last = *rulers[static_cast<std::size_t>(model().components.back())];
            return differ("put of a unit", got, storeModel(at)) +
                   differ("unit", last.unit == unit, 1);
        }
        Variant out;
        int expected = has ? 0 : 24;
        if (!model().isValid)
            expected = 45;
        const int got = object().call(Ruler::measureID, arrayOfValues(1, 2), out, nullptr);
        return differ("measure", got, expected) +
               differ("result", numberOf(out), expected == 0 ? 2 : -1);
    }

    std::string enumerate()
    {
        std::vector<std::pair<int, int>> places; // index and id
        std::vector<int> expected;
        const bool withUnlisted = chance(50);
        if (model().isValid) {
            for (const auto &each : model().properties)
                if (!each.isUnlisted || withUnlisted)
                    places.emplace_back(each.index, each.id);
            std::sort(places.begin(), places.end());
            for (const auto &[index, id] : places)
                if (std::find(expected.begin(), expected.end(), id) == expected.end())
                    expected.push_back(id);
            if (!model().components.empty())
                for (const int id : {Ruler::unitID, Ruler::anywhereID, Ruler::gridID})
                    expected.push_back(id);
        }
        SimpleArray ids;
        const int got = object().enumerate(ids, kListReadWrite | kDefaultLanguage |
                                                    (withUnlisted ? kListUnlisted : 0));
        if (idsIn(ids) != expected)
            return "other ids";
        return differ("enumerate", got, model().isValid ? 0 : 45);
    }

    std::string changeValidity()
    {
        const bool isNowValid = chance(70);
        if (isNowValid)
            object().revalidate();
        else
            object().invalidate();
        if (isNowValid != model().isValid && model().isListening)
            ++model().told;
        model().isValid = isNowValid;
        Ear &ear = *ears[static_cast<std::size_t>(at)];
        return differ("listener", static_cast<int>(ear.heard.size()), model().told);
    }

    std::string changeListener()
    {
        Ear &ear = *ears[static_cast<std::size_t>(at)];
        model().isListening = chance(50);
        for (const int id : {becameValid, becameInvalid})
            if (model().isListening)
                object().addListener(ear, id);
            else
                object().removeListener(ear, id);
        return differ("isListening", object().isListening(becameValid), model().isListening);
    }

    std::string changeServer()
    {
        model().isServed = chance(50);
        Server &server = *servers[static_cast<std::size_t>(at)];
        for (const int id : {askID, askGet, askPut})
            if (model().isServed)
                object().addListener(server, id);
            else
                object().removeListener(server, id);
        return {};
    }

    std::string changeOwner()
    {
        model().target = below(objectCount + 1) - 1;
        model().slot = model().target < 0 ? 0 : someID();
        LiveObject *owner =
            model().target < 0 ? nullptr : objects[static_cast<std::size_t>(model().target)].get();
        return differ("setAutostore", object().setAutostore(owner, model().slot), 0);
    }

    std::string clone()
    {
        const int source = at;
        LiveObject *out = nullptr;
        const int got = object().clone(&out, true);
        const Owned<LiveObject> held = Owned<LiveObject>::adopt(out);
        if (const std::string gap = differ("clone", got, model().isValid ? 0 : 45); !gap.empty())
            return gap;
        if (out == nullptr)
            return {};
        // Goes on in place of another object.
        at = below(objectCount);
        if (at == source || !model().isValid)
            return {};
        const Plain &from = *objects[static_cast<std::size_t>(source)];
        const ObjectModel &original = models[static_cast<std::size_t>(source)];
        const int code = from.cloneContent(object(), true);
        model().properties.assign(original.properties.rbegin(), original.properties.rend());
        model().nextIndex = original.nextIndex;
        model().components = original.components;
        return differ("cloneContent", code, 0);
    }

    std::string useList()
    {
        const int way = below(4);
        if (way == 0) {
            const int length = below(40);
            listModel.resize(static_cast<std::size_t>(length), -1);
            return differ("putLength", list->putLength(static_cast<unsigned>(length)), 0);
        }
        const auto index = static_cast<std::size_t>(below(40));
        if (way == 1) {
            const int value = below(1000);
            if (index >= listModel.size())
                listModel.resize(index + 1, -1);
            listModel[index] = value;
            return differ("putByIndex",
                          list->putByIndex(static_cast<unsigned>(index), value, nullptr), 0);
        }
        if (way == 2 && chance(10)) { // an array that shares its elements
            const Array shared = list->getArray();
            list = make<LiveArray>(shared, "List", 0, false);
        }
        Variant out;
        const int got = list->getByIndex(static_cast<unsigned>(index), out, nullptr);
        const int expected = index < listModel.size() ? listModel[index] : -1;
        return differ("getByIndex", got, 0) + differ("element", numberOf(out), expected) +
               differ("length", static_cast<int>(list->length()),
                      static_cast<int>(listModel.size()));
    }

    // The elements that somebody serves, or null.
    std::vector<int> *servedPages()
    {
        if (hasShelf)
            return &shelfModel;
        return hasClerk ? &clerkModel : nullptr;
    }
    std::string usePages()
    {
        const auto length = static_cast<unsigned>(below(20));
        const auto index = static_cast<std::size_t>(below(20));
        std::vector<int> *served = servedPages();
        const int codeOfNobody = served == nullptr ? 41 : 0;
        switch (below(6)) {
        case 0:
            hasShelf = chance(50);
            return differ("shelf",
                          hasShelf ? pages->addComponent(*shelf) : pages->removeComponent(*shelf),
                          0);
        case 1:
            hasClerk = chance(50);
            for (const int id :
                 {askGetLength, askPutLength, askGetIndex, askPutIndex, askDeleteIndex})
                if (hasClerk)
                    pages->addListener(clerk, id);
                else
                    pages->removeListener(clerk, id);
            return {};
        case 2:
            if (hasShelf)
                shelfModel.resize(length, -1);
            if (hasClerk)
                clerkModel.resize(length, -1);
            return differ("putLength of pages", pages->putLength(length), 0);
        case 3: {
            const int value = below(1000);
            if (served != nullptr && index >= served->size())
                served->resize(index + 1, -1);
            if (served != nullptr)
                (*served)[index] = value;
            return differ("putByIndex of pages",
                          pages->putByIndex(static_cast<unsigned>(index), value, nullptr),
                          codeOfNobody);
        }
        case 4:
            if (served != nullptr && index < served->size())
                served->erase(served->begin() + static_cast<std::ptrdiff_t>(index));
            return differ("deleteByIndex of pages",
                          pages->deleteByIndex(static_cast<unsigned>(index)), codeOfNobody);
        default: {
            Variant out;
            const int got = pages->getByIndex(static_cast<unsigned>(index), out, nullptr);
            const int expected =
                served != nullptr && index < served->size() ? (*served)[index] : -1;
            return differ("getByIndex of pages", got, codeOfNobody) +
                   differ("page", numberOf(out), expected) +
                   differ("length of pages", static_cast<int>(pages->length()),
                          served != nullptr ? static_cast<int>(served->size()) : 0);
        }
        }
    }

    std::mt19937_64 random;
    int at = 0; // the object of this step
    std::vector<ObjectModel> models;
    std::vector<std::unique_ptr<Ear>> ears;
    std::vector<std::unique_ptr<Server>> servers;
    std::vector<Owned<Plain>> objects; // after their listeners
    std::vector<Owned<Ruler>> rulers;
    Owned<LiveArray> list;
    std::vector<int> listModel;
    Clerk clerk;
    Owned<LiveCollection> pages; // after its listener
    Owned<Shelf> shelf;
    bool hasShelf = false, hasClerk = false;
    std::vector<int> shelfModel, clerkModel;
};

} // namespace Tavrin::test
