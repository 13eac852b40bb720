#include "files/VnURL.h"

#include "core/VnStringArray.h"
#include "files/VnFilename.h"

#include <sys/stat.h>

namespace {

/// Resolves "..": each goes with the nearest segment ahead of it that is still there and is none.
/// The first segment, which is empty for an absolute path, is never taken away; there is nothing
/// above the root, so there ".." goes alone.
void ResolveParents(VnStringArray& segments) {
    int32_t kept = 0;    // segments that stay, at the front
    int32_t parents = 0; // of these the names behind the first that a ".." can still take
    for (int32_t index = 0; index < segments.GetCount(); ++index) {
        const bool isUp = index > 0 && segments[index] == L"..";
        if (isUp && parents > 0) {
            --kept;
            --parents;
        } else if (!isUp || !segments[0].IsEmpty()) {
            segments[kept].Swap(segments[index]);
            parents += index > 0 && !isUp ? 1 : 0;
            ++kept;
        }
    }
    segments.RemoveAt(kept, segments.GetCount() - kept);
}

/// Leading segments that both have in any letter case, without the last of the path. A base that is
/// shorter counts as ending in empty segments.
int32_t CountCommon(const VnStringArray& path, const VnStringArray& base) {
    int32_t count = 0;
    while (count < path.GetCount() - 1) {
        const VnString other = count < base.GetCount() ? base[count] : VnString();
        if (!path[count].EqualsNoCase(other)) {
            break;
        }
        ++count;
    }
    return count;
}

} // namespace

bool MakeAbsolute(VnString& path, const VnString& base) {
    if (path.IsEmpty() || base.IsEmpty() || path.StartsWith(L'/')
        || !VnFilename::GetIsFileLocal(path)) {
        return false;
    }
    VnStringArray segments;
    const int32_t count = segments.Split(base, L"/");
    if (!base.EndsWith(L'/') && segments[count - 1].Find(L'.') >= 0) {
        segments.RemoveAt(count - 1);
    }
    segments.AppendSplit(path, L"/");
    segments.RemoveMatching(L".", /*caseFlag=*/true, /*whole=*/true);
    ResolveParents(segments);
    path = segments.Join(L"/");
    return true;
}

bool GetRelativePath(VnString& path,
                     const VnString& base,
                     bool withLeadingDot,
                     bool allowNoCommonRoot) {
    VnStringArray pathSegments;
    VnStringArray baseSegments;
    pathSegments.Split(path, L"/");
    baseSegments.Split(base, L"/");
    const int32_t common = CountCommon(pathSegments, baseSegments);
    VnStringArray result;
    if (common > 0) {
        if (withLeadingDot) {
            result.Add(L".");
        }
        for (int32_t index = common; index < baseSegments.GetCount(); ++index) {
            result.Add(L"..");
        }
    } else if (allowNoCommonRoot && !IsValidURL(path)) {
        result.Add(L".");
        result.Add(L"..");
    } else {
        return false;
    }
    for (int32_t index = common; index < pathSegments.GetCount(); ++index) {
        result.Add(pathSegments[index]);
    }
    path = result.Join(L"/");
    return true;
}

VnString CombineWithBase(const VnString& relative, const VnString& base) {
    if (base.IsEmpty() || relative.StartsWith(L'/') || VnFilename::GetIsFileRemote(relative)) {
        return relative;
    }
    if (!base.EndsWith(L'/')) {
        return base + L'/' + relative;
    }
    if (base.StartsWith(L'/') && relative.StartsWith(base.GetText() + 1)) {
        return relative;
    }
    return base + relative;
}

bool IsOnOtherDevice(const VnFilename& path) {
    if (!path.GetIsFileLocal(/*allowEmpty=*/false,
                             /*allowPseudoDrive=*/false,
                             /*allowURL=*/false,
                             /*allowSpecial=*/false,
                             /*allowUNC=*/false)) {
        return false;
    }
    VnString prefix;
    VnString directory;
    path.Split({.Drive = &prefix, .Directory = &directory});
    if (prefix.IsEmpty()) {
        return false;
    }
    prefix += L'/';
    struct stat drive {};
    if (stat(VnStringUTF8(prefix), &drive) != 0) {
        return false;
    }
    directory.RemovePrefix(L"/");
    VnStringArray segments;
    segments.Split(directory, L"/", /*trim=*/false, /*skipEmptyText=*/true);
    for (const VnString& segment : segments) {
        prefix += segment + L'/';
        struct stat level {};
        if (stat(VnStringUTF8(prefix), &level) == 0 && level.st_dev != drive.st_dev) {
            return true;
        }
    }
    return false;
}
