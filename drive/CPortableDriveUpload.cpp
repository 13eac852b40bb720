#include "core/VnPropertyMap.h"
#include "core/VnResult.h"
#include "core/VnStringArray.h"
#include "drive/CPortableDriveGeneric.h"
#include "files/VnFileScanner.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "plugin/IVnHandheldFile.h"
#include "runtime/IVnLogManager.h"
#include "runtime/VnLog.h"
#include "runtime/VnSharedText.h"

namespace {

constexpr const wchar_t* kDefaultNameExpression = L"FileName(,0)";
constexpr const wchar_t* kPlaceholderExtension = L".mp3";
constexpr const wchar_t* kDefaultArtName = L"Folder.jpg";
constexpr int32_t kFirstMinimumName = 8;
constexpr int32_t kSecondMinimum = 0x555;

} // namespace

VnString CPortableDriveGeneric::GetUploadFolder(IVnHandheldFile* file) {
    VnString folder = GetBasePathFromFile(file);
    const VnString fileType = VnTakeSharedText(file->GetField(L"File Type", 0).Characters);
    if (GetAudioBasePath().Contains(L"PSP") && fileType.EqualsNoCase(L"mp4")) {
        folder = GetVideoBasePath(); // these players show films only from their video folder
    }
    // The root is the device's own and stays as it is spelled.
    const VnString root = GetDriveRootFolder();
    const bool below = !root.IsEmpty() && folder.StartsWith(root);
    VnString rest = below ? folder.Mid(root.GetLength()) : folder;
    VnFileSystem::CleanPathName(rest, /*cleanSegments=*/true, L'_', /*limitLength=*/true,
                                /*keepDots=*/false);
    while (rest.Replace(L"//", L"/") > 0) { // a name of nothing but dots leaves no segment
    }
    if (below) {
        rest.TrimLeft(L'/');
        rest.Prepend(root);
    }
    return rest;
}

VnString CPortableDriveGeneric::GetUploadTarget(IVnHandheldFile* file, const VnString& folder) {
    const VnString rule = GetFilenameRule();
    const VnString expression = rule.IsEmpty() ? VnString(kDefaultNameExpression) : rule;
    VnString target = folder + VnTakeSharedText(file->Evaluate(expression, 1).Characters);
    // Without an extension of its own a name such as "Vol. 2" would lose ". 2" when the real one is
    // put on.
    target += kPlaceholderExtension;
    return target;
}

int32_t CPortableDriveGeneric::Upload(IVnHandheldFile* file) {
    VnLogScope log(kLogHandheld, "CPortableDriveGeneric::Upload");
    const VnString folder = GetUploadFolder(file);
    VnStringArray names;
    names.Split(VnTakeSharedText(file->GetFieldList(1).Characters), L"|", /*trim=*/false,
                /*skipEmptyText=*/true);
    const VnFilename source(VnTakeSharedText(file->GetSourcePath().Characters));
    VnFilename target;
    target.Set(GetUploadTarget(file, folder), /*clearProperties=*/true,
               /*lowerCaseExtension=*/true);

    VnPropertyMap& info = GetDeviceInfo();
    const bool isAndroid = info.GetInt(L"IsAndroid", 0) != 0;
    VnStringArray files;
    CollectUploadFiles(source, info.GetString(L"GetAllFilesExtensionMask", nullptr), files);
    int32_t result = kResultFailure;
    for (const VnString& path : files) {
        // The source itself may carry a FileType; its name is spelled as the library spells it, for
        // file systems that tell letter case apart.
        const VnFilename name = path == source.Filename ? source : VnFilename(path);
        VnFilename spelled(name);
        spelled.LowerCaseExtension = false;
        const VnString transferSource = source.GetPathOnly() + spelled.GetNameAndExtension(false)
                                        + source.GetQuery(/*withMark=*/true);
        VnString extension = name.GetExtension(/*useFileType=*/true);
        if (extension.IsEmpty()) {
            extension = VnTakeSharedText(file->GetField(L"File Type", 1).Characters);
        }
        VnString transferTarget = target.GetPathAndName() + L"." + extension;
        FitToPathLimit(transferTarget, extension);
        if (isAndroid) {
            const int32_t rootLength = GetDriveRootFolder().GetLength();
            VnString rest = transferTarget.Mid(rootLength);
            ReplaceLeadingDots(rest);
            transferTarget = transferTarget.Left(rootLength) + rest;
        }
        const bool transferred =
            IsInsideDevice(transferTarget) && TransferFile(transferSource, transferTarget);
        if (!transferred && result != kResultOk) {
            continue;
        }
        if (info.GetInt(L"SaveCoverArtToFolderJPG", 0) != 0
            || !info.GetString(L"SaveCoverArtToFilename", nullptr).IsEmpty()) {
            TransferCoverArt(file, folder);
        }
        file->SetField(L"Filename", transferTarget);
        if (GetDatabaseMap().Lookup(transferTarget) == nullptr) {
            GetDatabaseMap().SetAt(transferTarget, MakeItemText(file, names));
        }
        result = kResultOk;
    }
    log.Result = result;
    return result;
}

