// Random operation sequences against the standard containers as the model.
#include "tarnkit/sarray.h"
#include "tarnkit/smap.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <strings.h>
#include <vector>

using namespace TarnkitA201;

TEST(SIArrayRandom, MatchesVector) {
    std::mt19937 random(20211);
    SIArray<int> array;
    std::vector<int> model;
    for (int step = 0; step < 20000; ++step) {
        const size_t size = model.size(), index = random() % (size + 1), count = random() % 4, operation = random() % 7;
        const int value = static_cast<int>(random() % 1000);
        if (operation == 0) {
            ASSERT_EQ(array.Add(value), size);
            model.push_back(value);
        } else if (operation == 1) {
            model.resize(random() % 300);
            array.SetSize(model.size(), random() % 2 ? -1 : static_cast<int>(random() % 40));
        } else if (operation == 2 && index + count <= size) {
            array.RemoveAt(index, count);
            model.erase(model.begin() + index, model.begin() + index + count);
        } else if (operation == 3) {
            array.InsertAt(index, value, count);
            model.insert(model.begin() + index, count, value);
        } else if (operation == 4 && size < 500) {
            ASSERT_EQ(array.Append(array), size);
            model.insert(model.end(), model.begin(), model.begin() + size);
        } else if (operation == 5 && random() % 10 == 0) {
            array.RemoveAll();
            model.clear();
        } else if (operation == 6 && index < size) {
            array.SetAt(index, array.GetAt(index) + value);
            model[index] += value;
        }
        ASSERT_EQ(std::vector<int>(array.Begin(), array.End()), model) << "step " << step;
        ASSERT_EQ(array.GetUpperBound(), model.size() - 1);
    }
}

TEST(SIMapRandom, CaseInsensitiveMapMatchesModel) {
    // The promised order of case-insensitive keys: length first, then
    // case-folded bytes (the keys here are ASCII letters and digits only).
    auto lengthThenNoCase = [](const std::string &a, const std::string &b) {
        return a.size() != b.size() ? a.size() < b.size() : strcasecmp(a.c_str(), b.c_str()) < 0;
    };
    std::map<std::string, int, decltype(lengthThenNoCase)> model(lengthThenNoCase);
    SIMap<SMapStringCaseInsensitive, int> map;
    std::mt19937 random(77);
    for (int step = 0; step < 5000; ++step) {
        std::string key(1 + random() % 3, ' ');
        for (char &c : key)
            c = "aAbBcC0"[random() % 7];
        const int value = static_cast<int>(random() % 100);
        if (random() % 3 != 0)
            map.Insert(key.c_str(), model[key] = value);
        else
            ASSERT_EQ(map.RemoveKey(key.c_str()), model.erase(key) == 1);

        // Forward and backward walks of the map's own iterator give the model.
        std::vector<std::pair<std::string, int>> forward, backward;
        for (auto it = map.GetFirst(); it; ++it)
            forward.emplace_back(it.GetKey().getString(), it.GetValue());
        for (auto it = map.End(); !map.IsEmpty() && !it.IsFirst() && it.Prev();)
            backward.emplace(backward.begin(), it.GetKey().getString(), it.GetValue());
        ASSERT_EQ(forward, (std::vector<std::pair<std::string, int>>(model.begin(), model.end())));
        ASSERT_EQ(backward, forward);
        int found = -1;
        ASSERT_EQ(map.Lookup(key.c_str(), found), model.count(key) == 1);
        ASSERT_EQ(map.Find(key.c_str()).IsValid(), model.count(key) == 1);
    }
}
