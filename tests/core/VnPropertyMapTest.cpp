#include "core/VnPropertyMap.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>

namespace {

/// The entries as "key=value;".
std::string GetDump(const VnPropertyMap& map) {
    VnString dump = map.Dump(L"", L"", L";");
    dump.Replace(L": ", L"=");
    return ToBytes(dump);
}

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
    constexpr std::tuple<const wchar_t*, int32_t, int64_t, double, uintptr_t> kRows[] = {
        {nullptr, -7, -8, 1.25, 0xABC},
        {L"", 0, 0, 0, 0},
        {L"abc", 0, 0, 0, 0xABC},
        {L"12", 12, 12, 12, 0x12},
        {L"-3.5e2", -3, -3, -350, static_cast<uintptr_t>(-3)},
        {L"1,5", 1, 1, 1.5, 1},
        {L"99999999999", INT32_MAX, 99999999999, 99999999999.0, 0x99999999999},
        {L"0xff", 0, 0, 0, 0xff},
    };
    for (const auto& [stored, asInt, asInt64, asDouble, asPointer] : kRows) {
        SCOPED_TRACE(stored == nullptr ? "(none)" : ToBytes(stored));
        VnPropertyMap map;
        if (stored != nullptr) {
            map.SetString(L"Key", stored);
        }
        EXPECT_EQ(map.GetInt(L"key", -7), asInt);
        EXPECT_EQ(map.GetInt64(L"key", -8), asInt64);
        EXPECT_EQ(map.GetLong(L"key", -8), asInt64);
        EXPECT_DOUBLE_EQ(map.GetDouble(L"key", 1.25), asDouble);
        EXPECT_EQ(map.GetPointer(L"key", 0xABC), asPointer);
        EXPECT_EQ(map.GetString(L"key", L"none"), stored == nullptr ? L"none" : stored);
        EXPECT_EQ(map.HasProperty(L"key"), stored != nullptr);
    }
}

TEST(VnPropertyMapTyped, WritesTextThatReadsBack) {
    VnPropertyMap map;
    for (const int64_t value : {int64_t{0}, -INT64_MAX, INT64_MAX}) {
        const auto bits = static_cast<uintptr_t>(value) + 1;
        map.SetInt(L"i", static_cast<int32_t>(value >> 32));
        map.SetInt64(L"k", value);
        map.SetLong(L"l", value);
        map.SetPointer(L"p", bits);
        EXPECT_EQ(map.GetString(L"i"), VnString::FromInt(value >> 32));
        EXPECT_EQ(map.GetInt64(L"k"), value);
        EXPECT_EQ(map.GetLong(L"l"), value);
        EXPECT_EQ(map.GetString(L"p"), VnString::Formatted(L"%p", bits));
        EXPECT_EQ(map.GetPointer(L"p"), bits);
    }
    constexpr std::tuple<double, const char*> kRows[] = {
        {2.50, "2.5"}, {3.0, "3"}, {-12.0625, "-12.0625"}, {0x1p-16, "0.0000152587890625"}};
    for (const auto& [value, text] : kRows) {
        map.SetDouble(L"k", value);
        EXPECT_EQ(ToBytes(map.GetString(L"k")), text);
        EXPECT_DOUBLE_EQ(map.GetDouble(L"k", 5), value);
    }
}

TEST(VnPropertyMapTyped, GoesThroughTheVirtualAccess) {
    CWatchedMap map;
    map.SetInt(L"a", 1);
    map.SetInt64(L"b", map.GetInt(L"c", 2));
    map.SetLong(L"d", map.GetInt64(L"e", 3));
    map.SetDouble(L"f", static_cast<double>(map.GetLong(L"g", 4)));
    map.SetPointer(L"h", map.GetPointer(L"i", 5));
    map.GetDouble(L"j");
    VnPropertyMap other;
    other.SetInt(L"o", 1);
    map.CopyFrom(other); // These two go by it.
    map.MergeFrom(other);
    map.Deserialize(L"(1:1)(1:x)(1:y)");
    EXPECT_EQ(ToBytes(map.Seen), "set a=1;get c;set b=2;get e;set d=3;get g;set f=4;get i;"
                                 "set h=0000000000000005;get j;set x=y;");
}

TEST(VnPropertyMapEntries, KeepTheFirstSpellingAndTheLastValue) {
    VnPropertyMap map;
    map.SetString(L"Name", L"first");
    map.SetString(L"NAME", L"second");
    EXPECT_EQ(map.Dump(L"> ", L"ignored", L"\n"), L"> Name: second\n");
    map.SetString(L"name", L"", /*removeIfEmpty=*/false);
    EXPECT_TRUE(map.HasProperty(L"Name"));
    map.SetString(L"name", L"", /*removeIfEmpty=*/true);
    EXPECT_FALSE(map.HasProperty(L"Name"));
    EXPECT_EQ(map.GetEntries(), nullptr) << "the last removal keeps the inner map";
    EXPECT_EQ(GetDump(map), "");
    map.Remove(L"name");
    map.SetInt(L"a", 1);
    map.Clear();
    EXPECT_EQ(map.GetEntries(), nullptr);
}