void CPortableDriveGeneric::FitToPathLimit(VnString& target, const VnString& extension) {
    VnFilename name(target);
    const int32_t folderLength = name.GetPathOnly().GetLength();
    if (name.ShortenToPathLimit(/*makeUnique=*/true, kFirstMinimumName, extension.GetLength(),
                                folderLength, 0)) {
        target = name.Filename;
    }
    if (target.GetLength() > VnFilename::kPathLimit
        && name.ShortenToPathLimit(/*makeUnique=*/true, kSecondMinimum, extension.GetLength(),
                                   kSecondMinimum, 0)) {
        target = name.Filename;
    }
}

void CPortableDriveGeneric::CollectUploadFiles(const VnFilename& source,
                                               const VnString& mask,
                                               VnStringArray& files) {
    files.Add(source.Filename);
    if (mask.IsEmpty() || !source.GetExtension(true).StartsWith(mask, /*caseFlag=*/false)) {
        return;
    }
    const VnString base = source.GetPathAndName();
    VnStringArray neighbours;
    VnFileScanner::GetFiles(source.GetPathOnly(), neighbours, /*recursive=*/false);
    for (const VnString& path : neighbours) {
        const VnFilename name(path);
        if (name.GetPathAndName() == base
            && name.GetExtension(true).StartsWith(mask, /*caseFlag=*/false)) {
            files.Add(path);
        }
    }
    files.RemoveDuplicates();
}

void CPortableDriveGeneric::ReplaceLeadingDots(VnString& path) {
    VnStringArray pieces;
    pieces.SplitByChar(path, L'/');
    for (VnString& piece : pieces) {
        for (int32_t i = 0; i < piece.GetLength() && piece[i] == L'.'; ++i) {
            piece.SetAt(i, L'_');
        }
    }
    path = pieces.Join(L"/");
}

bool CPortableDriveGeneric::TransferCoverArt(IVnHandheldFile* file, const VnString& folder) {
    const VnLogScope log(kLogHandheld, "CPortableDriveGeneric::TransferCoverArt");
    VnString name = GetDeviceInfo().GetString(L"SaveCoverArtToFilename", nullptr);
    if (name.IsEmpty()) {
        name = kDefaultArtName;
    }
    const VnString destination = folder + name;
    if (VnFilename(destination).Exists()) {
        return false;
    }
    const VnString art = VnTakeSharedText(file->GetCoverArtPath(0).Characters);
    if (art.IsEmpty() || !MayWrite(destination)) {
        return false;
    }
    const bool copied = VnFileSystem::CopyFile(art, destination, /*failIfExists=*/true);
    if (!copied) {
        VnFileSystem::DeleteFile(destination); // what a full device left of it would stay for good
    }
    return copied;
}
