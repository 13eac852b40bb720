#include "core/VnBuffer.h"
#include "core/VnString.h"

#include <absl/strings/escaping.h>
#include <iconv.h>
#include <openssl/sha.h>

#include <array>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

// Encodings and digests of a megabyte, each beside a library that is known for it or beside the
// plain loop. Peers allocate their result as the product does, and none of them clears it first.

namespace {

constexpr size_t kSize = 1000000;

using Characters = std::unique_ptr<wchar_t[]>;
using Bytes = std::unique_ptr<char[]>;

/// About `size` bytes of `pieces` in an order without a short period.
std::string MakeText(const std::vector<std::string>& pieces, size_t size = kSize) {
    std::string text;
    uint32_t state = 1;
    while (text.size() < size) {
        state = state * 1664525 + 1013904223;
        text += pieces[(state >> 16U) % pieces.size()];
    }
    return text;
}

/// UTF-8 by the plain loop, with the product's treatment of malformed bytes.
size_t DecodeByLoop(const std::string& text, wchar_t* target) {
    const auto* at = reinterpret_cast<const unsigned char*>(text.data());
    const unsigned char* const end = at + text.size();
    const wchar_t* const start = target;
    const auto continues = [&](ptrdiff_t offset) { return (at[offset] & 0xC0U) == 0x80U; };
    while (at < end) {
        const unsigned char lead = *at;
        if (lead < 0x80) {
            *target++ = lead;
            at += 1;
        } else if ((lead & 0xE0U) == 0xC0 && end - at > 1 && continues(1)) {
            *target++ = static_cast<wchar_t>((lead & 0x1FU) << 6U | (at[1] & 0x3FU));
            at += 2;
        } else if ((lead & 0xF0U) == 0xE0 && end - at > 2 && continues(1) && continues(2)) {
            *target++ = static_cast<wchar_t>((lead & 0xFU) << 12U | (at[1] & 0x3FU) << 6U
                                             | (at[2] & 0x3FU));
            at += 3;
        } else {
            *target++ = lead;
            at += 1;
        }
    }
    return static_cast<size_t>(target - start);
}

size_t EncodeByLoop(const wchar_t* at, size_t count, char* target) {
    const wchar_t* const end = at + count;
    const char* const start = target;
    for (; at < end; ++at) {
        const auto ch = static_cast<uint32_t>(*at);
        if (ch < 0x80) {
            *target++ = static_cast<char>(ch);
        } else if (ch < 0x800) {
            *target++ = static_cast<char>(0xC0U | ch >> 6U);
            *target++ = static_cast<char>(0x80U | (ch & 0x3FU));
        } else if (ch < 0x10000) {
            *target++ = static_cast<char>(0xE0U | ch >> 12U);
            *target++ = static_cast<char>(0x80U | (ch >> 6U & 0x3FU));
            *target++ = static_cast<char>(0x80U | (ch & 0x3FU));
        } else {
            *target++ = static_cast<char>(0xF0U | ch >> 18U);
            *target++ = static_cast<char>(0x80U | (ch >> 12U & 0x3FU));
            *target++ = static_cast<char>(0x80U | (ch >> 6U & 0x3FU));
            *target++ = static_cast<char>(0x80U | (ch & 0x3FU));
        }
    }
    return static_cast<size_t>(target - start);
}

/// Runs a descriptor over `size` bytes; the result is what it wrote.
size_t Convert(iconv_t converter, const void* source, size_t size, void* target, size_t room) {
    auto* in = const_cast<char*>(static_cast<const char*>(source));
    auto* out = static_cast<char*>(target);
    const size_t whole = room;
    Require(iconv(converter, &in, &size, &out, &room) == 0, "iconv failed");
    return whole - room;
}

void CompareUTF8(BenchPairTable& table,
                 const std::string& name,
                 const std::string& bytes,
                 double libraryGoal) {
    const VnString text = VnString::FromUTF8(bytes.data(), static_cast<int64_t>(bytes.size()));
    const auto count = static_cast<size_t>(text.GetLength());
    const iconv_t toWide = iconv_open("WCHAR_T", "UTF-8");
    const iconv_t toBytes = iconv_open("UTF-8", "WCHAR_T");

    const auto makeCharacters = [&] { return Characters(new wchar_t[bytes.size() + 1]); };
    const auto makeBytes = [&] { return Bytes(new char[count * 4 + 1]); };
    const Characters wide = makeCharacters();
    const Bytes narrow = makeBytes();
    const auto isText = [&](size_t length) {
        return length == count && std::wmemcmp(wide.get(), text.GetText(), count) == 0;
    };
    const auto isSource = [&](size_t length) {
        return length == bytes.size() && std::memcmp(narrow.get(), bytes.data(), length) == 0;
    };
    VnBuffer encoded;
    text.GetUTF8(encoded);
    Require(encoded.GetSize() == static_cast<int64_t>(bytes.size())
                && std::memcmp(encoded.GetData(), bytes.data(), bytes.size()) == 0,
            "UTF-8 does not come back");
    const size_t wideRoom = (bytes.size() + 1) * sizeof(wchar_t);
    Require(isText(std::mbstowcs(wide.get(), bytes.c_str(), bytes.size() + 1))
                && isText(Convert(toWide, bytes.data(), bytes.size(), wide.get(), wideRoom)
                          / sizeof(wchar_t))
                && isText(DecodeByLoop(bytes, wide.get())),
            "the decoders differ");
    const size_t wideSize = count * sizeof(wchar_t);
    Require(isSource(std::wcstombs(narrow.get(), text.GetText(), count * 4 + 1))
                && isSource(Convert(toBytes, text.GetText(), wideSize, narrow.get(), count * 4))
                && isSource(EncodeByLoop(text.GetText(), count, narrow.get())),
            "the encoders differ");

    table.Compare(name + " to characters", static_cast<int64_t>(count),
                  [&] {
                      VnString made;
                      made.SetUTF8(bytes.data(), static_cast<int64_t>(bytes.size()));
                      return int64_t{made.GetLength()};
                  },
                  {{"mbstowcs",
                    [&] {
                        const Characters made = makeCharacters();
                        return static_cast<int64_t>(
                            std::mbstowcs(made.get(), bytes.c_str(), bytes.size() + 1));
                    },
                    libraryGoal},
                   {"iconv",
                    [&] {
                        const Characters made = makeCharacters();
                        return static_cast<int64_t>(
                            Convert(toWide, bytes.data(), bytes.size(), made.get(), wideRoom)
                            / sizeof(wchar_t));
                    },
                    BenchPairTable::kAhead},
                   {"scalar loop",
                    [&] {
                        const Characters made = makeCharacters();
                        return static_cast<int64_t>(DecodeByLoop(bytes, made.get()));
                    },
                    BenchPairTable::kLevel}});
    table.Compare(
        name + " to UTF-8", static_cast<int64_t>(bytes.size()),
        [&] {
            VnBuffer made;
            text.GetUTF8(made);
            return made.GetSize();
        },
        {{"wcstombs",
          [&] {
              const Bytes made = makeBytes();
              return static_cast<int64_t>(std::wcstombs(made.get(), text.GetText(), count * 4 + 1));
          },
          libraryGoal},
         {"iconv",
          [&] {
              const Bytes made = makeBytes();
              return static_cast<int64_t>(
                  Convert(toBytes, text.GetText(), wideSize, made.get(), count * 4));
          },
          BenchPairTable::kAhead},
         {"scalar loop",
          [&] {
              const Bytes made = makeBytes();
              return static_cast<int64_t>(EncodeByLoop(text.GetText(), count, made.get()));
          },
          BenchPairTable::kLevel}});
    iconv_close(toWide);
    iconv_close(toBytes);
}

void CompareBase64(BenchPairTable& table, const VnBuffer& bytes) {
    const absl::string_view source(reinterpret_cast<const char*>(bytes.GetData()), kSize);
    const std::string encoded = absl::Base64Escape(source);
    const VnString text = bytes.GetBase64Text();
    VnBuffer decoded;
    Require(text == VnString::FromBytes(encoded.data(), static_cast<int64_t>(encoded.size()))
                && text.GetBase64(decoded) && decoded.GetSize() == static_cast<int64_t>(kSize)
                && std::memcmp(decoded.GetData(), bytes.GetData(), kSize) == 0,
            "Base64 differs");
    constexpr double kGoal = 1.5;
    table.Compare("Base64, encode", static_cast<int64_t>(encoded.size()),
                  [&] { return int64_t{bytes.GetBase64Text().GetLength()}; },
                  {{"absl",
                    [&] {
                        std::string made;
                        absl::Base64Escape(source, &made);
                        return static_cast<int64_t>(made.size());
                    },
                    kGoal}});
    table.Compare("Base64, decode", static_cast<int64_t>(kSize),
                  [&] {
                      VnBuffer made;
                      text.GetBase64(made);
                      return made.GetSize();
                  },
                  {{"absl",
                    [&] {
                        std::string made;
                        absl::Base64Unescape(encoded, &made);
                        return static_cast<int64_t>(made.size());
                    },
                    kGoal}});
}

Characters EncodeHexByLoop(const VnBuffer& bytes) {
    static constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    Characters text(new wchar_t[kSize * 2 + 1]);
    wchar_t* target = text.get();
    for (const uint8_t* at = bytes.GetData(); at != bytes.GetData() + kSize; ++at) {
        *target++ = kDigits[*at >> 4U];
        *target++ = kDigits[*at & 15U];
    }
    *target = 0;
    return text;
}

int32_t GetHexValue(wchar_t ch) {
    if (ch >= L'0' && ch <= L'9') {
        return ch - L'0';
    }
    if (ch >= L'A' && ch <= L'F') {
        return ch - L'A' + 10;
    }
    return ch >= L'a' && ch <= L'f' ? ch - L'a' + 10 : -1;
}

size_t DecodeHexByLoop(const wchar_t* text, char* target) {
    size_t size = 0;
    for (size_t at = 0; at < kSize * 2; at += 2) {
        const int32_t high = GetHexValue(text[at]);
        const int32_t low = GetHexValue(text[at + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        target[size++] = static_cast<char>(high << 4 | low);
    }
    return size;
}

void CompareHex(BenchPairTable& table, const VnBuffer& bytes) {
    const Characters encoded = EncodeHexByLoop(bytes);
    const VnString text = bytes.GetHexText();
    const Bytes narrow(new char[kSize]);
    VnBuffer decoded;
    decoded.SetHexText(text);
    Require(text == encoded.get() && DecodeHexByLoop(encoded.get(), narrow.get()) == kSize
                && decoded.GetSize() == static_cast<int64_t>(kSize)
                && std::memcmp(narrow.get(), decoded.GetData(), kSize) == 0,
            "hexadecimal digits differ");
    table.Compare("hex, encode", static_cast<int64_t>(kSize) * 2,
                  [&] { return int64_t{bytes.GetHexText().GetLength()}; },
                  {{"loop",
                    [&] {
                        const Characters made = EncodeHexByLoop(bytes);
                        return made[kSize * 2 - 1] == 0 ? int64_t{-1}
                                                        : static_cast<int64_t>(kSize) * 2;
                    },
                    BenchPairTable::kLevel}});
    table.Compare("hex, decode", static_cast<int64_t>(kSize),
                  [&] {
                      VnBuffer made;
                      made.SetHexText(text);
                      return made.GetSize();
                  },
                  {{"loop",
                    [&] {
                        const Bytes made(new char[kSize]);
                        return static_cast<int64_t>(DecodeHexByLoop(encoded.get(), made.get()));
                    },
                    BenchPairTable::kLevel}});
}

uint64_t GetCRCByLoop(const VnBuffer& bytes) {
    static const std::array<uint64_t, 256> table = [] {
        std::array<uint64_t, 256> made{};
        for (uint64_t byte = 0; byte < made.size(); ++byte) {
            uint64_t value = byte;
            for (int32_t bit = 0; bit < 8; ++bit) {
                value = (value & 1U) != 0 ? value >> 1U ^ 0xD800000000000000U : value >> 1U;
            }
            made[byte] = value;
        }
        return made;
    }();
    uint64_t crc = 0;
    for (const uint8_t* at = bytes.GetData(); at != bytes.GetData() + kSize; ++at) {
        crc = crc >> 8U ^ table[(crc ^ *at) & 255U];
    }
    return crc;
}

void CompareDigests(BenchPairTable& table, const VnBuffer& bytes) {
    const uint64_t crc = GetCRCByLoop(bytes);
    table.Compare(
        "CRC-64", static_cast<int64_t>(crc), [&] { return static_cast<int64_t>(bytes.CRC64()); },
        {{"byte by byte", [&] { return static_cast<int64_t>(GetCRCByLoop(bytes)); }, 1.0 / 3}});

    using Digest = uint8_t[20];
    Digest digest;
    Digest peerDigest;
    bytes.SHA1(digest);
    ::SHA1(bytes.GetData(), kSize, peerDigest);
    Require(std::memcmp(digest, peerDigest, sizeof digest) == 0, "SHA-1 differs");
    table.Compare("SHA-1", digest[0],
                  [&] {
                      Digest made;
                      bytes.SHA1(made);
                      return int64_t{made[0]};
                  },
                  {{"OpenSSL",
                    [&] {
                        Digest made;
                        ::SHA1(bytes.GetData(), kSize, made);
                        return int64_t{made[0]};
                    },
                    2.0}});
}

} // namespace

int main(int count, char** arguments) {
    // The functions of the C library decode by the locale.
    Require(std::setlocale(LC_ALL, "C.UTF-8") != nullptr, "there is no locale C.UTF-8");
    BenchPairTable table("Encodings of 1 MB", GetArgument(count, arguments, "--rounds", 15));
    const std::vector<std::string> pieces = {"/media/user/CARD/Music/",
                                             "Artist",
                                             " - ",
                                             "A title of some length",
                                             "01 ",
                                             ".mp3",
                                             "\r\n"};
    constexpr double kFifth = 1.0 / 5;
    CompareUTF8(table, "ASCII", MakeText(pieces), kFifth);
    CompareUTF8(table, "ASCII, 100 kB", MakeText(pieces, kSize / 10), kFifth);
    CompareUTF8(table, "mixed",
                MakeText({"Sigur Rós", " - ", "Ágætis byrjun", "Кино", "Группа крови", "東京事変",
                          "教育", "Motörhead", "/Music/", "Live in Köln", ".mp3", "\r\n"}),
                BenchPairTable::kAhead);
    VnBuffer bytes(kSize);
    bytes.FillRandom(1);
    CompareBase64(table, bytes);
    CompareHex(table, bytes);
    CompareDigests(table, bytes);
    return table.GetExitCode();
}
