#include "core/VnStringArray.h"

#include "core/VnStringDetail.h"

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <limits>
#include <new>
#include <string_view>

namespace {

const wchar_t* SkipSpace(const wchar_t* text) {
    while (VnStringGlobals::IsSpace(*text)) {
        ++text;
    }
    return text;
}

const wchar_t* SkipSpaceBackwards(const wchar_t* begin, const wchar_t* end) {
    while (end > begin && VnStringGlobals::IsSpace(end[-1])) {
        --end;
    }
    return end;
}

/// Holds the element that `text` points into, if any, so that overwriting the element leaves the
/// text alone.
VnString GetGuard(const VnStringArray& strings, const wchar_t* text) {
    for (const VnString& element : strings) {
        if (text >= element.GetText() && text <= element.GetText() + element.GetLength()) {
            return element;
        }
    }
    return {};
}

} // namespace

int32_t
VnStringArray::WriteParts(int32_t first, const wchar_t* text, const wchar_t* separator, bool trim) {
    const std::wstring_view wanted(separator == nullptr ? L"" : separator);
    const bool isCharacter = wanted.size() == 1;
    const std::wstring_view whole = isCharacter ? std::wstring_view() : std::wstring_view(text);
    const auto find = [&](const wchar_t* from) -> const wchar_t* {
        if (isCharacter) {
            return std::wcschr(from, wanted.front()); // the text need not be measured for it
        }
        const auto start = static_cast<int32_t>(from - text);
        const int32_t hit =
            wanted.empty() ? -1 : VnStringDetail::FindIn(whole, wanted, start, true);
        return hit < 0 ? nullptr : text + hit;
    };
    const wchar_t* begin = text;
    for (int32_t index = first;; ++index) {
        const wchar_t* found = find(begin);
        const wchar_t* end = found == nullptr ? begin + std::wcslen(begin) : found;
        if (trim && found != nullptr) {
            end = SkipSpaceBackwards(begin, end);
        }
        const auto length = static_cast<int32_t>(end - begin);
        if (index < GetCount()) {
            Data[index].Assign(begin, length);
        } else {
            Reserve(Base.GetCountWith(1), /*exact=*/false);
            new (static_cast<void*>(Data + index)) VnString(begin, length);
            ++Base.Count;
        }
        if (found == nullptr) {
            return index + 1;
        }
        begin = found + wanted.size();
        if (trim) {
            begin = SkipSpace(begin);
        }
        if (*begin == 0) {
            return index + 1;
        }
    }
}

int32_t
VnStringArray::Split(const wchar_t* text, const wchar_t* separator, bool trim, bool skipEmptyText) {
    const VnString textGuard = GetGuard(*this, text);
    const VnString separatorGuard = GetGuard(*this, separator);
    const bool isEmpty = text == nullptr || *text == 0;
    int32_t parts = 0;
    if (!isEmpty || !skipEmptyText) {
        parts = WriteParts(0, isEmpty ? L"" : text, separator, trim);
    }
    RemoveAt(parts, GetCount() - parts);
    return parts;
}

int32_t VnStringArray::AppendSplit(const wchar_t* text,
                                   const wchar_t* separator,
                                   bool trim,
                                   bool skipEmptyText) {
    const bool isEmpty = text == nullptr || *text == 0;
    if (isEmpty && skipEmptyText) {
        return 0;
    }
    const int32_t first = GetCount();
    return WriteParts(first, isEmpty ? L"" : text, separator, trim) - first;
}

int32_t VnStringArray::SplitFirst(const wchar_t* separator, bool trim, bool skipEmptyText) {
    if (IsEmpty()) {
        return 0;
    }
    const VnString text = Data[0];
    return Split(text.GetText(), separator, trim, skipEmptyText);
}

int32_t
VnStringArray::SplitByChar(const wchar_t* text, wchar_t separator, bool trim, bool skipEmptyText) {
    const wchar_t separatorText[] = {separator, 0};
    const int32_t parts = Split(text, separatorText, trim, skipEmptyText);
    if (parts > 0 && Data[parts - 1].IsEmpty()) {
        RemoveAt(parts - 1);
    }
    return GetCount();
}

VnString
VnStringArray::Join(const wchar_t* separator, bool reverse, int32_t maxCount, bool* wasCut) const {
    const bool cut = maxCount >= 0 && maxCount < GetCount();
    const int32_t count = cut ? maxCount : GetCount();
    if (wasCut != nullptr) {
        *wasCut = cut;
    }
    const auto element = [&](int32_t number) -> const VnString& {
        return Data[reverse ? GetCount() - 1 - number : number];
    };
    if (count == 0) {
        return {};
    }
    if (count == 1) {
        return element(0);
    }

    const size_t separatorLength = separator == nullptr ? 0 : std::wcslen(separator);
    size_t length = separatorLength * static_cast<size_t>(count - 1);
    for (int32_t number = 0; number < count; ++number) {
        length += static_cast<size_t>(element(number).GetLength());
    }
    if (length >= static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        throw std::bad_array_new_length();
    }
    VnString joined;
    wchar_t* target = joined.GetBuffer(static_cast<int32_t>(length), /*exact=*/true);
    for (int32_t number = 0; number < count; ++number) {
        if (number > 0) {
            // Separators are short: a call would take longer than the characters.
            for (size_t index = 0; index < separatorLength; ++index) {
                *target++ = separator[index];
            }
        }
        const VnString& text = element(number);
        const auto textLength = static_cast<size_t>(text.GetLength());
        std::memcpy(target, text.GetText(), textLength * sizeof(wchar_t));
        target += textLength;
    }
    joined.ReleaseBuffer(static_cast<int32_t>(length));
    return joined;
}

VnString
VnStringArray::JoinWithTail(int32_t maxCount, const wchar_t* tail, const wchar_t* separator) const {
    bool wasCut = false;
    VnString joined = Join(separator, /*reverse=*/false, maxCount, &wasCut);
    if (wasCut) {
        joined.Append(separator, -1, tail, -1);
    }
    return joined;
}

bool VnStringArray::SaveToFile(const wchar_t* path,
                               VnTextEncoding encoding,
                               const wchar_t* separator) const {
    return Join(separator).SaveToFile(path, encoding);
}
