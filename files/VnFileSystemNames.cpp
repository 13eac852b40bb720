#include "files/VnFileSystem.h"

#include "files/VnFilename.h"

#include <unistd.h>

#include <cmath>
#include <cwchar>
#include <limits>

namespace {

/// Longest text that CleanPathName lets through.
constexpr int32_t kPathNameLimit = 4088;

constexpr const wchar_t* kIllegalCharacters = L":/*?\"<>|";

/// Units of a size, and the power of 1024 that each stands for.
struct SizeUnit {
    const wchar_t* Name;
    int32_t Power;
};

constexpr SizeUnit kUnits[] = {{L"KB", 1}, {L"MB", 2}, {L"GB", 3}, {L"TB", 4}, {L"PB", 5}};

/// Value from which on a size goes without a decimal.
constexpr double kWholeNumbers = 100.0;

double GetUnitSize(int32_t power) {
    return std::ldexp(1.0, 10 * power);
}

bool IsIllegal(wchar_t ch) {
    return ch < L' ' || std::wcschr(kIllegalCharacters, ch) != nullptr;
}

/// Removes blanks around each backslash, and dots in front of it unless `keepDots`, until nothing
/// changes.
void CleanSegments(VnString& text, bool keepDots) {
    int32_t changes = 0;
    do {
        changes = text.Replace(L" \\", L"\\") + text.Replace(L"\\ ", L"\\");
        if (!keepDots) {
            changes += text.Replace(L".\\", L"\\");
        }
    } while (changes != 0);
}

/// A double as the nearest integer towards zero that fits.
int64_t Truncate(double value) {
    // The double nearest to the largest integer is one too large.
    constexpr double kLimit = 9223372036854775808.0;
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= kLimit) {
        return std::numeric_limits<int64_t>::max();
    }
    return value <= -kLimit ? std::numeric_limits<int64_t>::min() : static_cast<int64_t>(value);
}

} // namespace

namespace VnFileSystem {

VnString GetFreeFilename(const VnString& path) {
    if (!FileExists(path, /*useToolsModule=*/true)) {
        return path;
    }
    VnFilename name;
    name.Set(path, /*clearProperties=*/true, /*lowerCaseExtension=*/false);
    do {
        name.IncrementName();
    } while (FileExists(name.Filename, /*useToolsModule=*/true));
    return name.Filename;
}

VnString GetFreeDirectory(const VnString& path) {
    VnString directory(path);
    directory.TrimRight(L"\\/");
    if (directory.IsEmpty()) {
        return path;
    }
    if (directory.Find(L'/') >= 0) {
        while (DirectoryExists(directory)) {
            directory.MakeUnique();
        }
    }
    return directory + L'/';
}

VnString GetTempFilename(const VnString& name,
                         const VnString& extension,
                         bool addThreadId,
                         bool makeFree,
                         const VnString& directory) {
    VnString path = directory.IsEmpty()
                        ? GetTempDirectory(/*useSetting=*/true, /*addUserFolder=*/true)
                        : directory;
    path.EnsureTrailing(L'/');
    path += name;
    if (addThreadId) {
        path.AppendFormat(L" - %d", gettid());
    }
    if (!extension.IsEmpty()) {
        path += L'.';
        path += extension;
    }
    return makeFree ? GetFreeFilename(path) : path;
}

VnString GetTempSubdirectory(const VnString& name, bool addThreadId, bool recreate) {
    VnString path = GetTempDirectory(/*useSetting=*/true, /*addUserFolder=*/true);
    path += name;
    path += L'/';
    if (addThreadId) {
        path.AppendFormat(L"%d/", gettid());
    }
    if (recreate) {
        DeleteDirectoryTree(path);
        MakeDirectoryTree(path, /*testWrite=*/false);
    }
    return path;
}

void ReplaceIllegalCharacters(VnString& text, wchar_t replacement) {
    for (int32_t index = 0; index < text.GetLength(); ++index) {
        const wchar_t ch = text[index];
        if (IsIllegal(ch)) {
            text.SetAt(index, ch < L' ' ? L' ' : replacement);
        }
    }
}

void CleanFilename(VnString& text, wchar_t replacement) {
    text.Trim();
    text.ReplaceChar(L'/', replacement);
    ReplaceIllegalCharacters(text, L'_');
    if (text.StartsWith(L'.')) {
        text.SetAt(0, replacement);
    }
}

void CleanPathName(
    VnString& text, bool cleanSegments, wchar_t replacement, bool limitLength, bool keepDots) {
    text.Trim();
    text.ReplaceChar(L'/', L'\\');
    if (cleanSegments) {
        CleanSegments(text, keepDots);
        ReplaceIllegalCharacters(text, L'_');
        if (limitLength && text.GetLength() > kPathNameLimit) {
            ShortenFilename(text, text.GetLength() - kPathNameLimit);
        }
    } else {
        ReplaceIllegalCharacters(text, L'_');
        text.ReplaceChar(L'\\', replacement);
    }
    text.ReplaceChar(L'\\', L'/');
}

bool ShortenFilename(VnString& path, int32_t excess) {
    const int32_t nameStart = path.ReverseFind(L'/') + 1;
    VnString name = path.Mid(nameStart);
    VnString extension;
    if (const int32_t dot = name.ReverseFind(L'.'); dot >= 0) {
        extension = name.Mid(dot);
        name = name.Left(dot);
    }
    if (excess < 0 || name.GetLength() - 1 <= excess) {
        return false;
    }
    name.RemoveRight(excess);
    path = path.Left(nameStart) + name + extension;
    return true;
}

VnString FormatSize(int64_t bytes) {
    const double value = std::fabs(static_cast<double>(bytes));
    if (value < GetUnitSize(1)) {
        return VnString::Formatted(L"%d bytes", bytes);
    }
    const SizeUnit* unit = kUnits;
    while (unit->Power < 5 && value >= GetUnitSize(unit->Power + 1)) {
        ++unit;
    }
    const double number = value / GetUnitSize(unit->Power);
    VnString text = bytes < 0 ? L"-" : L"";
    text.AppendFormat(number < kWholeNumbers ? L"%.1f %s" : L"%.0f %s", number, unit->Name);
    return text;
}

int64_t ParseSize(const VnString& text) {
    double value = text.ToDouble();
    VnString folded(text);
    folded.MakeLower();
    if (folded.Find(L"pb") >= 0) {
        value *= GetUnitSize(5);
    }
    constexpr SizeUnit kSmallerUnits[] = {{L"tb", 4}, {L"gb", 3}, {L"mb", 2}, {L"kb", 1}};
    for (const SizeUnit& unit : kSmallerUnits) {
        if (folded.Find(unit.Name) >= 0) {
            value *= GetUnitSize(unit.Power);
            break;
        }
    }
    return Truncate(value);
}

} // namespace VnFileSystem