TEST(VnPropertyMapWhole, CopiesMergesAndCompares) {
    VnPropertyMap first;
    first.Deserialize(L"(1:2)(4:Same)(1:a)(4:Mine)(1:m)");
    VnPropertyMap second;
    second.Deserialize(L"(1:2)(4:SAME)(1:b)(3:New)(1:n)");

    VnPropertyMap merged;
    merged.SetInt(L"old", 1);
    EXPECT_TRUE(merged.CopyFrom(first));
    EXPECT_TRUE(merged.IsEqual(first));
    EXPECT_TRUE(merged.MergeFrom(second));
    EXPECT_EQ(merged.GetCount(), 3);
    EXPECT_EQ(merged.GetString(L"Same"), L"b");
    EXPECT_EQ(merged.GetString(L"Mine"), L"m");

    const VnPropertyMap empty;
    merged.MergeFrom(empty);
    merged.MergeFrom(merged);
    merged.CopyFrom(merged);
    EXPECT_EQ(merged.GetCount(), 3);
    merged.CopyFrom(empty);
    EXPECT_EQ(merged.GetEntries(), nullptr);
    EXPECT_TRUE(merged.IsEqual(empty));

    VnPropertyMap map;
    map.Deserialize(L"(1:1)(1:k)(1:a)");
    constexpr std::tuple<const wchar_t*, bool> kRows[] = {{L"(1:1)(1:K)(1:a)", true},
                                                          {L"(1:1)(1:k)(1:A)", false},
                                                          {L"(1:1)(1:j)(1:a)", false},
                                                          {L"(1:2)(1:k)(1:a)(1:j)(1:b)", false},
                                                          {L"", false}};
    for (const auto& [text, equal] : kRows) {
        VnPropertyMap other;
        other.Deserialize(text);
        EXPECT_EQ(map.IsEqual(other), equal) << ToBytes(text);
        EXPECT_EQ(other.IsEqual(map), equal) << ToBytes(text);
    }
}

TEST(VnPropertyMapRecords, WriteTheCountAndThePairs) {
    VnPropertyMap map;
    VnString text = L">";
    map.Serialize(text);
    EXPECT_EQ(text, L">(1:0)");
    map.SetString(L"a", L"(1:x)");
    map.SetString(L"b", L"");
    map.Serialize(text, /*includeEntries=*/false);
    map.Serialize(text);
    // In the order of the buckets: "a" hashes to 97, bucket 6 of 7, "b" to 98, bucket 0.
    EXPECT_EQ(text, L">(1:0)(1:0)(1:2)(1:b)(0:)(1:a)(5:(1:x))");
    int32_t position = 11;
    VnPropertyMap read;
    read.DeserializeAt(text, position);
    EXPECT_TRUE(read.IsEqual(map));
    EXPECT_EQ(position, text.GetLength());
}

TEST(VnPropertyMapRecords, ReadDamagedTextAsEmptyPairs) {
    constexpr std::tuple<const wchar_t*, const char*, int32_t> kRows[] = {
        {L"(1:1)(1:a)(1:1)rest", "a=1;", 15},
        {L"(1:1)(1:a)", "a=;", 10},
        {L"(1:2)(1:a)(1:1)", "=;a=1;", 15},
        {L"(10:2147483647)(1:a)(1:1)", "=;a=1;", 25},
        {L"(1:1)(1:a)(9:1)", "a=;", -1},
        {L"(2:-1)(1:a)(1:1)", "", 6},
        {L"nothing", "", 0},
        {L"", "", 0},
        {L"(1:1)(0:)(1:v)", "=v;", 14},
    };
    for (const auto& [text, dump, end] : kRows) {
        VnPropertyMap map;
        map.SetInt(L"old", 1);
        int32_t position = 0;
        map.DeserializeAt(text, position);
        EXPECT_EQ(GetDump(map), dump) << ToBytes(text);
        if (end >= 0) {
            EXPECT_EQ(position, end) << ToBytes(text);
        }
    }
}

TEST(VnPropertyMapExchange, ServesBothDirections) {
    for (const uint64_t stored : {uint64_t{0}, uint64_t{1} << 63, ~uint64_t{0}}) {
        VnPropertyMap map;
        VnString text = L"default";
        double number = 0.5;
        uint64_t size = stored;
        const auto exchange = [&](bool load) {
            map.Exchange(load, L"Text", text);
            map.Exchange(load, L"Number", number);
            map.Exchange(load, L"Size", size);
        };
        // At first every value is its own default, then what was stored comes back.
        for (const bool isStored : {false, true}) {
            exchange(/*load=*/true);
            EXPECT_EQ(text, L"default") << isStored;
            EXPECT_EQ(number, 0.5) << isStored;
            EXPECT_EQ(size, stored) << isStored;
            exchange(/*load=*/false);
            text = L"";
            number = 0;
            size = 1;
        }
    }
}

TEST(VnPropertyMapExchange, AppendsASlash) {
    constexpr std::tuple<const wchar_t*, const wchar_t*> kRows[] = {
        {L"/a", L"/a/"}, {L"/a/", L"/a/"}, {L"/a///", L"/a/"}, {L"", L""}, {nullptr, L""}};
    for (const auto& [before, after] : kRows) {
        VnPropertyMap map;
        if (before != nullptr) {
            map.SetString(L"Path", before);
        }
        map.AppendSlash(L"path");
        EXPECT_EQ(map.GetString(L"Path", L"default"), after);
    }
}

} // namespace
