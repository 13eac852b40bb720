#include "core/VnString.h"

#include "core/VnNumberText.h"
#include "core/VnStringDetail.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

/// One conversion of a template, as far as it was read.
struct Conversion {
    bool Pad = false;       ///< a blank stood behind the "%"
    int32_t Width = -1;     ///< -1 when there was none
    int32_t Precision = -1; ///< likewise

    /// The smallest number of digits of an integer.
    int32_t GetDigits() const { return Width >= 0 ? Width : std::max(Precision, 0); }
};

bool IsDigit(wchar_t ch) {
    return ch >= L'0' && ch <= L'9';
}

/// Reads a run of digits, -1 when there is none; large values stop at the largest int32.
int32_t ReadNumber(const wchar_t*& at) {
    if (!IsDigit(*at)) {
        return -1;
    }
    int64_t value = 0;
    for (; IsDigit(*at); ++at) {
        value = std::min<int64_t>(value * 10 + (*at - L'0'), std::numeric_limits<int32_t>::max());
    }
    return static_cast<int32_t>(value);
}

/// Gathers the result of a template on the stack, and only a long one in a text of its own.
class CTextGatherer {
public:
    void Append(const wchar_t* text, int32_t count) {
        if (count > kRoom) {
            Flush();
            Whole.Append(text, count);
        } else if (count > 0) {
            std::wmemcpy(Take(count), text, static_cast<std::size_t>(count));
        }
    }
    void Append(const wchar_t* text) { Append(text, VnStringDetail::Measure(text)); }
    void Append(const VnString& text) { Append(text.GetText(), text.GetLength()); }
    void Append(wchar_t ch) { *Take(1) = ch; }

    /// Appends `text` up to its end or `mark`, and gives the place where that stands. Such pieces
    /// are short: a search and a copy by the library would take longer.
    const wchar_t* AppendUpTo(const wchar_t* text, wchar_t mark) {
        int32_t used = Used;
        for (; *text != 0 && *text != mark; ++text) {
            if (used == kRoom) {
                Used = used;
                Flush();
                used = 0;
            }
            Room[used++] = *text;
        }
        Used = used;
        return text;
    }

    /// Room for `count` characters, at most kRoom, that count as appended.
    wchar_t* Take(int32_t count) {
        if (count > kRoom - Used) {
            Flush();
        }
        Used += count;
        return Room + (Used - count);
    }
    /// Gives the last `count` characters of what Take gave back.
    void GiveBack(int32_t count) { Used -= count; }

    /// What was gathered; ends with the next change.
    const wchar_t* Finish(int32_t& length) {
        if (Whole.IsEmpty()) {
            length = Used;
            return Room;
        }
        Flush();
        length = Whole.GetLength();
        return Whole;
    }

private:
    static constexpr int32_t kRoom = 512;

    void Flush() {
        Whole.Append(Room, Used);
        Used = 0;
    }

    wchar_t Room[kRoom];
    int32_t Used = 0;
    VnString Whole;
};

/// The run of one template over its arguments.
class CFormatter {
public:
    CFormatter(CTextGatherer& out, const VnFormatArg* args, int32_t count)
        : Out(out)
        , Args(args)
        , ArgCount(count) {}

    void Run(const wchar_t* text) {
        for (text = Out.AppendUpTo(text, L'%'); *text != 0; text = Out.AppendUpTo(text, L'%')) {
            text = Convert(text + 1);
        }
    }

private:
    /// Writes what the conversion at `at`, behind its "%", stands for; the result is the place
    /// behind it.
    const wchar_t* Convert(const wchar_t* at) {
        Conversion conversion;
        conversion.Pad = *at == L' ';
        at += conversion.Pad ? 1 : 0;
        conversion.Width = ReadNumber(at);
        if (*at == L'.') {
            ++at;
            conversion.Precision = std::max(ReadNumber(at), 0);
        }
        // Integers are always 64 bits wide, so the marks of their size say nothing.
        if (at[0] == L'I' && at[1] == L'6' && at[2] == L'4' && (at[3] == L'd' || at[3] == L'u')) {
            at += 3;
        } else if (at[0] == L'l' && at[1] != 0 && std::wcschr(L"dsux", at[1]) != nullptr) {
            ++at;
        }
        if (*at == 0) {
            return at;
        }
        Put(*at, conversion);
        return at + 1;
    }

    void Put(wchar_t letter, const Conversion& conversion) {
        const int32_t digits = conversion.GetDigits();
        switch (letter) {
        case L's':
        case L'S':
            PutText(NextArg(), conversion.Width);
            break;
        case L'd':
        case L'i':
            PutSigned(NextArg(), digits, conversion.Pad);
            break;
        case L'u':
            PutUnsigned(GetInteger(NextArg()), digits, 10, PadFlag(conversion));
            break;
        case L'x':
            PutHexadecimal(digits, PadFlag(conversion) | VnString::kNumberLowerCase);
            break;
        case L'X':
            PutHexadecimal(digits, PadFlag(conversion));
            break;
        case L'h':
            PutHexadecimal(std::max(digits, 8), PadFlag(conversion) | VnString::kNumberHexPrefix);
            break;
        case L'p':
            PutHexadecimal(std::max(digits, 16), PadFlag(conversion));
            break;
        case L'c':
            PutCharacter(NextArg());
            break;
        case L'f':
            PutDouble(NextArg(), conversion);
            break;
        default: // "%%" too
            Out.Append(letter);
            break;
        }
    }

