#include "data/VnOrderedPropertyMap.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Map = VnOrderedPropertyMap;

struct ChangeCase {
    void (*Change)(Map&);
    const char* After; ///< key=value of all entries in their order
};

constexpr ChangeCase kChanges[] = {
    {[](Map& map) { map.SetString(L"ALPHA", L"x"); }, "zeta=1 Alpha=x mid=3 "},
    {[](Map& map) { map.Remove(L"ZETA"); }, "Alpha=2 mid=3 "},
    {[](Map& map) { map.Remove(L"no"); }, "zeta=1 Alpha=2 mid=3 "},
    {[](Map& map) { map.SetString(L"mid", L"", true); }, "zeta=1 Alpha=2 "},
    {[](Map& map) { map.SetString(L"mid", L""); }, "zeta=1 Alpha=2 mid= "},
    {[](Map& map) {
         map.Remove(map.GetKey(0));
         map.SetString(L"zeta", L"9");
     },
     "Alpha=2 mid=3 zeta=9 "},
    {[](Map& map) {
         Map other;
         other.SetString(L"new", L"n");
         other.SetString(L"MID", L"m");
         other.SetString(L"another", L"a");
         map.MergeFrom(other);
     },
     "zeta=1 Alpha=2 mid=m new=n another=a "},
    {[](Map& map) {
         VnPropertyMap other;
         other.SetString(L"only", L"o");
         map.CopyFrom(other);
     },
     "only=o "},
    {[](Map& map) { map.CopyFrom(map); }, "zeta=1 Alpha=2 mid=3 "},
    {[](Map& map) { map.Deserialize(L"(1:2)(1:b)(1:1)(1:a)(1:2)"); }, "b=1 a=2 "},
};

} // namespace

TEST(VnOrderedPropertyMap, KeepsItsKeysInOrderThroughChanges) {
    for (const ChangeCase& change : kChanges) {
        Map map;
        map.SetString(L"zeta", L"1");
        map.SetInt(L"Alpha", 2);
        map.SetString(L"mid", L"3");
        change.Change(map);
        std::string entries;
        for (int32_t i = 0; i < map.GetCount(); i++) {
            entries += ToBytes(map.GetKey(i) + L"=" + map.GetValue(i) + L" ");
        }
        EXPECT_EQ(entries, change.After);
        EXPECT_TRUE(map.GetKey(-1).IsEmpty() && map.GetValue(map.GetCount()).IsEmpty());
    }
}
