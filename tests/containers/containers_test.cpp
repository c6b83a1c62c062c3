// Array, map and set: growth rules, bound reports, key orders and the
// map's self-contained iterator.
#include "tarnkit/sarray.h"
#include "tarnkit/smap.h"
#include "tarnkit/sset.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

using namespace TarnkitA201;

namespace {

struct Reported {};
void ThrowingHandler(const char *, const char *, const char *, unsigned) { throw Reported{}; }
int g_reports = 0;
void CountingHandler(const char *, const char *, const char *, unsigned) { ++g_reports; }

// Installs a handler for the scope and puts the previous one back.
struct HandlerScope {
    explicit HandlerScope(InvalidParameterHandler handler) : previous(SetInvalidParameterHandler(handler)) {}
    ~HandlerScope() { SetInvalidParameterHandler(previous); }
    InvalidParameterHandler previous;
};

// An array of `n` elements whose capacity is exactly `n`.
SIArray<int> FullArray(size_t n) {
    SIArray<int> a;
    a.SetSize(n);
    return a;
}

// Capacity shows only through growth: add until the elements move.
size_t CapacityOf(SIArray<int> &a) {
    const int *before = a.Begin();
    size_t size = a.GetSize();
    for (; a.Begin() == before; ++size)
        a.Add(0);
    return size - 1;
}

template <class Container>
std::string Keys(const Container &c) {
    std::string keys;
    for (auto it = c.GetFirst(); it; ++it)
        keys += std::string(it.GetKey().getString()) + ",";
    return keys;
}

} // namespace

TEST(SIArray, SetSizeGrowsInBoundedSteps) {
    SIArray<int> a = FullArray(100), b = FullArray(100), c = FullArray(100), d = FullArray(8), e = FullArray(16000);
    a.ElementAt(99) = 7;
    a.SetSize(101); // count / 8 = 12
    EXPECT_EQ(a.GetAt(99), 7);
    EXPECT_EQ(a.GetAt(100), 0);
    b.SetSize(101, 50);
    c.SetSize(200, 5); // beyond the step: exactly n
    d.SetSize(9);      // count / 8 below 5 gives 4
    e.SetSize(16001);  // count / 8 above 1024 gives 1024
    EXPECT_EQ(CapacityOf(a), 112u);
    EXPECT_EQ(CapacityOf(b), 150u);
    EXPECT_EQ(CapacityOf(c), 200u);
    EXPECT_EQ(CapacityOf(d), 12u);
    EXPECT_EQ(CapacityOf(e), 17024u);

    // Shrinking keeps the capacity; regrowing within it does not move.
    SIArray<int> f = FullArray(50);
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
}

TEST(SIArray, BadIndexesAreReportedAndHarmless) {
    {
        HandlerScope scope(ThrowingHandler);
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
    }
    HandlerScope scope(CountingHandler);
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
}

TEST(SIArrayDeathTest, DefaultHandlerAborts) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    SIArray<int> a;
    EXPECT_DEATH(a.GetAt(3), "invalid parameter: index < GetSize\\(\\)");
}

TEST(SIMap, KeyClassOrders) {
    SIMap<SMapStringCaseInsensitive, SAnsiString> map, two;
    map.Insert("bb", "2");
    map.Insert("a", "1");
    map.Insert("CCC", "3");
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
}

TEST(SIMap, IteratorWalksAndStopsAtBothEnds) {
    HandlerScope scope(ThrowingHandler);
    SIMap<int, int> map;
    EXPECT_FALSE(map.GetFirst());
    EXPECT_TRUE(map.GetLast() == map.End());
    EXPECT_FALSE(map.Find(1));
    auto none = map.End();
    EXPECT_THROW(--none, Reported);
    EXPECT_THROW(++none, Reported);
    EXPECT_THROW(none.GetKey(), Reported);

    for (int i = 1; i <= 3; ++i)
        map.Insert(i, i * 10);
    auto it = map.GetFirst();
    EXPECT_TRUE(it.Next());
    EXPECT_TRUE(it.Next());
    EXPECT_TRUE(it.IsLast());
    EXPECT_FALSE(it.Next());
    EXPECT_THROW(it++, Reported);
    EXPECT_TRUE(it == map.End()); // a refused step does not move
    EXPECT_TRUE(it.Prev());
    EXPECT_EQ(it->first, 3);

    auto back = map.GetLast();
    back.GetValue() = 33;
    --back;
    --back;
    EXPECT_EQ((*back).second, 10);
    EXPECT_THROW(--back, Reported);
    EXPECT_EQ(back.GetKey(), 1);
    const SIMap<int, int> &constant = map;
    SIMap<int, int>::ConstIterator last = map.GetLast();
    EXPECT_EQ(last.GetValue(), 33);
    EXPECT_EQ(constant.Find(2).GetValue(), 20);
}

TEST(SISet, KeysWithTheMapsVocabulary) {
    HandlerScope scope(ThrowingHandler);
    SISet<SAnsiStringCI> set;
    EXPECT_TRUE(set.Insert("Trace"));
    EXPECT_FALSE(set.Insert("TRACE"));
    EXPECT_TRUE(set.Insert("alpha"));
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
}
