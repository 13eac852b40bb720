#include "core/VnPropertyMap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

/// A map that writes down which virtual accesses it sees.
class CWatchedMap : public VnPropertyMap {
public:
    VnString GetString(const wchar_t* key, const wchar_t* defaultText) const override {
        Seen.Append(L"get ", -1, key, -1, L";", -1);
        return VnPropertyMap::GetString(key, defaultText);
    }
    bool SetString(const wchar_t* key, const VnString& value, bool removeIfEmpty) override {
        Seen.Append(L"set ", -1, key, -1, L"=", -1, value, -1);
        Seen.Append(removeIfEmpty ? L"?;" : L";");
        return VnPropertyMap::SetString(key, value, removeIfEmpty);
    }
    mutable VnString Seen;
};

TEST(VnPropertyMapTyped, ReadsStoredTextAndDefaults) {
    struct {
        const wchar_t* Stored; // Null: the key is missing.
        int32_t Int;
        int64_t Int64;
        double Double;
        uintptr_t Pointer;
    } constexpr kRows[] = {
        {nullptr, -7, -8, 1.25, 0xABC},
        {L"", 0, 0, 0, 0},
        {L"abc", 0, 0, 0, 0xABC},
        {L"12", 12, 12, 12, 0x12},
        {L"-3.5e2", -3, -3, -350, static_cast<uintptr_t>(-3)},
        {L"1,5", 1, 1, 1.5, 1},
        {L"99999999999", INT32_MAX, 99999999999, 99999999999.0, 0x99999999999},
        {L"0xff", 0, 0, 0, 0xff},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(
            testing::PrintToString(std::wstring(row.Stored == nullptr ? L"(none)" : row.Stored)));
        VnPropertyMap map;
        if (row.Stored != nullptr) {
            map.SetString(L"Key", row.Stored);
        }
        EXPECT_EQ(map.GetInt(L"key", -7), row.Int);
        EXPECT_EQ(map.GetInt64(L"key", -8), row.Int64);
        EXPECT_EQ(map.GetLong(L"key", -8), row.Int64);
        EXPECT_DOUBLE_EQ(map.GetDouble(L"key", 1.25), row.Double);
        EXPECT_EQ(map.GetPointer(L"key", 0xABC), row.Pointer);
        EXPECT_EQ(map.GetString(L"key", L"none"), row.Stored == nullptr ? L"none" : row.Stored);
        EXPECT_EQ(map.HasProperty(L"key"), row.Stored != nullptr);
    }
}

TEST(VnPropertyMapTyped, ReadsBackWhatItWrote) {
    VnPropertyMap map;
    for (const int32_t value : {0, -1, -INT32_MAX, INT32_MAX}) {
        map.SetInt(L"k", value);
        EXPECT_EQ(map.GetInt(L"k", 5), value);
        map.SetLong(L"k", value);
        EXPECT_EQ(map.GetLong(L"k", 5), value);
    }
    for (const int64_t value : {INT64_MAX, -INT64_MAX, int64_t{1} << 40}) {
        map.SetInt64(L"k", value);
        EXPECT_EQ(map.GetInt64(L"k", 5), value);
    }
    for (const uintptr_t value : {uintptr_t{0}, uintptr_t{0xdeadbeef}, ~uintptr_t{0}}) {
        map.SetPointer(L"k", value);
        EXPECT_EQ(map.GetPointer(L"k", 5), value);
    }
    for (const double value : {0.5, -12.0625, 3.0, 1234567.875}) {
        map.SetDouble(L"k", value);
        EXPECT_DOUBLE_EQ(map.GetDouble(L"k", 5), value);
    }
    map.SetDouble(L"k", 2.50);
    EXPECT_EQ(map.GetString(L"k"), L"2.5");
    map.SetDouble(L"k", 3.0);
    EXPECT_EQ(map.GetString(L"k"), L"3");
}

