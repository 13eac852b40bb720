#include "core/VnString.h"

#include "core/VnBuffer.h"

#include <algorithm>
#include <cstring>

namespace {

/// How the bytes of a text are to be read.
enum class TextForm {
    Bytes,
    UTF8,
    UTF16,
    Wide
};

/// Zero bytes behind the contents, so that every form finds its terminator, also behind a unit that
/// is cut off.
constexpr int64_t kGuardSize = 8;

constexpr uint8_t kUTF8Mark[] = {0xEF, 0xBB, 0xBF};

bool HasUTF8Mark(const uint8_t* bytes, int64_t size) {
    return size >= 3 && std::memcmp(bytes, kUTF8Mark, sizeof(kUTF8Mark)) == 0;
}

/// Length of the sequence that a UTF-8 lead byte above 0x7F announces; 0 for a byte that leads
/// none.
int32_t GetSequenceLength(uint8_t lead) {
    if (lead < 0xC0 || lead > 0xF7) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// A zero byte inside the text means wider units, and two more behind it the widest. The guard
/// makes the look ahead safe.
TextForm GetWideForm(const uint8_t* zero) {
    return zero[1] == 0 && zero[2] == 0 ? TextForm::Wide : TextForm::UTF16;
}

TextForm DetectForm(const uint8_t* bytes, int64_t size) {
    if (size == 0) {
        return TextForm::Bytes;
    }
    if (size >= 2
        && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF))) {
        return TextForm::UTF16;
    }
    if (HasUTF8Mark(bytes, size)) {
        return TextForm::UTF8;
    }
    while (size > 0 && bytes[size - 1] == 0) {
        --size;
    }
    bool hasSequence = false;
    bool hasInvalid = false;
    for (int64_t i = 0; i < size;) {
        if (bytes[i] == 0) {
            return GetWideForm(bytes + i);
        }
        if (bytes[i] < 0x80) {
            ++i;
            continue;
        }
        const int32_t length = GetSequenceLength(bytes[i]);
        const int64_t end = std::min(i + std::max(length, 1), size);
        const uint8_t* zero = std::find(bytes + i, bytes + end, 0);
        if (zero != bytes + end) {
            return GetWideForm(zero);
        }
        hasSequence = hasSequence || length > 1;
        hasInvalid = hasInvalid || length == 0;
        i = end;
    }
    return hasSequence && !hasInvalid ? TextForm::UTF8 : TextForm::Bytes;
}

TextForm GetForm(int32_t encoding, const uint8_t* bytes, int64_t size) {
    switch (encoding) {
    case kEncodingBytes:
        return TextForm::Bytes;
    case kEncodingUTF8:
    case kEncodingUTF8Mark:
        return TextForm::UTF8;
    case kEncodingUTF16Mark:
    case kEncodingUTF16:
        return TextForm::UTF16;
    default:
        return DetectForm(bytes, size);
    }
}

int64_t GetUnitSize(TextForm form) {
    return form == TextForm::Wide ? 4 : form == TextForm::UTF16 ? 2 : 1;
}

/// Removes the zero units from `size` bytes; the result is the size that remains. Bytes of a unit
/// that is cut off stay.
int64_t DropZeroUnits(uint8_t* bytes, int64_t size, int64_t unit) {
    static constexpr uint8_t kZeros[4] = {};
    int64_t kept = 0;
    for (int64_t i = 0; i < size; i += unit) {
        const int64_t width = std::min(unit, size - i);
        if (std::memcmp(bytes + i, kZeros, static_cast<size_t>(width)) != 0) {
            std::memmove(bytes + kept, bytes + i, static_cast<size_t>(width));
            kept += width;
        }
    }
    return kept;
}

/// Reads a guarded text up to its first zero unit.
void ReadText(VnString& text, TextForm form, bool skipMark, const uint8_t* bytes, int64_t size) {
    switch (form) {
    case TextForm::Bytes:
        text.SetBytes(reinterpret_cast<const char*>(bytes));
        break;
    case TextForm::UTF8:
        if (skipMark && HasUTF8Mark(bytes, size)) {
            bytes += sizeof(kUTF8Mark);
        }
        text.SetUTF8(reinterpret_cast<const char*>(bytes));
        break;
    case TextForm::UTF16:
        text.SetUTF16(reinterpret_cast<const uint16_t*>(bytes), -1, /*detectMark=*/true);
        break;
    case TextForm::Wide:
        text.Assign(reinterpret_cast<const wchar_t*>(bytes), -1, /*detectMark=*/true);
        break;
    }
}

} // namespace

bool VnString::SetFromBuffer(VnBuffer& buffer, int32_t encoding, bool dropZeros) {
    const int64_t size = buffer.GetSize();
    buffer.Reserve(kGuardSize, /*zeroFill=*/true, 0, /*setSize=*/true);
    const TextForm form = GetForm(encoding, buffer.GetData(), size);
    const bool skipMark = encoding != kEncodingUTF8;
    const uint8_t* bytes = buffer.GetData();
    if (dropZeros && std::memchr(bytes, 0, static_cast<size_t>(size)) != nullptr) {
        VnBuffer kept(buffer);
        const int64_t keptSize = DropZeroUnits(kept.GetData(), size, GetUnitSize(form));
        std::memset(kept.GetData() + keptSize, 0, static_cast<size_t>(kGuardSize));
        ReadText(*this, form, skipMark, kept.GetData(), keptSize);
    } else {
        ReadText(*this, form, skipMark, bytes, size);
    }
    buffer.RemoveRight(kGuardSize);
    return true;
}
