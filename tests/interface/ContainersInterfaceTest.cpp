// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

#include <gtest/gtest.h>

#include "interface/Forms.h"

using namespace Tavrin;
using test::has;

namespace {

using Slot = std::int64_t;

// Reaches what is there for subclasses.
class OpenTable : public SparseArray
{
public:
    using SparseArray::findItem;
    using SparseArray::smartGrow;
    using SparseArray::smartShrink;
};

template <class Array>
concept IsCopiedAndCompared = std::is_default_constructible_v<Array> &&
    std::is_copy_constructible_v<Array> && std::is_copy_assignable_v<Array> &&
    requires(const Array &a, const Array &b)
{
    {
        a == b
        } -> std::same_as<bool>;
    {
        a != b
        } -> std::same_as<bool>;
};

} // namespace

TEST(ContainersInterface, SimpleArrayReads)
{
    static_assert(IsCopiedAndCompared<SimpleArray>);
    static_assert(sizeof(SimpleArray) == sizeof(void *) && !std::is_polymorphic_v<SimpleArray>);
    EXPECT_TRUE(has<int (SimpleArray::*)() const>(&SimpleArray::length));
    EXPECT_TRUE(has<int (SimpleArray::*)() const>(&SimpleArray::getIncrement));
    EXPECT_TRUE(has<Slot (SimpleArray::*)(int) const>(&SimpleArray::operator[]));
    EXPECT_TRUE(has<const Slot *(SimpleArray::*)() const>(&SimpleArray::getData));
    EXPECT_TRUE(has<int (SimpleArray::*)(Slot) const>(&SimpleArray::indexOf));
    EXPECT_TRUE((has<void (SimpleArray::*)(void (*)(int, Slot *, Slot), Slot) const>(
        &SimpleArray::forEach)));
    EXPECT_TRUE((has<SimpleArray (SimpleArray::*)(int, int) const>(&SimpleArray::copy)));
}

TEST(ContainersInterface, SimpleArrayWrites)
{
    EXPECT_TRUE(has<Slot &(SimpleArray::*)(int)>(&SimpleArray::operator[]));
    EXPECT_TRUE(has<void (SimpleArray::*)(Slot)>(&SimpleArray::append));
    EXPECT_TRUE(has<SimpleArray &(SimpleArray::*)(Slot)>(&SimpleArray::operator+=));
    EXPECT_TRUE(has<void (SimpleArray::*)(const SimpleArray &)>(&SimpleArray::append));
    EXPECT_TRUE(has<SimpleArray &(SimpleArray::*)(const SimpleArray &)>(&SimpleArray::operator+=));
    EXPECT_TRUE(has<SimpleArray &(SimpleArray::*)(Slot)>(&SimpleArray::operator-=));
    EXPECT_TRUE((has<void (SimpleArray::*)(Slot, int)>(&SimpleArray::insert)));
    EXPECT_TRUE((has<void (SimpleArray::*)(int, int)>(&SimpleArray::insertGap)));
    EXPECT_TRUE(has<void (SimpleArray::*)(Slot)>(&SimpleArray::remove));
    EXPECT_TRUE(has<Slot (SimpleArray::*)(int)>(&SimpleArray::removeAt));
    EXPECT_TRUE((has<void (SimpleArray::*)(int, int)>(&SimpleArray::removeGap)));
    EXPECT_TRUE((has<void (SimpleArray::*)(const SimpleArray &, bool)>(&SimpleArray::merge)));
    EXPECT_TRUE(has<void (SimpleArray::*)(int)>(&SimpleArray::setSize));
    EXPECT_TRUE(has<void (SimpleArray::*)(int)>(&SimpleArray::setIncrement));
    EXPECT_TRUE(has<void (SimpleArray::*)()>(&SimpleArray::clear));
    EXPECT_TRUE(has<void (SimpleArray::*)()>(&SimpleArray::erase));
    EXPECT_TRUE(has<void (SimpleArray::*)()>(&SimpleArray::makeUnique));
}

template <class Pointers>
void expectTypedFace()
{
    static_assert(IsCopiedAndCompared<Pointers>);
    static_assert(std::is_base_of_v<SimpleArray, Pointers> && sizeof(Pointers) == sizeof(void *));
    EXPECT_TRUE(has<const String *(Pointers::*)(int) const>(&Pointers::operator[]));
    EXPECT_TRUE(has<void (Pointers::*)(const String *)>(&Pointers::append));
    EXPECT_TRUE(has<int (Pointers::*)(const String *) const>(&Pointers::indexOf));
    EXPECT_TRUE((has<void (Pointers::*)(const String *, int)>(&Pointers::insert)));
    EXPECT_TRUE(has<const String *(Pointers::*)(int)>(&Pointers::removeAt));
    EXPECT_TRUE(has<int (Pointers::*)() const>(&Pointers::length));
    EXPECT_TRUE(has<void (Pointers::*)()>(&Pointers::erase));
}

TEST(ContainersInterface, TypedArraysReadTheirSlotsAsPointers)
{
    expectTypedFace<TSimpleArray<const String>>();
    expectTypedFace<TISimpleArray<const String>>();
}

TEST(ContainersInterface, SparseArray)
{
    static_assert(IsCopiedAndCompared<SparseArray>);
    EXPECT_TRUE(has<SparseArray &(SparseArray::*)(const SparseArray &)>(&SparseArray::operator+=));
    EXPECT_TRUE(has<int (SparseArray::*)() const>(&SparseArray::length));
    EXPECT_TRUE(has<Slot (SparseArray::*)(Slot) const>(&SparseArray::find));
    EXPECT_TRUE(has<Slot (SparseArray::*)(Slot) const>(&SparseArray::operator[]));
    EXPECT_TRUE(has<Slot (SparseArray::*)(Slot) const>(&SparseArray::findKey));
    EXPECT_TRUE(has<bool (SparseArray::*)(Slot) const>(&SparseArray::hasKey));
    EXPECT_TRUE(has<void (SparseArray::*)(SimpleArray &) const>(&SparseArray::getData));
    EXPECT_TRUE(has<void (SparseArray::*)(SimpleArray &) const>(&SparseArray::getKeys));
    EXPECT_TRUE((has<void (SparseArray::*)(Slot, Slot)>(&SparseArray::set)));
    EXPECT_TRUE(has<Slot (SparseArray::*)(Slot)>(&SparseArray::remove));
    EXPECT_TRUE(has<void (SparseArray::*)(Slot)>(&SparseArray::removeData));
    EXPECT_TRUE(has<void (SparseArray::*)()>(&SparseArray::erase));
    EXPECT_TRUE(
        (has<void (SparseArray::*)(bool (*)(Slot, Slot *, Slot), Slot)>(&SparseArray::forEach)));
    EXPECT_TRUE(has<ArrayItem *(OpenTable::*)(Slot) const>(&OpenTable::findItem));
    EXPECT_TRUE(has<void (OpenTable::*)()>(&OpenTable::smartGrow));
    EXPECT_TRUE(has<void (OpenTable::*)()>(&OpenTable::smartShrink));
}
