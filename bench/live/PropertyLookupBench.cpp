// SPDX-License-Identifier: MIT
// From the name of a property to its id, in a class of 20, 500 and 5,000: every name in turn, in
// random order. Each library gets its names as its own callers have them.
#include <algorithm>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <glib-object.h>

#include <tavrin/LivePropertyManager.h>
#include <tavrin/SimpleArray.h>

#include "Properties20.h"
#include "Properties500.h"
#include "Properties5000.h"
#include "live/Turns.h"
#include "support/CaseName.h"

namespace bench {

namespace {

constexpr const char *names20[] = {
#include "Properties20.inc"
};
constexpr const char *names500[] = {
#include "Properties500.inc"
};
constexpr const char *names5000[] = {
#include "Properties5000.inc"
};

// The names of a class in an order of their own, the same for all libraries.
std::vector<const char *> shuffled(const char *const *names, std::size_t count)
{
    std::vector<const char *> result(names, names + count);
    std::shuffle(result.begin(), result.end(), std::mt19937(1));
    return result;
}

// One of ours: the rows, and a manager over them.
struct Rows
{
    Rows(const char *const *names, std::size_t count)
    {
        for (std::size_t row = 0; row < count; ++row)
            rows.push_back({names[row], static_cast<int>(row) + 1, Tavrin::kInfoReadWrite, ""});
        rows.push_back({nullptr, 0, 0, nullptr});
    }

    std::vector<Tavrin::LivePropertyInfo> rows;
};

int idOf(const Tavrin::LivePropertyManager &manager, const Tavrin::String &name, int flags)
{
    int id = 0;
    Tavrin::InfoType type;
    manager.getIDForName(name, id, type, flags);
    return id;
}

void lookUpInOurs(benchmark::State &state, const char *const *names, std::size_t count, int flags,
                  bool isDynamic)
{
    const Session session;
    const Rows table(names, count);
    Tavrin::LivePropertyManager manager(isDynamic ? nullptr : table.rows.data());
    for (std::size_t row = 0; isDynamic && row < count; ++row)
        manager.registerProperty(table.rows[row]);
    std::vector<Tavrin::String> keys;
    for (const char *name : shuffled(names, count))
        keys.emplace_back(name);
    inTurn(state, keys, [&](const Tavrin::String &name) { return idOf(manager, name, flags); });
}

void lookUpInQt(benchmark::State &state, const char *const *names, std::size_t count,
                const QMetaObject &meta)
{
    inTurn(state, shuffled(names, count),
           [&](const char *name) { return meta.indexOfProperty(name); });
}

GParamSpec **newParams(const char *const *names, std::size_t count)
{
    auto **params = new GParamSpec *[count + 1]();
    for (std::size_t param = 0; param < count; ++param)
        params[param + 1] =
            g_param_spec_int(names[param], nullptr, nullptr, 0, 100, 0, G_PARAM_READWRITE);
    return params;
}

struct NamesOfClass
{
    const char *const *names;
    std::size_t count;
};

void beginClass(void *classRecord, void *data)
{
    const auto &own = *static_cast<const NamesOfClass *>(data);
    auto *objectClass = G_OBJECT_CLASS(classRecord);
    objectClass->set_property = [](GObject *, guint, const GValue *, GParamSpec *) {};
    objectClass->get_property = [](GObject *, guint, GValue *, GParamSpec *) {};
    GParamSpec **params = newParams(own.names, own.count);
    g_object_class_install_properties(objectClass, static_cast<guint>(own.count) + 1, params);
    delete[] params;
}

GObjectClass *classOf(const char *const *names, std::size_t count)
{
    const std::string typeName = "Properties" + std::to_string(count);
    if (const GType known = g_type_from_name(typeName.c_str()))
        return G_OBJECT_CLASS(g_type_class_ref(known));
    GTypeInfo info = {};
    info.class_size = sizeof(GObjectClass);
    info.instance_size = sizeof(GObject);
    info.class_init = beginClass;
    info.class_data = new NamesOfClass{names, count}; // lives as long as the type: for ever
    const GType type = g_type_register_static(G_TYPE_OBJECT, typeName.c_str(), &info, GTypeFlags{});
    return G_OBJECT_CLASS(g_type_class_ref(type));
}

void lookUpInGObject(benchmark::State &state, const char *const *names, std::size_t count)
{
    GObjectClass *objectClass = classOf(names, count);
    inTurn(state, shuffled(names, count),
           [&](const char *name) { return g_object_class_find_property(objectClass, name); });
}

// What the first lookup in a static table costs beyond the others: the index.
void firstLookup(benchmark::State &state, const char *const *names, std::size_t count)
{
    const Session session;
    const Rows table(names, count);
    const Tavrin::String name(names[count / 2]);
    for (auto _ : state) {
        const Tavrin::LivePropertyManager manager(table.rows.data());
        benchmark::DoNotOptimize(idOf(manager, name, Tavrin::kDefaultLanguage));
    }
}

template <class Run>
void add(const char *name, const char *who, std::size_t size, Run run)
{
    benchmark::RegisterBenchmark(caseName(name, who, size).c_str(), run);
}

void addCases(const char *const *names, std::size_t count, const QMetaObject &meta)
{
    using Tavrin::kCaselessLanguage;
    using Tavrin::kDefaultLanguage;
    add("property-lookup", "tavrin", count, [=](benchmark::State &state) {
        lookUpInOurs(state, names, count, kDefaultLanguage, false);
    });
    add("property-lookup", "qt", count,
        [=, &meta](benchmark::State &state) { lookUpInQt(state, names, count, meta); });
    add("property-lookup", "gobject", count,
        [=](benchmark::State &state) { lookUpInGObject(state, names, count); });
    add("property-lookup-caseless", "tavrin", count, [=](benchmark::State &state) {
        lookUpInOurs(state, names, count, kCaselessLanguage, false);
    });
    add("property-lookup-dynamic", "tavrin", count, [=](benchmark::State &state) {
        lookUpInOurs(state, names, count, kDefaultLanguage, true);
    });
    add("property-first-lookup", "tavrin", count,
        [=](benchmark::State &state) { firstLookup(state, names, count); });
}

// A large class beside a small one, which stands in the place of a peer.
void addGrowth()
{
    const std::size_t large = std::size(names5000);
    add("property-growth", "tavrin", large, [=](benchmark::State &state) {
        lookUpInOurs(state, names5000, large, Tavrin::kDefaultLanguage, false);
    });
    add("property-growth", "twenty-names", large, [](benchmark::State &state) {
        lookUpInOurs(state, names20, std::size(names20), Tavrin::kDefaultLanguage, false);
    });
}

} // namespace

} // namespace bench

int main(int count, char **arguments)
{
    using namespace bench;
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments))
        return 1;
    addCases(names20, std::size(names20), Properties20::staticMetaObject);
    addCases(names500, std::size(names500), Properties500::staticMetaObject);
    addCases(names5000, std::size(names5000), Properties5000::staticMetaObject);
    addGrowth();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
