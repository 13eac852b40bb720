#include "data/VnGUID.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

TEST(VnGUID, BothTextFormsGiveOneRecord) {
    const VnGUID guid = {
        0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
    VnString text;
    text.SetGUID(&guid);
    EXPECT_EQ(ToBytes(text), "{01234567-89AB-CDEF-0123-456789ABCDEF}");
    EXPECT_EQ(text.GetGUID(), guid);
    EXPECT_EQ(StringToGUID(L"01234567-89ab-cdef-0123-456789abcdef"), guid);
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

TEST(VnGUID, NewOnesAreRandom) {
    VnGUID first;
    CreateGUID(first);
    VnString second;
    second.SetGUID(nullptr);
    EXPECT_FALSE(first == VnGUID() || second.GetGUID() == VnGUID() || second.GetGUID() == first);
}
