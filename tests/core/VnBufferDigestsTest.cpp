#include "core/VnBuffer.h"

#include "core/VnString.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>

namespace {

/// The checksum as it is defined: one bit at a time.
uint64_t PlainCRC64(const std::string& bytes) {
    uint64_t crc = 0;
    for (const char byte : bytes) {
        crc ^= static_cast<uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xD800000000000000 : crc >> 1;
        }
    }
    return crc;
}

const wchar_t* const kVector = L"0123456789abcdef";

} // namespace

TEST(VnBufferDigests, CRC64) {
    EXPECT_EQ(VnBuffer().CRC64(), 0U);
    EXPECT_EQ(ToBuffer("abc").CRC64(), 0x58893BB000000000U);
    std::string bytes;
    for (int length = 0; length < 100; ++length) {
        ASSERT_EQ(ToBuffer(bytes).CRC64(), PlainCRC64(bytes)) << length;
        bytes.push_back(static_cast<char>(length * 53 + 7));
    }
}

TEST(VnBufferDigests, SHA1VectorsOfTheStandard) {
    const char* const rows[][2] = {
        {"abc", "A9993E364706816ABA3E25717850C26C9CD0D89D"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "84983E441C3BD26EBAAE4AA1F95129E5E54670F1"},
        {"", "DA39A3EE5E6B4B0D3255BFEF95601890AFD80709"},
    };
    for (const auto& row : rows) {
        uint8_t digest[20];
        ToBuffer(row[0]).SHA1(digest);
        VnString text;
        text.SetHexBytes(digest, 20);
        EXPECT_EQ(ToBytes(text), row[1]);
    }
}

TEST(VnBufferDigests, TextHash) {
    EXPECT_EQ(VnString(L"abc").Hash(false), 0x3025F862U);
    EXPECT_EQ(VnString(L"ABC").Hash(true), 0x3025F862U);
    EXPECT_NE(VnString(L"ABC").Hash(false), 0x3025F862U);
    EXPECT_EQ(VnString(L"abc").Hash64(false) & 0xFFFFFFFFU, 0x3025F862U);
    EXPECT_EQ(VnString::HashOf(nullptr, false), 0U);
    EXPECT_EQ(VnString::Hash64Of(nullptr, true), 0U);
    EXPECT_EQ(VnString::Hash64Of(L"Abc", true), VnString(L"aBC").Hash64(true));
    const VnString zero(L"a\0b", 3);
    EXPECT_EQ(zero.Hash(false), VnString(L"a").Hash(false));
    EXPECT_NE(zero.Hash64(false), VnString(L"a").Hash64(false));
}

TEST(VnBufferDigests, TwofishVectorWithARawKey) {
    // Known answer of the cipher's authors: zero key, zero text.
    const uint8_t key[16] = {};
    VnBuffer buffer(16, true);
    ASSERT_TRUE(buffer.Encrypt(L"", key, false, L""));
    ASSERT_EQ(buffer.GetSize(), 32);
    EXPECT_EQ(ToBytes(buffer.GetHexText()),
              "9F589F5CF6122C32B6BFEC2F2AE8C35A9F589F5CF6122C32B6BFEC2F2AE8C35A");
}

TEST(VnBufferDigests, APasswordMakesAKey) {
    const uint8_t key[] = {0x27, 0xFD, 0xCD, 0x54, 0x09, 0x81, 0x06, 0x9D,
                           0x91, 0xFA, 0xA2, 0xED, 0x73, 0x1E, 0x16, 0x38};
    VnBuffer byKey = ToBuffer("text");
    VnBuffer byPassword(byKey);
    ASSERT_TRUE(byKey.Encrypt(L"other", key, false, L""));
    ASSERT_TRUE(byPassword.Encrypt(L"SeCret", nullptr, false, L""));
    EXPECT_EQ(ToBytes(byPassword.GetHexText()), ToBytes(byKey.GetHexText()));
}

TEST(VnBufferDigests, CipherRoundTripInBothModes) {
    const std::string plain = "The quick brown fox jumps over the lazy dog";
    std::set<std::string> cipherTexts;
    for (const bool useCBC : {false, true}) {
        for (const wchar_t* password : {L"", L"Secret", L"sEcret", L"\u0416"}) {
            VnBuffer buffer = ToBuffer(plain);
            ASSERT_TRUE(buffer.Encrypt(password, nullptr, useCBC, kVector));
            ASSERT_EQ(buffer.GetSize(), 64);
            cipherTexts.insert(ToBytes(buffer));
            buffer.Append("tail", 4);
            ASSERT_TRUE(buffer.Decrypt(password, useCBC, kVector));
            EXPECT_EQ(ToBytes(buffer), plain + std::string(21, '\0'));
        }
    }
    EXPECT_EQ(cipherTexts.size(), 6U) << "two of the passwords differ in case only";
}

TEST(VnBufferDigests, CBCNeedsAVectorOf16Characters) {
    for (const wchar_t* vector : {L"", L"0123456789abcde", L"0123456789abcdef0"}) {
        VnBuffer buffer = ToBuffer("text");
        EXPECT_FALSE(buffer.Encrypt(L"p", nullptr, true, vector));
        EXPECT_FALSE(buffer.Decrypt(L"p", true, vector));
        EXPECT_EQ(buffer.GetSize(), 4);
        int32_t size = 1;
        EXPECT_EQ(VnString(L"x").EncryptToBytes(size, L"p", true, vector), nullptr);
        VnString text(L"x");
        EXPECT_FALSE(text.EncryptToBase64(L"p", false, true, vector));
        EXPECT_TRUE(text.IsEmpty());
    }
}

TEST(VnBufferDigests, TextsAreCipheredWithTheirTerminator) {
    int32_t size = 0;
    std::unique_ptr<uint8_t[]> seven(VnString(L"1234567").EncryptToBytes(size, L"p", false, L""));
    EXPECT_EQ(size, 32);
    VnString text;
    EXPECT_TRUE(text.DecryptFromBytes(seven.get(), size, L"p", 0, false, L""));
    EXPECT_EQ(ToBytes(text), "1234567");
    std::unique_ptr<uint8_t[]> eight(VnString(L"12345678").EncryptToBytes(size, L"p", false, L""));
    EXPECT_EQ(size, 64);
    EXPECT_FALSE(text.DecryptFromBytes(eight.get(), 31, L"p", 0, false, L""));
    EXPECT_TRUE(text.IsEmpty());

    const VnString plain(L"caf\u00E9 12");
    VnString secret(plain);
    ASSERT_TRUE(secret.EncryptToBase64(L"pw", true, true, kVector));
    EXPECT_NE(secret, plain);
    VnBuffer cipherText;
    cipherText.SetBase64Text(secret);
    EXPECT_TRUE(text.DecryptFromBuffer(cipherText, L"PW", 0, true, kVector));
    EXPECT_EQ(text, plain);
    EXPECT_TRUE(secret.DecryptFromBase64(L"pw", 0, true, kVector));
    EXPECT_EQ(secret, plain);
    EXPECT_TRUE(secret.DecryptFromBase64(L"pw", 0, true, L"short"));
    EXPECT_TRUE(secret.IsEmpty());
    EXPECT_TRUE(secret.DecryptFromBase64(L"pw", 0, true, L"short"));
}
