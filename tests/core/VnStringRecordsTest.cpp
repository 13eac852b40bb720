#include "core/VnString.h"

#include "core/VnStringArray.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <random>
#include <tuple>

namespace {

TEST(VnStringRecords, Append) {
    VnString text;
    text.AppendSerialized(L"abc");
    text.AppendSerialized(nullptr);
    text.AppendSerialized(L"abc", 2);
    text.AppendSerializedInt(-12);
    text.AppendSerializedDouble(2.5);
    EXPECT_EQ(text, L"(3:abc)(0:)(2:ab)(3:-12)(3:2.5)");
    int32_t position = 0;
    VnString out;
    EXPECT_TRUE(text.ReadSerialized(position, out, L"x"));
    EXPECT_EQ(out, L"abc");
    EXPECT_EQ(text.ReadSerializedInt(position, 7), 7) << "an empty record gives the default";
    EXPECT_TRUE(text.ReadSerialized(position, out, L"x"));
    EXPECT_EQ(text.ReadSerializedInt(position, 7), -12);
    EXPECT_EQ(text.ReadSerializedDouble(position, 7), 2.5);
    EXPECT_EQ(position, text.GetLength());
    EXPECT_EQ(text.ReadSerializedDouble(position, 7), 7);
}

TEST(VnStringRecords, GrowsInSteps) {
    VnString text(L"x");
    text.FreeExtra(); // the pool may have given a large block
    text.AppendSerialized(VnString(L'y'));
    EXPECT_EQ(text.GetCapacity(), 1025);
    VnString large;
    large.Prepend(L'y', 2000);
    text.AppendSerialized(large);
    EXPECT_EQ(text.GetLength(), 1 + 5 + 2007);
    EXPECT_EQ(text.GetCapacity(), 2049);
}

TEST(VnStringRecords, Rejects) {
    // Where reading starts and stops, and whether a record seems to begin there.
    const std::tuple<const wchar_t*, int32_t, int32_t, bool> rows[] = {
        {L"", 0, 0, false},
        {L"(3:abc)", -1, -1, false},
        {L"(3:abc)", 7, 7, false},
        {L"(3:abc)", 1, 1, false},
        {L"(", 0, 1, false},
        {L"(3", 0, 2, false},
        {L"(3x:abc)", 0, 2, false},
        {L"(:", 0, 2, false},
        {L"(-1:a)", 0, 1, false},
        {L"(3:abcd)", 0, 3, true},
        {L"(4:abc)", 0, 3, true},
        {L"(3:abc", 0, 3, true},
        {L"(99999999999999999999:a)", 0, 22, true},
        {L"(4294967297:a)", 0, 12, true},
    };
    for (const auto& [record, start, end, seems] : rows) {
        const VnString text(record);
        SCOPED_TRACE(ToBytes(text) + " at " + std::to_string(start));
        VnString out(L"old");
        int32_t position = start;
        EXPECT_FALSE(text.ReadSerialized(position, out, L"default"));
        EXPECT_EQ(out, L"default");
        EXPECT_EQ(position, end);
        EXPECT_EQ(text.IsSerializedAt(start), seems);
        position = start;
        EXPECT_EQ(text.ReadSerializedInt(position, 5), 5);
    }
}

TEST(VnStringRecords, TakeRemovesOnlyWhatItReads) {
    VnString text(L"(2:12)(1:x)(3:0.5)tail");
    VnString out;
    EXPECT_TRUE(text.PeekSerialized(out));
    EXPECT_EQ(text.PeekSerializedInt(0), 12);
    EXPECT_EQ(text.TakeSerializedInt(0), 12);
    EXPECT_TRUE(text.TakeSerialized(out));
    EXPECT_EQ(out, L"x");
    EXPECT_EQ(text.PeekSerializedDouble(0), 0.5);
    EXPECT_EQ(text.TakeSerializedDouble(0), 0.5);
    EXPECT_EQ(text, L"tail");
    EXPECT_EQ(text.TakeSerializedInt(4), 4);
    EXPECT_EQ(text, L"tail");
    text = L"(1:a)";
    EXPECT_TRUE(text.TakeSerialized(text));
    EXPECT_EQ(text, L"a") << "the out text may be the source";
}

TEST(VnStringRecords, RoundTripsAnyTexts) {
    std::mt19937 random(7);
    for (int32_t round = 0; round < 300; ++round) {
        VnStringArray texts;
        VnString all;
        for (uint32_t i = random() % 6; i > 0; --i) {
            VnString text;
            for (uint32_t c = random() % 12; c > 0; --c) {
                text += L"(:)0129x\u00E9\U0001F600"[random() % 10];
            }
            texts.Add(text);
            all.AppendSerialized(text);
        }
        int32_t position = 0;
        for (const VnString& text : texts) {
            VnString out;
            ASSERT_TRUE(all.ReadSerialized(position, out)) << "round " << round;
            EXPECT_EQ(ToBytes(out), ToBytes(text)) << "round " << round;
        }
        EXPECT_EQ(position, all.GetLength());
    }
}

} // namespace
