#include "files/VnFileScanner.h"

#include <algorithm>

VnFileScanner::VnFileScanner(const VnString& path, const wchar_t* extension, bool recursive)
    : Recursive(recursive) {
    SetPath(path);
    AddExtension(extension);
}

VnFileScanner::VnFileScanner(const VnString& path, const VnStringArray& extensions, bool recursive)
    : Recursive(recursive) {
    SetPath(path);
    AddExtensions(extensions);
}

void VnFileScanner::AddExtension(const wchar_t* extension) {
    if (extension != nullptr && extension[0] != 0) {
        Extensions.Add(extension);
        Scanned = false;
    }
}

void VnFileScanner::AddExtensions(const VnStringArray& extensions) {
    for (const VnString& extension : extensions) {
        AddExtension(extension);
    }
}

void VnFileScanner::SetResults(VnStringArray* results) {
    Results = results == nullptr ? &OwnResults : results;
    Scanned = false;
}

void VnFileScanner::SetExcludeModeBits(uint32_t bits) {
    ExcludeModeBits = bits;
    Scanned = false;
}

void VnFileScanner::SetRecursive(bool recursive) {
    Recursive = recursive;
    Scanned = false;
}

void VnFileScanner::SetIncludeDirectories(bool include) {
    IncludeDirectories = include;
    Scanned = false;
}

void VnFileScanner::SetIncludeFiles(bool include) {
    IncludeFiles = include;
    Scanned = false;
}

void VnFileScanner::SetSkipDotDirectories(bool skip) {
    SkipDotDirectories = skip;
    Scanned = false;
}

void VnFileScanner::SetSumSizes(bool sum) {
    SumSizes = sum;
    Scanned = false;
}

void VnFileScanner::SetPath(const VnString& path, bool clearResults) {
    Path = path;
    Path.EnsureTrailing(L'/');
    Scanned = false;
    if (clearResults) {
        ClearResults();
    }
}

void VnFileScanner::ClearResults() {
    Results->Empty();
    TotalSize = 0;
}

void VnFileScanner::Rescan(const VnString& path) {
    SetPath(path, /*clearResults=*/true);
    Scan();
}

void VnFileScanner::Rescan(const VnString& path, bool recursive) {
    Recursive = recursive;
    Rescan(path);
}

void VnFileScanner::Rescan(const VnString& path, const wchar_t* extension) {
    // Both arguments may be texts that the call is about to drop.
    const VnString keptPath(path); // NOLINT(performance-unnecessary-copy-initialization)
    const VnString keptExtension(extension);
    Extensions.Empty();
    AddExtension(keptExtension);
    Rescan(keptPath);
}

void VnFileScanner::Rescan(const VnString& path, const wchar_t* extension, bool recursive) {
    Recursive = recursive;
    Rescan(path, extension);
}

int32_t VnFileScanner::GetCount() {
    Scan();
    return Results->GetCount();
}

int64_t VnFileScanner::GetTotalSize() {
    Scan();
    return TotalSize;
}

const VnString& VnFileScanner::GetAt(int32_t index) {
    Scan();
    return (*Results)[std::clamp(index, 0, Results->GetCount() - 1)];
}

int32_t VnFileScanner::AppendTo(VnStringArray& array) {
    Scan();
    array.Append(*Results);
    return array.GetCount();
}

int32_t VnFileScanner::GetFiles(const VnString& path,
                                VnStringArray& array,
                                bool recursive,
                                const wchar_t* extension) {
    VnFileScanner scanner(path, extension, recursive);
    scanner.SetResults(&array);
    return scanner.GetCount();
}

int32_t VnFileScanner::GetFiles(const VnString& path,
                                VnStringArray& array,
                                bool recursive,
                                const VnStringArray& extensions) {
    VnFileScanner scanner(path, extensions, recursive);
    scanner.SetResults(&array);
    return scanner.GetCount();
}

int32_t VnFileScanner::GetDirectories(const VnString& path, VnStringArray& array, bool recursive) {
    VnFileScanner scanner(path, nullptr, recursive);
    scanner.SetIncludeFiles(false);
    scanner.SetIncludeDirectories(true);
    scanner.SetResults(&array);
    return scanner.GetCount();
}

int64_t VnFileScanner::GetTotalSize(const VnString& path, bool recursive) {
    VnFileScanner scanner(path, nullptr, recursive);
    scanner.Results = nullptr;
    return scanner.GetTotalSize();
}