TEST(VnPropertyMapTyped, GoesThroughTheVirtualAccess) {
    CWatchedMap map;
    map.SetInt(L"a", 1);
    map.SetInt64(L"b", 2);
    map.SetLong(L"c", 3);
    map.SetDouble(L"d", 4);
    map.GetInt(L"a");
    map.GetInt64(L"b");
    map.GetLong(L"c");
    map.GetDouble(L"d");
    map.GetPointer(L"e");
    EXPECT_EQ(map.Seen, L"set a=1;set b=2;set c=3;set d=4;get a;get b;get c;get d;get e;");
    map.Seen.Empty();
    map.Deserialize(L"(1:1)(1:x)(1:y)");
    EXPECT_EQ(map.Seen, L"set x=y;");
    map.Seen.Empty();
    VnPropertyMap other;
    other.SetInt(L"o", 1);
    map.CopyFrom(other);
    map.MergeFrom(other);
    EXPECT_EQ(map.Seen, L"");
}

TEST(VnPropertyMapEntries, KeepTheFirstSpellingAndTheLastValue) {
    VnPropertyMap map;
    map.SetString(L"Name", L"first");
    map.SetString(L"NAME", L"second");
    EXPECT_EQ(map.GetCount(), 1);
    EXPECT_EQ(map.Dump(L"> ", L"ignored", L"\n"), L"> Name: second\n");
    map.SetString(L"name", L"", /*removeIfEmpty=*/false);
    EXPECT_TRUE(map.HasProperty(L"Name"));
    map.SetString(L"name", L"", /*removeIfEmpty=*/true);
    EXPECT_FALSE(map.HasProperty(L"Name"));
    EXPECT_EQ(map.GetEntries(), nullptr) << "the last removal keeps the inner map";
    EXPECT_EQ(map.Dump(L"> ", L"", L"\n"), L"");
    map.Remove(L"name");
    map.SetInt(L"a", 1);
    map.Clear();
    EXPECT_EQ(map.GetEntries(), nullptr);
}

TEST(VnPropertyMapWhole, CopiesMergesAndCompares) {
    VnPropertyMap first;
    first.SetString(L"Same", L"a");
    first.SetString(L"Mine", L"m");
    VnPropertyMap second;
    second.SetString(L"SAME", L"b");
    second.SetString(L"New", L"n");

    VnPropertyMap merged;
    EXPECT_TRUE(merged.CopyFrom(first));
    EXPECT_TRUE(merged.IsEqual(first));
    EXPECT_TRUE(merged.MergeFrom(second));
    EXPECT_EQ(merged.GetCount(), 3);
    EXPECT_EQ(merged.GetString(L"Same"), L"b");
    EXPECT_EQ(merged.GetString(L"Mine"), L"m");
    EXPECT_FALSE(merged.IsEqual(first));

    const VnPropertyMap empty;
    merged.MergeFrom(empty);
    merged.MergeFrom(merged);
    merged.CopyFrom(merged);
    EXPECT_EQ(merged.GetCount(), 3);
    merged.CopyFrom(empty);
    EXPECT_EQ(merged.GetEntries(), nullptr);
    EXPECT_TRUE(merged.IsEqual(empty));

    struct {
        const wchar_t* Left;
        const wchar_t* Right;
        bool Equal;
    } constexpr kRows[] = {
        {L"(1:1)(1:k)(1:a)", L"(1:1)(1:K)(1:a)", true},
        {L"(1:1)(1:k)(1:a)", L"(1:1)(1:k)(1:A)", false},
        {L"(1:1)(1:k)(1:a)", L"(1:1)(1:j)(1:a)", false},
        {L"(1:1)(1:k)(1:a)", L"(1:2)(1:k)(1:a)(1:j)(1:b)", false},
        {L"(1:1)(1:k)(1:a)", L"", false},
    };
    for (const auto& row : kRows) {
        VnPropertyMap left;
        left.Deserialize(row.Left);
        VnPropertyMap right;
        right.Deserialize(row.Right);
        EXPECT_EQ(left.IsEqual(right), row.Equal);
        EXPECT_EQ(right.IsEqual(left), row.Equal);
    }
}

