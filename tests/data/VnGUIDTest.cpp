#include "data/VnGUID.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(VnGUID, BothTextFormsGiveOneRecord) {
    const VnGUID guid = StringToGUID(L"{01234567-89AB-CDEF-0123-456789ABCDEF}");
    EXPECT_EQ(guid.Data1, 0x01234567U);
    EXPECT_EQ(guid.Data2, 0x89AB);
    EXPECT_EQ(guid.Data3, 0xCDEF);
    const uint8_t data4[8] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
    EXPECT_EQ(std::memcmp(guid.Data4, data4, sizeof(data4)), 0);
    EXPECT_EQ(StringToGUID(L"01234567-89ab-cdef-0123-456789abcdef"), guid);
    EXPECT_EQ(ToBytes(GUIDToString(guid)), "{01234567-89AB-CDEF-0123-456789ABCDEF}");
}

TEST(VnGUID, AnyOtherTextIsZero) {
    for (const wchar_t* text :
         {L"", L"{}", L"01234567-89AB-CDEF-0123-456789ABCDE",
          L"{01234567-89AB-CDEF-0123-456789ABCDEF", L"01234567-89AB-CDEF-0123-456789ABCDEF}",
          L"0123456789ABCDEF0123456789ABCDEF", L"{01234567-89AB-CDEF-0123-456789ABCDEG}"}) {
        EXPECT_EQ(ToBytes(GUIDToString(StringToGUID(text))),
                  "{00000000-0000-0000-0000-000000000000}")
            << ToBytes(text);
    }
}

TEST(VnGUID, NewOnesAreRandomAndRoundTrip) {
    VnGUID first;
    VnGUID second;
    CreateGUID(first);
    CreateGUID(second);
    EXPECT_FALSE(first == second);
    EXPECT_EQ(StringToGUID(GUIDToString(first)), first);
    VnString text;
    text.SetGUID(&first);
    EXPECT_EQ(text.GetGUID(), first);
    text.SetGUID(nullptr);
    EXPECT_EQ(text.GetLength(), 38);
    EXPECT_FALSE(text.GetGUID() == first);
}
