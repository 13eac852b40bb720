#include "core/VnBuffer.h"

#include "core/VnString.h"
#include "core/VnStringDetail.h"

#include <cryptopp/modes.h>
#include <cryptopp/sha.h>
#include <cryptopp/twofish.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace {

/// The polynomial of ISO 3309, reflected.
constexpr uint64_t kCRCPolynomial = 0xD800000000000000;

constexpr size_t kSlices = 8;
using CRCTables = std::array<std::array<uint64_t, 256>, kSlices>;

/// Table 0 takes a checksum one byte on. Table n gives what a byte contributes when n more bytes
/// follow it, so that eight bytes need eight look-ups which do not wait for each other.
constexpr CRCTables MakeCRCTables() {
    CRCTables tables{};
    for (uint64_t i = 0; i < 256; ++i) {
        uint64_t value = i;
        for (int32_t bit = 0; bit < 8; ++bit) {
            value = (value & 1) != 0 ? value >> 1 ^ kCRCPolynomial : value >> 1;
        }
        tables[0][i] = value;
    }
    for (size_t slice = 1; slice < kSlices; ++slice) {
        for (size_t i = 0; i < 256; ++i) {
            const uint64_t value = tables[slice - 1][i];
            tables[slice][i] = value >> 8 ^ tables[0][value & 255];
        }
    }
    return tables;
}

constexpr CRCTables kCRCTables = MakeCRCTables();

/// Eight bytes in the order in which a reflected checksum takes them, lowest first.
uint64_t LoadLittleEndian(const uint8_t* bytes) {
    uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof(value));
    return std::endian::native == std::endian::little ? value : __builtin_bswap64(value);
}

constexpr size_t kKeySize = 16;
constexpr int64_t kCipherUnit = 32;
constexpr int32_t kVectorLength = 16;

using CipherKey = std::array<uint8_t, kKeySize>;

/// The key that stands for an empty password.
constexpr CipherKey kBuiltInKey = {0x5D, 0x1F, 0xA2, 0x73, 0xC8, 0x0E, 0x94, 0x6B,
                                   0x37, 0xE9, 0x42, 0xB5, 0x18, 0xDC, 0x80, 0xF6};

CipherKey MakeKey(const VnString& password) {
    CipherKey key = kBuiltInKey;
    if (!password.IsEmpty()) {
        uint32_t state = 0;
        for (int32_t i = 0; i < password.GetLength(); ++i) {
            state = state * 33 + static_cast<uint32_t>(VnStringGlobals::ToLower(password[i]));
        }
        for (uint8_t& byte : key) {
            state = state * 214013 + 2531011;
            byte = static_cast<uint8_t>(state >> 16);
        }
    }
    return key;
}

/// Runs whole blocks through Twofish in place: ECB without a vector, CBC with one.
template<typename ECB, typename CBC>
void RunCipher(const CipherKey& key, const uint8_t* vector, uint8_t* bytes, int64_t size) {
    const auto count = static_cast<size_t>(size);
    if (vector == nullptr) {
        ECB(key.data(), key.size()).ProcessData(bytes, bytes, count);
    } else {
        CBC(key.data(), key.size(), vector).ProcessData(bytes, bytes, count);
    }
}

using TwofishECB = CryptoPP::ECB_Mode<CryptoPP::Twofish>;
using TwofishCBC = CryptoPP::CBC_Mode<CryptoPP::Twofish>;

} // namespace

uint64_t VnBuffer::CRC64() const {
    const uint8_t* next = GetData();
    // The checksum is defined over a 32-bit size.
    int32_t left = next == nullptr ? 0 : static_cast<int32_t>(GetSize());
    uint64_t crc = 0;
    for (; left >= static_cast<int32_t>(kSlices); left -= static_cast<int32_t>(kSlices)) {
        const uint64_t mixed = crc ^ LoadLittleEndian(next);
        next += kSlices;
        crc = kCRCTables[7][mixed & 255] ^ kCRCTables[6][mixed >> 8 & 255]
              ^ kCRCTables[5][mixed >> 16 & 255] ^ kCRCTables[4][mixed >> 24 & 255]
              ^ kCRCTables[3][mixed >> 32 & 255] ^ kCRCTables[2][mixed >> 40 & 255]
              ^ kCRCTables[1][mixed >> 48 & 255] ^ kCRCTables[0][mixed >> 56];
    }
    for (; left > 0; --left) {
        crc = crc >> 8 ^ kCRCTables[0][(crc ^ *next++) & 255];
    }
    return crc;
}

void VnBuffer::SHA1(uint8_t (&digest)[20]) const {
    static_assert(sizeof(digest) == CryptoPP::SHA1::DIGESTSIZE);
    CryptoPP::SHA1().CalculateDigest(digest, GetData(), static_cast<size_t>(GetSize()));
}

bool VnBuffer::Encrypt(const VnString& password,
                       const uint8_t* rawKey,
                       bool useCBC,
                       const VnString& vector) {
    if (useCBC && vector.GetLength() != kVectorLength) {
        return false;
    }
    CipherKey key = rawKey == nullptr ? MakeKey(password) : CipherKey{};
    if (rawKey != nullptr) {
        std::copy_n(rawKey, kKeySize, key.begin());
    }
    Pad(kCipherUnit, 0);
    if (!IsEmpty()) {
        const VnStringUTF8 vectorBytes(vector);
        const auto* start = reinterpret_cast<const uint8_t*>(vectorBytes.GetBytes());
        RunCipher<TwofishECB::Encryption, TwofishCBC::Encryption>(key, useCBC ? start : nullptr,
                                                                  GetData(), GetSize());
    }
    return true;
}

bool VnBuffer::Decrypt(const VnString& password, bool useCBC, const VnString& vector) {
    if (useCBC && vector.GetLength() != kVectorLength) {
        return false;
    }
    RemoveRight(GetSize() % kCipherUnit);
    if (!IsEmpty()) {
        const VnStringUTF8 vectorBytes(vector);
        const auto* start = reinterpret_cast<const uint8_t*>(vectorBytes.GetBytes());
        RunCipher<TwofishECB::Decryption, TwofishCBC::Decryption>(
            MakeKey(password), useCBC ? start : nullptr, GetData(), GetSize());
    }
    return true;
}

void VnBuffer::SetHexText(const VnString& text) {
    text.GetHexBytes(*this);
}

VnString VnBuffer::GetHexText() const {
    VnString text;
    text.SetHexBytes(GetData(), VnStringDetail::AddLengths(GetSize(), 0));
    return text;
}

bool VnBuffer::SetBase64Text(const VnString& text) {
    return text.GetBase64(*this);
}

VnString VnBuffer::GetBase64Text(bool lineBreaks) const {
    VnString text;
    text.SetBase64(GetData(), VnStringDetail::AddLengths(GetSize(), 0), lineBreaks);
    return text;
}