    /// The next argument; one that has no type when there is none left.
    const VnFormatArg& NextArg() {
        static const VnFormatArg none;
        return ArgIndex < ArgCount ? Args[ArgIndex++] : none;
    }

    static int64_t GetInteger(const VnFormatArg& arg) {
        return arg.Tag == VnFormatArg::kInteger ? arg.Integer : 0;
    }

    static uint32_t PadFlag(const Conversion& conversion) {
        return conversion.Pad ? VnString::kNumberBlanks : 0U;
    }

    void PutText(const VnFormatArg& arg, int32_t width) {
        const auto limit =
            static_cast<std::size_t>(width < 0 ? std::numeric_limits<int32_t>::max() : width);
        switch (arg.Tag) {
        case VnFormatArg::kUTF8Text:
            if (arg.Narrow == nullptr) {
                Out.Append(L"(null)");
            } else {
                Out.Append(VnString::FromUTF8(arg.Narrow,
                                              static_cast<int64_t>(strnlen(arg.Narrow, limit))));
            }
            break;
        case VnFormatArg::kWideText:
            if (arg.Wide == nullptr) {
                Out.Append(L"(null)");
            } else {
                Out.Append(arg.Wide, static_cast<int32_t>(wcsnlen(arg.Wide, limit)));
            }
            break;
        case VnFormatArg::kStringText:
            if (arg.Text != nullptr) {
                Out.Append(arg.Text->GetText(),
                           std::min(arg.Text->GetLength(), static_cast<int32_t>(limit)));
            }
            break;
        default:
            break;
        }
    }

    void PutSigned(const VnFormatArg& arg, int32_t digits, bool pad) {
        PutNumber(VnNumberText::WriteSigned, GetInteger(arg), digits, 10,
                  pad ? VnString::kNumberBlanks : 0U);
    }

    void PutUnsigned(int64_t value, int32_t digits, int32_t base, uint32_t flags) {
        PutNumber(VnNumberText::WriteUnsigned, static_cast<uint64_t>(value), digits, base, flags);
    }

    void PutHexadecimal(int32_t digits, uint32_t flags) {
        int64_t value = GetInteger(NextArg());
        // A negative 32-bit integer came here with its sign extended; it is meant as 32 bits.
        if (static_cast<uint64_t>(value) >> 32U == 0xFFFFFFFFU && digits <= 8) {
            value &= 0xFFFFFFFF;
        }
        PutUnsigned(value, digits, 16, flags);
    }

    void PutCharacter(const VnFormatArg& arg) {
        const int64_t code = GetInteger(arg);
        if (code >= 1 && code <= 0xFFFF) {
            Out.Append(static_cast<wchar_t>(code));
        }
    }

    void PutDouble(const VnFormatArg& arg, const Conversion& conversion) {
        const double value = arg.Tag == VnFormatArg::kFloatingPoint ? arg.Double : 0.0;
        const int32_t digits = std::max(conversion.Width, 0);
        const bool keepZeros = conversion.Precision >= 0;
        constexpr int32_t kRoom = VnNumberText::kDoubleRoom;
        int32_t length = 0;
        const bool isWritten = VnNumberText::WriteDouble(
            Out.Take(kRoom), length, value, conversion.Precision, keepZeros, digits, 0);
        Out.GiveBack(kRoom - length);
        if (!isWritten) {
            VnString text;
            text.SetDouble(value, conversion.Precision, keepZeros, digits);
            Out.Append(text);
        }
    }

    template<typename WRITER, typename NUMBER>
    void PutNumber(WRITER write, NUMBER value, int32_t digits, int32_t base, uint32_t flags) {
        constexpr int32_t kUsualDigits = 64;
        if (digits <= kUsualDigits) {
            constexpr int32_t kRoom = 128;
            int32_t length = 0;
            write(Out.Take(kRoom), kRoom, length, value, digits, base, flags);
            Out.GiveBack(kRoom - length);
            return;
        }
        VnString text;
        text.SetInt(value, digits, base, flags);
        Out.Append(text);
    }

    CTextGatherer& Out;
    const VnFormatArg* Args;
    int32_t ArgCount;
    int32_t ArgIndex = 0;
};

} // namespace

VnString& VnString::FormatList(const wchar_t* text, const VnFormatArg* args, int32_t count) {
    // The template and the arguments may be this very text, so it is replaced at the end.
    CTextGatherer gatherer;
    if (text != nullptr) {
        CFormatter(gatherer, args, count).Run(text);
    }
    int32_t length = 0;
    const wchar_t* result = gatherer.Finish(length);
    Assign(result, length);
    return *this;
}

VnString& VnString::AppendFormatList(const wchar_t* text, const VnFormatArg* args, int32_t count) {
    if (text != nullptr) {
        CTextGatherer gatherer;
        CFormatter(gatherer, args, count).Run(text);
        int32_t length = 0;
        const wchar_t* result = gatherer.Finish(length);
        Append(result, length);
    }
    return *this;
}
