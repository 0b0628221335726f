// SPDX-License-Identifier: MIT
// Whether two arrays are equal.
//
// Pairs of records that have to be equal wait on a stack of our own, because arrays may be nested a
// million deep. Arrays may also contain themselves. The comparison assumes that a pair which it has
// met before is equal: if that is wrong, the first visit finds the difference. Equality carries
// over, so the pairs met are kept as classes of equal records (Hopcroft and Karp's algorithm for
// the equivalence of automata), each record having a parent in its class. Few nested arrays are
// compared without keeping them, which costs no memory.
// Pinned by tests/containers/ArrayCompareTest.cpp and ArrayNestingTest.cpp.
#include <algorithm>

#include <tavrin/Array.h>

#include "containers/ArrayRecord.h"
#include "containers/Growing.h"
#include "values/VariantAccess.h"

namespace Tavrin {

namespace {

constexpr int pairsWithoutClasses = 64;

// Classes of records that are taken to be equal.
class RecordClasses
{
public:
    // False if they were in one class already.
    bool unite(const ArrayData *a, const ArrayData *b)
    {
        const std::int64_t classOfA = find(keyOf(a));
        const std::int64_t classOfB = find(keyOf(b));
        if (classOfA == classOfB)
            return false;
        parents.set(classOfA, classOfB);
        return true;
    }

private:
    // Blocks of Heap differ from the fifth bit on.
    static std::int64_t keyOf(const ArrayData *record)
    {
        return reinterpret_cast<std::intptr_t>(record) >> 4;
    }

    // Shortens the path by half on the way.
    std::int64_t find(std::int64_t key)
    {
        std::int64_t parent = 0;
        while ((parent = parents.find(key)) != 0) {
            const std::int64_t grandparent = parents.find(parent);
            if (grandparent == 0)
                return parent;
            parents.set(key, grandparent);
            key = grandparent;
        }
        return key;
    }

    SparseArray parents;
};

class Comparison
{
public:
    Comparison() = default;
    Comparison(const Comparison &) = delete;
    Comparison &operator=(const Comparison &) = delete;
    ~Comparison()
    {
        while (!pairs.isEmpty())
            dropPair(pairs.pop());
    }

    bool run(ArrayData *left, ArrayData *right)
    {
        bool isEqual = add(left, right);
        while (isEqual && !pairs.isEmpty()) {
            const Pair pair = pairs.pop();
            const Holder holder(pair);
            isEqual = compareElements(*pair.left, *pair.right);
        }
        return isEqual;
    }

private:
    // Both records are held, because elements may run code of a script when they are compared.
    struct Pair
    {
        ArrayData *left;
        ArrayData *right;
    };

    static void dropPair(const Pair &pair)
    {
        detail::dropRecord(pair.left);
        detail::dropRecord(pair.right);
    }

    struct Holder
    {
        explicit Holder(const Pair &held) : pair(held) {}
        Holder(const Holder &) = delete;
        Holder &operator=(const Holder &) = delete;
        ~Holder() { dropPair(pair); }

        const Pair pair;
    };

    // Has the pair compared, unless the answer is at hand; false if that is no.
    bool add(ArrayData *left, ArrayData *right)
    {
        if (left == right)
            return true;
        if (left->length != right->length)
            return false;
        if (++pairCount > pairsWithoutClasses && !classes.unite(left, right))
            return true;
        pairs.push({left, right});
        detail::holdRecord(left);
        detail::holdRecord(right);
        return true;
    }

    bool compareElements(const ArrayData &left, const ArrayData &right)
    {
        const unsigned dense = std::max(left.dense->used, right.dense->used);
        for (unsigned index = 0; index < dense; ++index)
            if (!compareElement(left.find(index), right.find(index)))
                return false;
        return compareSparse(left, right, dense) && compareSparse(right, left, dense);
    }

    // The elements that `left` has from `first` on.
    bool compareSparse(const ArrayData &left, const ArrayData &right, unsigned first)
    {
        for (const std::int64_t key : detail::sparseIndexes(left, first)) {
            const auto index = static_cast<unsigned>(key);
            if (!compareElement(left.find(index), right.find(index)))
                return false;
        }
        return true;
    }

    bool compareElement(const Variant *left, const Variant *right)
    {
        const bool isDefined = left != nullptr && left->isDefined();
        if (isDefined != (right != nullptr && right->isDefined()))
            return false;
        if (!isDefined)
            return true;
        const Array *leftArray = detail::VariantAccess::payloadArray(*left);
        const Array *rightArray = detail::VariantAccess::payloadArray(*right);
        if (leftArray == nullptr || rightArray == nullptr)
            return *left == *right;
        return add(detail::ArrayAccess::record(*leftArray),
                   detail::ArrayAccess::record(*rightArray));
    }

    detail::Growing<Pair> pairs;
    RecordClasses classes;
    int pairCount = 0;
};

} // namespace

bool Array::operator==(const Array &other) const
{
    return data == other.data || Comparison().run(data, other.data);
}

} // namespace Tavrin
