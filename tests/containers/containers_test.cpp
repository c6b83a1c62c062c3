// Array, map and set: growth rules, bound reports, key orders and the
// map's self-contained iterator.
#include "tarnkit/sarray.h"
#include "tarnkit/smap.h"
#include "tarnkit/sset.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>

using namespace TarnkitA201;

namespace {

struct Reported {};
void ThrowingHandler(const char *, const char *, const char *, unsigned) { throw Reported{}; }
int g_reports = 0;

template <class Container>
std::string Keys(const Container &c) {
    std::string keys;
    for (auto it = c.GetFirst(); it; ++it)
        keys += std::string(it.GetKey().getString()) + ",";
    return keys;
}

} // namespace

TEST(SIArray, SetSizeGrowsInBoundedStepsAndBadIndexesAreHarmless) {
    // From an array whose capacity is exactly its size: the step is count / 8,
    // at least 4 and at most 1024, unless one is given; a size beyond the
    // step is taken exactly. Elements are kept, new ones are zero.
    for (auto [size, grown, step, capacity] : {std::tuple{100u, 101u, -1, 112u}, {100u, 101u, 50, 150u},
                                               {100u, 200u, 5, 200u}, {8u, 9u, -1, 12u},
                                               {16000u, 16001u, -1, 17024u}}) {
        SIArray<int> a;
        a.SetSize(size);
        a.ElementAt(size - 1) = 7;
        a.SetSize(grown, step);
        EXPECT_EQ(a.GetAt(size - 1), 7);
        EXPECT_EQ(a.GetAt(grown - 1), 0);
        // Capacity shows only through growth: add until the elements move.
        size_t added = 0;
        for (const int *before = a.Begin(); a.Begin() == before; ++added)
            a.Add(0);
        EXPECT_EQ(grown + added - 1, capacity) << size << " to " << grown;
    }

    // Shrinking keeps the capacity; regrowing within it does not move.
    SIArray<int> f;
    f.SetSize(50);
    const int *storage = f.Begin();
    f.SetSize(0);
    EXPECT_EQ(f.GetSize(), 0u);
    EXPECT_EQ(f.GetUpperBound(), SIZE_MAX);
    f.SetSize(40);
    f.RemoveAt(0, 30);
    f.SetSize(50);
    EXPECT_EQ(f.Begin(), storage);
    EXPECT_THROW(f.SetSize(SIZE_MAX), std::length_error);
    EXPECT_EQ(f.GetUpperBound(), 49u);

    InvalidParameterHandler previous = SetInvalidParameterHandler(ThrowingHandler);
    SIArray<int> a;
    EXPECT_THROW(a.GetAt(0), Reported);
    a.Add(1);
    EXPECT_THROW(a.ElementAt(1), Reported);
    EXPECT_THROW((void)a[SIZE_MAX], Reported);
    EXPECT_THROW(a.SetAt(1, 0), Reported);
    EXPECT_THROW(a.RemoveAt(0, 2), Reported);
    EXPECT_THROW(a.RemoveAt(SIZE_MAX, 2), Reported); // no wrap-around
    EXPECT_THROW(a.InsertAt(2, 0), Reported);
    EXPECT_EQ(a.GetSize(), 1u);

    // A handler that returns gets a fresh scratch element and no change.
    SetInvalidParameterHandler([](const char *, const char *, const char *, unsigned) { ++g_reports; });
    g_reports = 0;
    SIArray<std::string> s;
    s.Add("kept");
    EXPECT_EQ(s.GetAt(5), "");
    s.ElementAt(5) = "scribble";
    EXPECT_EQ(s.ElementAt(7), ""); // the scratch is fresh every time
    s.SetAt(3, "x");
    EXPECT_EQ(g_reports, 4);
    EXPECT_EQ(s.GetSize(), 1u);
    EXPECT_EQ(s.GetAt(0), "kept");
    SetInvalidParameterHandler(previous);
}

TEST(SIArrayDeathTest, DefaultHandlerAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(SIArray<int>().GetAt(3), "invalid parameter: index < GetSize\\(\\)");
}