TEST(VnPropertyMapRecords, WriteTheCountAndThePairs) {
    VnPropertyMap map;
    VnString text;
    map.Serialize(text);
    EXPECT_EQ(text, L"(1:0)");
    map.SetString(L"a", L"1");
    map.SetString(L"b", L"2");
    text.Empty();
    map.Serialize(text);
    // In the order of the buckets: "a" hashes to 97, bucket 6 of 7, "b" to 98, bucket 0.
    EXPECT_EQ(text, L"(1:2)(1:b)(1:2)(1:a)(1:1)");
    text = L">";
    map.Serialize(text, /*includeEntries=*/false);
    EXPECT_EQ(text, L">(1:0)");
}

TEST(VnPropertyMapRecords, ReadDamagedTextAsEmptyPairs) {
    struct {
        const wchar_t* Text;
        int32_t Start;
        const wchar_t* Dump;
        int32_t End;
    } constexpr kRows[] = {
        {L"(1:1)(1:a)(1:1)rest", 0, L"a=1;", 15},
        {L"xx(1:1)(1:a)(1:1)", 2, L"a=1;", 17},
        {L"(1:1)(1:a)", 0, L"a=;", 10},
        {L"(1:2)(1:a)(1:1)", 0, L"=;a=1;", 15},
        {L"(10:2000000000)(1:a)(1:1)", 0, L"=;a=1;", 25},
        {L"(1:1)(1:a)(9:1)", 0, L"a=;", -1},
        {L"(2:-1)(1:a)(1:1)", 0, L"", 6},
        {L"nothing", 0, L"", 0},
        {L"", 0, L"", 0},
        {L"(1:1)(0:)(1:v)", 0, L"=v;", 14},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.Text)));
        VnPropertyMap map;
        map.SetInt(L"old", 1);
        int32_t position = row.Start;
        map.DeserializeAt(row.Text, position);
        VnString dump = map.Dump(L"", L"", L";");
        dump.Replace(L": ", L"=");
        EXPECT_EQ(dump, row.Dump) << testing::PrintToString(std::wstring(dump));
        if (row.End >= 0) {
            EXPECT_EQ(position, row.End);
        }
    }
}

TEST(VnPropertyMapRecords, RoundTripAnyText) {
    VnPropertyMap map;
    for (int number = 0; number < 200; ++number) {
        map.SetString(VnString::Formatted(L"Key (%d)", number),
                      VnString::Formatted(L"(%d:%d)\n", number, number));
    }
    VnString text;
    map.Serialize(text);
    VnPropertyMap read;
    read.Deserialize(text);
    EXPECT_TRUE(read.IsEqual(map));
    EXPECT_EQ(read.GetCount(), 200);
}

TEST(VnPropertyMapExchange, ServesBothDirections) {
    for (const uint64_t stored : {uint64_t{0}, uint64_t{7}, uint64_t{1} << 63, ~uint64_t{0}}) {
        VnPropertyMap map;
        VnString text = L"default";
        double number = 0.5;
        uint64_t size = stored;
        const auto exchange = [&](bool load) {
            map.Exchange(load, L"Text", text);
            map.Exchange(load, L"Number", number);
            map.Exchange(load, L"Size", size);
        };
        exchange(/*load=*/true);
        EXPECT_EQ(text, L"default") << "a missing key changed its value";
        EXPECT_EQ(number, 0.5);
        EXPECT_EQ(size, stored);
        exchange(/*load=*/false);
        text = L"";
        number = 0;
        size = 1;
        exchange(/*load=*/true);
        EXPECT_EQ(text, L"default");
        EXPECT_EQ(number, 0.5);
        EXPECT_EQ(size, stored);
    }
}

TEST(VnPropertyMapExchange, AppendsASlash) {
    struct {
        const wchar_t* Before;
        const wchar_t* After;
    } constexpr kRows[] = {{L"/a", L"/a/"}, {L"/a/", L"/a/"}, {L"/a///", L"/a/"}, {L"", L""}};
    for (const auto& row : kRows) {
        VnPropertyMap map;
        map.SetString(L"Path", row.Before);
        map.AppendSlash(L"path");
        EXPECT_EQ(map.GetString(L"Path"), row.After);
    }
    VnPropertyMap map;
    map.AppendSlash(L"Path");
    EXPECT_EQ(map.GetString(L"Path", L"default"), L"");
}

} // namespace
