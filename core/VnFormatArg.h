#pragma once

#include <concepts>
#include <cstdint>
#include <type_traits>

class VnString;

/// One argument of VnString::Format and of the log: a tag and 64 bits of payload. The texts that it
/// points at belong to the caller and must live through the call.
struct VnFormatArg {
    /// Kinds of payload.
    enum ArgTag : int32_t {
        kNone = 0,       ///< no argument
        kUTF8Text = 1,   ///< `const char*`
        kWideText = 2,   ///< `const wchar_t*`
        kStringText = 3, ///< `const VnString*`
        kInteger = 4,    ///< sign-extended to 64 bits
        kFloatingPoint = 5,
    };

    VnFormatArg() : Integer(0) {}
    VnFormatArg(const char* text)
        : Tag(kUTF8Text)
        , Narrow(text) {} // NOLINT(google-explicit-constructor)
    VnFormatArg(const wchar_t* text)
        : Tag(kWideText)
        , Wide(text) {} // NOLINT(google-explicit-constructor)
    VnFormatArg(const VnString& text)
        : Tag(kStringText)
        , Text(&text) {} // NOLINT(google-explicit-constructor)
    VnFormatArg(double value)
        : Tag(kFloatingPoint)
        , Double(value) {} // NOLINT(google-explicit-constructor)
    template<std::integral T>
    VnFormatArg(T value)
        : Tag(kInteger)
        , Integer(static_cast<int64_t>(value)) {} // NOLINT(google-explicit-constructor)
    /// Without this an enumerator would turn into a floating-point argument.
    template<typename T>
    requires std::is_enum_v<T> VnFormatArg(T value)
        : Tag(kInteger)
        , Integer(static_cast<int64_t>(value)) {} // NOLINT(google-explicit-constructor)

    int32_t Tag = kNone; ///< an ArgTag; any other value behaves as a wrong type
    union {
        const char* Narrow;
        const wchar_t* Wide;
        const VnString* Text;
        int64_t Integer;
        double Double;
    };
};

static_assert(sizeof(VnFormatArg) == 16);