TEST(SIMap, KeyClassOrdersTheSetsVocabularyAndTheIteratorsEnds) {
    InvalidParameterHandler previous = SetInvalidParameterHandler(ThrowingHandler);
    SIMap<SMapStringCaseInsensitive, SAnsiString> map, two;
    for (const char *key : {"bb", "a", "CCC"})
        map.Insert(key, key);
    EXPECT_EQ(Keys(map), "a,bb,CCC,");
    two.SetAt("b", "x");
    two.Update("A", "y");
    EXPECT_EQ(Keys(two), "A,b,");

    // Same key in another case: one element, first spelling, new value.
    map.Insert("Key", "old");
    map.Insert("KEY", "new");
    EXPECT_EQ(Keys(map), "a,bb,CCC,Key,");
    SAnsiString value("untouched");
    EXPECT_FALSE(map.Lookup("ke", value));
    EXPECT_STREQ(value.getString(), "untouched");
    EXPECT_TRUE(map.Lookup("kEy", value));
    EXPECT_STREQ(value.getString(), "new");
    EXPECT_TRUE(map.RemoveKey("bB"));
    EXPECT_FALSE(map.RemoveKey("bB"));
    EXPECT_EQ(map.GetCount(), 3u);

    SIMap<SStringBinary, int> binary;
    for (const char *key : {"a", "B", "A", "ab"})
        binary.Insert(key, 0);
    EXPECT_EQ(Keys(binary), "A,B,a,ab,");

    SISet<SAnsiStringCI> set;
    for (auto [key, inserted] : {std::pair{"Trace", true}, {"TRACE", false}, {"alpha", true}})
        EXPECT_EQ(set.Insert(key), inserted) << key;
    SAnsiStringCI stored;
    EXPECT_TRUE(set.Lookup("trace", stored));
    EXPECT_STREQ(stored.getString(), "Trace");
    EXPECT_EQ(Keys(set), "alpha,Trace,");
    auto it = set.GetLast();
    EXPECT_FALSE(it.Next());
    EXPECT_THROW((void)*it, Reported);
    EXPECT_TRUE(set.RemoveKey("ALPHA"));
    EXPECT_FALSE(set.Contains("alpha"));
    SISet<SAnsiStringCI> copy(set);
    set.RemoveAll();
    EXPECT_EQ(copy.GetCount(), 1u);

    // The map's iterator walks and stops at both ends.
    using IntMap = SIMap<int, int>;
    IntMap numbers;
    EXPECT_FALSE(numbers.GetFirst());
    EXPECT_TRUE(numbers.GetLast() == numbers.End());
    EXPECT_FALSE(numbers.Find(1));
    EXPECT_THROW(--numbers.End(), Reported);
    EXPECT_THROW(++numbers.End(), Reported);
    EXPECT_THROW(numbers.End().GetKey(), Reported);

    for (int i = 1; i <= 3; ++i)
        numbers.Insert(i, i * 10);
    auto walk = numbers.GetFirst();
    EXPECT_TRUE(walk.Next());
    EXPECT_TRUE(walk.Next());
    EXPECT_TRUE(walk.IsLast());
    EXPECT_FALSE(walk.Next());
    EXPECT_THROW(walk++, Reported);
    EXPECT_TRUE(walk == numbers.End()); // a refused step does not move
    EXPECT_TRUE(walk.Prev());
    EXPECT_EQ(walk->first, 3);

    auto back = numbers.GetLast();
    back.GetValue() = 33;
    --back;
    --back;
    EXPECT_EQ((*back).second, 10);
    EXPECT_THROW(--back, Reported);
    EXPECT_EQ(back.GetKey(), 1);
    EXPECT_EQ(IntMap::ConstIterator(numbers.GetLast()).GetValue(), 33);
    EXPECT_EQ(static_cast<const IntMap &>(numbers).Find(2).GetValue(), 20);
    SetInvalidParameterHandler(previous);
}
