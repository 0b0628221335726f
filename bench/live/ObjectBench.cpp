// SPDX-License-Identifier: MIT
// Reading, writing and calling the members of an object by id and by name, dynamic properties,
// messages, and the elements of a collection. All members of a class take turns, in random order.
// The peers do the same in their own terms: a raw qt_metacall, a resolved QMetaProperty, names, and
// GObject's boxed values. What is called `limit` is no peer: a virtual function with a switch, and
// no boxed value.
#include <algorithm>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <QMetaMethod>
#include <QMetaProperty>
#include <benchmark/benchmark.h>
#include <glib-object.h>

#include <tavrin/Array.h>
#include <tavrin/LiveCollection.h>
#include <tavrin/LiveObject.h>
#include <tavrin/Message.h>

#include "Hosts20.h"
#include "Hosts500.h"
#include "Hosts5000.h"
#include "Objects20.h"
#include "Objects500.h"
#include "Objects5000.h"
#include "Signals.h"
#include "live/Turns.h"
#include "support/CaseName.h"

namespace bench {

namespace {

using Tavrin::InterfacePtr;
using Tavrin::String;
using Tavrin::Variant;

constexpr const char *names5000[] = {
#include "Properties5000.inc"
};

// The places of the members in an order of their own, the same for all.
std::vector<int> shuffled(int count)
{
    std::vector<int> places(static_cast<std::size_t>(count));
    std::iota(places.begin(), places.end(), 0);
    std::shuffle(places.begin(), places.end(), std::mt19937(1));
    return places;
}

template <class Key, class Make>
std::vector<Key> keysOf(int count, Make make)
{
    std::vector<Key> keys;
    for (const int place : shuffled(count))
        keys.push_back(make(place));
    return keys;
}

// The object by a pointer that tells the compiler nothing about its class.
template <class T>
T *concealed(T *object)
{
    benchmark::DoNotOptimize(object);
    return object;
}

template <class Run>
void add(const std::string &name, const char *who, std::size_t size, Run run)
{
    benchmark::RegisterBenchmark(caseName(name, who, size).c_str(), run);
}

std::vector<int> idKeys(int count)
{
    return keysOf<int>(count, [](int place) { return place + 1; });
}
std::vector<String> nameKeys(int count)
{
    return keysOf<String>(count, [](int place) { return String(names5000[place]); });
}
std::vector<const char *> plainNameKeys(int count)
{
    return keysOf<const char *>(count, [](int place) { return names5000[place]; });
}

template <class Host>
void addOurGet(const std::string &name, int count)
{
    add(name, "tavrin", static_cast<std::size_t>(count), [=](benchmark::State &state) {
        const Session session;
        const auto host = InterfacePtr<Tavrin::LiveObject>::adopt(new Host);
        Variant out;
        inTurn(state, idKeys(count), [&, object = concealed(host.get())](int id) {
            return object->get(id, out, nullptr);
        });
    });
}

template <class Host>
void addOurs(const std::string &suffix, int count, int scaledID)
{
    const auto size = static_cast<std::size_t>(count);
    addOurGet<Host>("get-by-id" + suffix, count);
    add("set-by-id" + suffix, "tavrin", size, [=](benchmark::State &state) {
        const Session session;
        const auto host = InterfacePtr<Tavrin::LiveObject>::adopt(new Host);
        Variant value = 5;
        inTurn(state, idKeys(count), [&, object = concealed(host.get())](int id) {
            value = id;
            return object->put(id, value, nullptr);
        });
    });
    add("get-by-name" + suffix, "tavrin", size, [=](benchmark::State &state) {
        const Session session;
        const auto host = InterfacePtr<Tavrin::LiveObject>::adopt(new Host);
        Variant out;
        inTurn(state, nameKeys(count), [&, object = concealed(host.get())](const String &name) {
            return object->get(name, out, nullptr);
        });
    });
    add("set-by-name" + suffix, "tavrin", size, [=](benchmark::State &state) {
        const Session session;
        const auto host = InterfacePtr<Tavrin::LiveObject>::adopt(new Host);
        const Variant value = 5;
        inTurn(state, nameKeys(count), [&, object = concealed(host.get())](const String &name) {
            return object->put(name, value, Tavrin::LiveObject::onlyKnown, nullptr);
        });
    });
    add("call-by-id" + suffix, "tavrin", size, [=](benchmark::State &state) {
        const Session session;
        const auto host = InterfacePtr<Tavrin::LiveObject>::adopt(new Host);
        Tavrin::LiveObject *object = concealed(host.get());
        const Tavrin::Array args = Tavrin::Array() += 1.0;
        Variant result;
        for (auto _ : state)
            benchmark::DoNotOptimize(object->call(scaledID, args, result, nullptr));
    });
    add("call-by-name" + suffix, "tavrin", size, [=](benchmark::State &state) {
        const Session session;
        const auto host = InterfacePtr<Tavrin::LiveObject>::adopt(new Host);
        Tavrin::LiveObject *object = concealed(host.get());
        const Tavrin::Array args = Tavrin::Array() += 1.0;
        const String name = "scaled";
        Variant result;
        for (auto _ : state)
            benchmark::DoNotOptimize(object->call(name, args, result, nullptr));
    });
}

template <class Limit>
void addLimit(int count)
{
    add("get-by-id-limit", "virtual", static_cast<std::size_t>(count),
        [=](benchmark::State &state) {
            const auto host = std::make_unique<Limit>();
            inTurn(state, idKeys(count), [object = concealed<VirtualHost>(host.get())](int id) {
                int out = 0;
                object->get(id, out);
                return out;
            });
        });
}

template <class Object>
void addQt(const std::string &suffix, int count)
{
    const auto size = static_cast<std::size_t>(count);
    add("get-by-id" + suffix, "qt-metacall", size, [=](benchmark::State &state) {
        Object made;
        const int offset = Object::staticMetaObject.propertyOffset();
        inTurn(state, idKeys(count), [&, object = concealed<QObject>(&made)](int id) {
            int out = 0;
            void *arguments[] = {&out};
            object->qt_metacall(QMetaObject::ReadProperty, offset + id - 1, arguments);
            return out;
        });
    });
    add("set-by-id" + suffix, "qt-metacall", size, [=](benchmark::State &state) {
        Object made;
        const int offset = Object::staticMetaObject.propertyOffset();
        inTurn(state, idKeys(count), [&, object = concealed<QObject>(&made)](int id) {
            int status = -1;
            int flags = 0;
            void *arguments[] = {&id, nullptr, &status, &flags};
            return object->qt_metacall(QMetaObject::WriteProperty, offset + id - 1, arguments);
        });
    });
    const auto properties = [=] {
        return keysOf<QMetaProperty>(count, [](int place) {
            const QMetaObject &meta = Object::staticMetaObject;
            return meta.property(meta.propertyOffset() + place);
        });
    };
    add("get-by-id" + suffix, "qt-property", size, [=](benchmark::State &state) {
        Object made;
        inTurn(state, properties(), [object = concealed<QObject>(&made)](const QMetaProperty &key) {
            return key.read(object);
        });
    });
    add("set-by-id" + suffix, "qt-property", size, [=](benchmark::State &state) {
        Object made;
        const QVariant value = 5;
        inTurn(state, properties(),
               [&, object = concealed<QObject>(&made)](const QMetaProperty &key) {
                   return key.write(object, value);
               });
    });
    add("get-by-name" + suffix, "qt", size, [=](benchmark::State &state) {
        Object made;
        inTurn(state, plainNameKeys(count), [object = concealed<QObject>(&made)](const char *name) {
            return object->property(name);
        });
    });
    add("set-by-name" + suffix, "qt", size, [=](benchmark::State &state) {
        Object made;
        const QVariant value = 5;
        inTurn(state, plainNameKeys(count),
               [&, object = concealed<QObject>(&made)](const char *name) {
                   return object->setProperty(name, value);
               });
    });
    add("call-by-id" + suffix, "qt-method", size, [=](benchmark::State &state) {
        Object made;
        QObject *object = concealed<QObject>(&made);
        const QMetaObject &meta = Object::staticMetaObject;
        const QMetaMethod method = meta.method(meta.indexOfMethod("scaled(double)"));
        double result = 0;
        for (auto _ : state)
            benchmark::DoNotOptimize(method.invoke(
                object, Qt::DirectConnection, Q_RETURN_ARG(double, result), Q_ARG(double, 1.0)));
    });
    add("call-by-name" + suffix, "qt", size, [=](benchmark::State &state) {
        Object made;
        QObject *object = concealed<QObject>(&made);
        double result = 0;
        for (auto _ : state)
            benchmark::DoNotOptimize(
                QMetaObject::invokeMethod(object, "scaled", Qt::DirectConnection,
                                          Q_RETURN_ARG(double, result), Q_ARG(double, 1.0)));
    });
}

// A GObject with a property of each name, whose fields follow the instance.
struct GHost
{
    GObject parent;
    int fields[5001];
};

void beginClass(void *classRecord, void *data)
{
    auto *objectClass = G_OBJECT_CLASS(classRecord);
    objectClass->set_property = [](GObject *object, guint id, const GValue *value, GParamSpec *) {
        reinterpret_cast<GHost *>(object)->fields[id] = g_value_get_int(value);
    };
    objectClass->get_property = [](GObject *object, guint id, GValue *value, GParamSpec *) {
        g_value_set_int(value, reinterpret_cast<GHost *>(object)->fields[id]);
    };
    const int count = *static_cast<const int *>(data);
    for (int place = 0; place < count; ++place)
        g_object_class_install_property(objectClass, static_cast<guint>(place) + 1,
                                        g_param_spec_int(names5000[place], nullptr, nullptr,
                                                         -1'000'000, 1'000'000, 0,
                                                         G_PARAM_READWRITE));
}

GObject *newGHost(int count)
{
    const std::string typeName = "GHost" + std::to_string(count);
    GType type = g_type_from_name(typeName.c_str());
    if (type == 0) {
        GTypeInfo info = {};
        info.class_size = sizeof(GObjectClass);
        info.instance_size = sizeof(GHost);
        info.class_init = beginClass;
        info.class_data = new int(count); // lives as long as the type: for ever
        type = g_type_register_static(G_TYPE_OBJECT, typeName.c_str(), &info, GTypeFlags{});
    }
    return G_OBJECT(g_object_new(type, nullptr));
}

void addGObject(const std::string &suffix, int count)
{
    const auto size = static_cast<std::size_t>(count);
    add("get-by-name" + suffix, "gobject", size, [=](benchmark::State &state) {
        GObject *object = newGHost(count);
        inTurn(state, plainNameKeys(count), [=](const char *name) {
            int out = 0;
            g_object_get(object, name, &out, nullptr);
            return out;
        });
        g_object_unref(object);
    });
    add("set-by-name" + suffix, "gobject", size, [=](benchmark::State &state) {
        GObject *object = newGHost(count);
        g_object_freeze_notify(object);
        inTurn(state, plainNameKeys(count), [=](const char *name) {
            g_object_set(object, name, 5, nullptr);
            return 0;
        });
        g_object_unref(object);
    });
    add("call-by-id" + suffix, "gobject-closure", size, [=](benchmark::State &state) {
        double factor = 1;
        GClosure *closure = g_closure_new_simple(sizeof(GClosure), &factor);
        g_closure_ref(closure);
        g_closure_sink(closure);
        g_closure_set_marshal(closure, [](GClosure *called, GValue *result, guint,
                                          const GValue *args, void *, void *) {
            auto *own = static_cast<double *>(called->data);
            g_value_set_double(result, *own *= g_value_get_double(args));
        });
        GValue argument = G_VALUE_INIT;
        GValue result = G_VALUE_INIT;
        g_value_init(&argument, G_TYPE_DOUBLE);
        g_value_init(&result, G_TYPE_DOUBLE);
        g_value_set_double(&argument, 1.0);
        for (auto _ : state)
            g_closure_invoke(closure, &result, 1, &argument, nullptr);
        g_closure_unref(closure);
    });
}

// Dynamic properties: one that is used again and again, and all of them in turn. `size` is for the
// report.
void addDynamic(const char *name, const char *who, int size, int count, bool isByID)
{
    add(name, who, static_cast<std::size_t>(size), [=](benchmark::State &state) {
        const Session session;
        const auto object =
            InterfacePtr<Tavrin::LiveObject>::adopt(new Tavrin::LiveObject("Object", true));
        for (int place = 0; place < count; ++place)
            object->defineIDForName(names5000[place], place + 1, Tavrin::kInfoReadWrite);
        for (int place = 0; place < count; ++place)
            object->put(place + 1, place, nullptr);
        Variant out;
        Tavrin::LiveObject *used = concealed(object.get());
        if (isByID)
            inTurn(state, idKeys(count), [&](int id) { return used->get(id, out, nullptr); });
        else
            inTurn(state, nameKeys(count),
                   [&](const String &key) { return used->get(key, out, nullptr); });
    });
}

void addDynamicQt(int count)
{
    add("dynamic-property", "qt", static_cast<std::size_t>(count), [=](benchmark::State &state) {
        QObject object;
        for (int place = 0; place < count; ++place)
            object.setProperty(names5000[place], place);
        inTurn(state, plainNameKeys(count),
               [used = concealed(&object)](const char *name) { return used->property(name); });
    });
}

class Ear : public Tavrin::Listener
{
public:
    bool notify(Tavrin::Message &message) override
    {
        heard += message.getID();
        return false;
    }
    int heard = 0;
};

void addBroadcast(int count)
{
    const auto size = static_cast<std::size_t>(count);
    add("broadcast", "tavrin", size, [=](benchmark::State &state) {
        const Session session;
        std::vector<Ear> ears(size);
        Tavrin::Broadcaster broadcaster;
        for (Ear &ear : ears)
            broadcaster.addListener(ear, 5);
        for (auto _ : state)
            broadcaster.broadcast(5);
    });
    add("broadcast", "qt", size, [=](benchmark::State &state) {
        Sender sender;
        std::vector<std::unique_ptr<Receiver>> receivers;
        for (int at = 0; at < count; ++at) {
            receivers.push_back(std::make_unique<Receiver>());
            QObject::connect(&sender, &Sender::changed, receivers.back().get(), &Receiver::hear,
                             Qt::DirectConnection);
        }
        for (auto _ : state)
            Q_EMIT sender.changed(5);
    });
}

void addElements(int count)
{
    const auto size = static_cast<std::size_t>(count);
    const auto indexes = [=] { return keysOf<int>(count, [](int place) { return place; }); };
    for (const bool isPut : {false, true}) {
        const char *name = isPut ? "element-put" : "element-get";
        add(name, "tavrin", size, [=](benchmark::State &state) {
            const Session session;
            Tavrin::Array elements;
            for (int at = 0; at < count; ++at)
                elements += at;
            const auto list = InterfacePtr<Tavrin::LiveArray>::adopt(
                new Tavrin::LiveArray(elements, "List", 0, false));
            elements.erase();
            Tavrin::LiveCollection *used = concealed<Tavrin::LiveCollection>(list.get());
            Variant value = 5;
            inTurn(state, indexes(), [&](int index) {
                const auto at = static_cast<unsigned>(index);
                return isPut ? used->putByIndex(at, value, nullptr)
                             : used->getByIndex(at, value, nullptr);
            });
        });
        add(name, "qt", size, [=](benchmark::State &state) {
            Sender sender;
            for (int at = 0; at < count; ++at)
                sender.elements.append(at);
            const QMetaObject &meta = Sender::staticMetaObject;
            const QMetaProperty property = meta.property(meta.indexOfProperty("elements"));
            inTurn(state, indexes(), [&](int index) {
                if (!isPut)
                    return property.read(&sender).toList().at(index).toInt();
                QVariantList list = property.read(&sender).toList();
                list[index] = index;
                return property.write(&sender, list) ? 1 : 0;
            });
        });
    }
}

template <class Host, class BoundHost, class Limit, class Object>
void addClass(int count)
{
    addOurs<Host>("", count, LiveHost::scaledID);
    addOurs<BoundHost>("-bound", count, BoundHost::idOf("scaled"));
    for (const char *suffix : {"", "-bound"}) {
        addQt<Object>(suffix, count);
        addGObject(suffix, count);
    }
    addOurGet<Host>("get-by-id-limit", count);
    addLimit<Limit>(count);
}

} // namespace

} // namespace bench

int main(int count, char **arguments)
{
    using namespace bench;
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    addClass<Host20, BoundHost20, VirtualHost20, Objects20>(20);
    addClass<Host500, BoundHost500, VirtualHost500, Objects500>(500);
    addClass<Host5000, BoundHost5000, VirtualHost5000, Objects5000>(5000);
    addDynamic("dynamic-property", "tavrin", 1, 1, false);
    addDynamic("dynamic-property", "tavrin", 1000, 1000, false);
    addDynamicQt(1);
    addDynamicQt(1000);
    addDynamic("dynamic-growth", "tavrin", 1000, 1000, true);
    addDynamic("dynamic-growth", "alone", 1000, 1, true);
    for (const int listeners : {1, 10, 1000})
        addBroadcast(listeners);
    addElements(100);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
