#include "core/VnBuffer.h"

#include "core/VnString.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

VnBuffer MakeBuffer(const std::string& bytes) {
    VnBuffer buffer;
    buffer.Set(bytes.data(), static_cast<int64_t>(bytes.size()));
    return buffer;
}

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

std::string Hex(const uint8_t (&digest)[20]) {
    VnString text;
    text.SetHexBytes(digest, 20);
    return ToBytes(text);
}

const wchar_t* const kVector = L"0123456789abcdef";

} // namespace

TEST(VnBufferDigests, CRC64) {
    EXPECT_EQ(VnBuffer().CRC64(), 0U);
    EXPECT_EQ(MakeBuffer("abc").CRC64(), 0x58893BB000000000U);
    std::string bytes;
    for (int length = 0; length < 100; ++length) {
        ASSERT_EQ(MakeBuffer(bytes).CRC64(), PlainCRC64(bytes)) << length;
        bytes.push_back(static_cast<char>(length * 53 + 7));
    }
}

TEST(VnBufferDigests, SHA1VectorsOfTheStandard) {
    uint8_t digest[20];
    MakeBuffer("abc").SHA1(digest);
    EXPECT_EQ(Hex(digest), "A9993E364706816ABA3E25717850C26C9CD0D89D");
    MakeBuffer("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq").SHA1(digest);
    EXPECT_EQ(Hex(digest), "84983E441C3BD26EBAAE4AA1F95129E5E54670F1");
    VnBuffer().SHA1(digest);
    EXPECT_EQ(Hex(digest), "DA39A3EE5E6B4B0D3255BFEF95601890AFD80709");
}

TEST(VnBufferDigests, TextHash) {
    EXPECT_EQ(VnString(L"abc").Hash(false), 0x3025F862U);
    EXPECT_EQ(VnString(L"ABC").Hash(true), 0x3025F862U);
    EXPECT_NE(VnString(L"ABC").Hash(false), 0x3025F862U);
    EXPECT_EQ(VnString(L"abc").Hash64(false) & 0xFFFFFFFFU, 0x3025F862U);
    EXPECT_EQ(VnString(L"").Hash64(true), 0U);
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
    EXPECT_EQ(ToBytes(buffer.GetHexText()).substr(0, 32), "9F589F5CF6122C32B6BFEC2F2AE8C35A");
    EXPECT_EQ(ToBytes(buffer.GetHexText()).substr(32), "9F589F5CF6122C32B6BFEC2F2AE8C35A");
}

TEST(VnBufferDigests, CipherRoundTripInBothModes) {
    for (const bool useCBC : {false, true}) {
        for (const wchar_t* password : {L"", L"Secret", L"\u0416"}) {
            const std::string plain = "The quick brown fox jumps over the lazy dog";
            VnBuffer buffer = MakeBuffer(plain);
            ASSERT_TRUE(buffer.Encrypt(password, nullptr, useCBC, kVector));
            ASSERT_EQ(buffer.GetSize(), 64);
            EXPECT_NE(std::string(reinterpret_cast<char*>(buffer.GetData()), 43), plain);
            buffer.Append("tail", 4);
            ASSERT_TRUE(buffer.Decrypt(password, useCBC, kVector));
            ASSERT_EQ(buffer.GetSize(), 64);
            EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer.GetData()), 64),
                      plain + std::string(21, '\0'));
        }
    }
}

TEST(VnBufferDigests, PasswordsFoldCaseAndDiffer) {
    VnBuffer a = MakeBuffer("text");
    VnBuffer b = MakeBuffer("text");
    VnBuffer c = MakeBuffer("text");
    a.Encrypt(L"Pass", nullptr, false, L"");
    b.Encrypt(L"pASS", nullptr, false, L"");
    c.Encrypt(L"", nullptr, false, L"");
    EXPECT_EQ(a.GetHexText(), b.GetHexText());
    EXPECT_NE(a.GetHexText(), c.GetHexText());
}

TEST(VnBufferDigests, CBCNeedsAVectorOf16Characters) {
    for (const wchar_t* vector : {L"", L"0123456789abcde", L"0123456789abcdef0"}) {
        VnBuffer buffer = MakeBuffer("text");
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

    VnString secret(L"caf\u00E9 12");
    ASSERT_TRUE(secret.EncryptToBase64(L"pw", true, true, kVector));
    EXPECT_NE(ToBytes(secret), ToBytes(L"caf\u00E9 12"));
    VnBuffer cipherText;
    cipherText.SetBase64Text(secret);
    VnString fromBuffer;
    EXPECT_TRUE(fromBuffer.DecryptFromBuffer(cipherText, L"PW", 0, true, kVector));
    EXPECT_EQ(ToBytes(fromBuffer), ToBytes(L"caf\u00E9 12"));
    EXPECT_TRUE(secret.DecryptFromBase64(L"pw", 0, true, kVector));
    EXPECT_EQ(ToBytes(secret), ToBytes(L"caf\u00E9 12"));
    EXPECT_TRUE(secret.DecryptFromBase64(L"pw", 0, true, L"short"));
    EXPECT_TRUE(secret.IsEmpty());
    EXPECT_TRUE(secret.DecryptFromBase64(L"pw", 0, true, L"short"));
}
