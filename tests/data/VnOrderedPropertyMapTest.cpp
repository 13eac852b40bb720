#include "data/VnOrderedPropertyMap.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

namespace {

/// "key=value" of all entries in their order, parted by blanks.
std::string List(const VnOrderedPropertyMap& map) {
    std::string text;
    for (int32_t i = 0; i < map.GetCount(); i++) {
        text += (i == 0 ? "" : " ") + ToBytes(map.GetKey(i)) + "=" + ToBytes(map.GetValue(i));
    }
    return text;
}

VnOrderedPropertyMap Sample() {
    VnOrderedPropertyMap map;
    map.SetString(L"zeta", L"1");
    map.SetInt(L"Alpha", 2);
    map.SetString(L"mid", L"3");
    return map;
}

struct ChangeCase {
    const char* What;
    void (*Change)(VnOrderedPropertyMap&);
    const char* After;
};

constexpr ChangeCase kChanges[] = {
    {"nothing", [](VnOrderedPropertyMap&) {}, "zeta=1 Alpha=2 mid=3"},
    {"overwriting in another case",
     [](VnOrderedPropertyMap& map) { map.SetString(L"ALPHA", L"x"); }, "zeta=1 Alpha=x mid=3"},
    {"removing in another case", [](VnOrderedPropertyMap& map) { map.Remove(L"ZETA"); },
     "Alpha=2 mid=3"},
    {"removing what is not there", [](VnOrderedPropertyMap& map) { map.Remove(L"no"); },
     "zeta=1 Alpha=2 mid=3"},
    {"an empty value that removes",
     [](VnOrderedPropertyMap& map) { map.SetString(L"mid", L"", true); }, "zeta=1 Alpha=2"},
    {"an empty value that stays", [](VnOrderedPropertyMap& map) { map.SetString(L"mid", L""); },
     "zeta=1 Alpha=2 mid="},
    {"removing and adding again",
     [](VnOrderedPropertyMap& map) {
         map.Remove(L"zeta");
         map.SetString(L"zeta", L"9");
     },
     "Alpha=2 mid=3 zeta=9"},
    {"merging an ordered map",
     [](VnOrderedPropertyMap& map) {
         VnOrderedPropertyMap other;
         other.SetString(L"new", L"n");
         other.SetString(L"MID", L"m");
         other.SetString(L"another", L"a");
         map.MergeFrom(other);
     },
     "zeta=1 Alpha=2 mid=m new=n another=a"},
    {"copying a plain map",
     [](VnOrderedPropertyMap& map) {
         VnPropertyMap other;
         other.SetString(L"only", L"o");
         map.CopyFrom(other);
     },
     "only=o"},
    {"copying itself", [](VnOrderedPropertyMap& map) { map.CopyFrom(map); },
     "zeta=1 Alpha=2 mid=3"},
    {"clearing", [](VnOrderedPropertyMap& map) { map.Clear(); }, ""},
    {"reading records",
     [](VnOrderedPropertyMap& map) { map.Deserialize(L"(1:2)(1:b)(1:1)(1:a)(1:2)"); }, "b=1 a=2"},
};

} // namespace

TEST(VnOrderedPropertyMap, KeepsItsKeysInOrderThroughChanges) {
    for (const ChangeCase& change : kChanges) {
        SCOPED_TRACE(change.What);
        VnOrderedPropertyMap map = Sample();
        change.Change(map);
        EXPECT_EQ(List(map), change.After);
        EXPECT_EQ(ToBytes(map.GetKey(-1)), "");
        EXPECT_EQ(ToBytes(map.GetValue(map.GetCount())), "");
    }
}
