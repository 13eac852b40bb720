#include "core/VnString.h"

#include "core/VnStringDetail.h"

#include <algorithm>
#include <limits>

namespace {

/// Records grow a text in steps of this many characters.
constexpr int32_t kRecordStep = 1024;

/// Moves `position` over the digits of a record's length and gives their value, -1 when there are
/// none.
int64_t ReadLength(const VnString& text, int32_t& position) {
    int64_t value = -1;
    for (; text[position] >= L'0' && text[position] <= L'9'; ++position) {
        value = std::max<int64_t>(value, 0) * 10 + (text[position] - L'0');
        value = std::min<int64_t>(value, std::numeric_limits<int32_t>::max());
    }
    return value;
}

int32_t IntOr(const VnString& text, int32_t defaultValue) {
    return text.IsEmpty() ? defaultValue : text.ToInt();
}

double DoubleOr(const VnString& text, double defaultValue) {
    return text.IsEmpty() ? defaultValue : text.ToDouble(nullptr, /*anySeparator=*/true);
}

} // namespace

void VnString::AppendSerialized(const wchar_t* text, int32_t length) {
    const int32_t count = VnStringDetail::Measure(text, length);
    VnString head;
    head.Format(L"(%d:", count);
    const int32_t oldLength = GetLength();
    const int32_t newLength =
        VnStringDetail::AddLengths(oldLength, int64_t{head.GetLength()} + count + 1);
    VnString old;
    if (GetCapacity() <= newLength) {
        old = *this; // keeps the block: the text may stand in it
        GetBuffer(VnStringDetail::AddLengths(newLength / kRecordStep * kRecordStep, kRecordStep),
                  true, true);
        ReleaseBuffer(oldLength);
    }
    Append(head.Characters, head.GetLength(), text, count, L")", 1);
}

void VnString::AppendSerializedInt(int32_t value) {
    AppendSerialized(FromInt(value));
}

void VnString::AppendSerializedDouble(double value) {
    VnString text;
    text.SetDouble(value, -1, false, 0, kDoublePoint);
    AppendSerialized(text);
}

bool VnString::ReadSerialized(int32_t& position, VnString& out, const wchar_t* defaultText) const {
    const int32_t length = GetLength();
    if (position < 0 || position >= length || Characters[position] != L'(') {
        out = defaultText;
        return false;
    }
    ++position;
    const int64_t count = ReadLength(*this, position);
    if (Characters[position] != L':') {
        out = defaultText;
        return false;
    }
    ++position;
    const int64_t end = position + count;
    if (count < 0 || end >= length || Characters[end] != L')') {
        out = defaultText;
        return false;
    }
    const int32_t start = position;
    position = static_cast<int32_t>(end) + 1;
    out = Mid(start, static_cast<int32_t>(count));
    return true;
}

int32_t VnString::ReadSerializedInt(int32_t& position, int32_t defaultValue) const {
    VnString text;
    ReadSerialized(position, text);
    return IntOr(text, defaultValue);
}

double VnString::ReadSerializedDouble(int32_t& position, double defaultValue) const {
    VnString text;
    ReadSerialized(position, text);
    return DoubleOr(text, defaultValue);
}

bool VnString::IsSerializedAt(int32_t position) const {
    if (position < 0 || position >= GetLength() || Characters[position] != L'(') {
        return false;
    }
    ++position;
    return ReadLength(*this, position) >= 0 && Characters[position] == L':';
}

bool VnString::PeekSerialized(VnString& out, const wchar_t* defaultText) const {
    int32_t position = 0;
    return ReadSerialized(position, out, defaultText);
}

bool VnString::TakeSerialized(VnString& out, const wchar_t* defaultText) {
    int32_t position = 0;
    VnString text;
    const bool isRead = ReadSerialized(position, text, defaultText);
    if (isRead) {
        RemoveLeft(position);
    }
    out = text;
    return isRead;
}

int32_t VnString::PeekSerializedInt(int32_t defaultValue) const {
    int32_t position = 0;
    return ReadSerializedInt(position, defaultValue);
}

int32_t VnString::TakeSerializedInt(int32_t defaultValue) {
    VnString text;
    TakeSerialized(text);
    return IntOr(text, defaultValue);
}

double VnString::PeekSerializedDouble(double defaultValue) const {
    int32_t position = 0;
    return ReadSerializedDouble(position, defaultValue);
}

double VnString::TakeSerializedDouble(double defaultValue) {
    VnString text;
    TakeSerialized(text);
    return DoubleOr(text, defaultValue);
}
