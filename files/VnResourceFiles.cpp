#include "files/VnResourceFiles.h"

#include "core/VnDllString.h"
#include "core/VnStringArray.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "runtime/IVnApplicationInfo.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

namespace {

/// Marks the name of an image, whose extension is found out.
constexpr const wchar_t* kImagePrefix = L"image:";
constexpr const wchar_t* kImageExtensions[] = {L".png", L".jpg", L".gif", L".bmp", L".tif"};

/// Folder of web pages for a language that has none.
constexpr const wchar_t* kFallbackLanguage = L"English";

VnString GetCustomFolder(const wchar_t* name) {
    VnString folder = VnFileSystem::GetDirectoryUser();
    VnFilename::AppendPathSegment(folder, L"Data");
    VnFilename::AppendPathSegment(folder, name);
    return folder;
}

VnString GetDefaultFolder(const wchar_t* name) {
    VnString folder = VnFileSystem::GetDirectoryData(/*useProcessPath=*/true);
    VnFilename::AppendPathSegment(folder, name);
    return folder;
}

/// The user's language; empty without the tools module.
VnString GetLanguage(bool load) {
    VnString language;
    IVnToolsRoot* root = VnGetToolsRoot(load);
    IVnApplicationInfo* info = root == nullptr ? nullptr : root->GetApplicationInfo(1);
    if (info != nullptr) {
        VnDllString adapter(language);
        info->GetLanguage(adapter);
    }
    return language;
}

/// The folder of the user's language below a folder of web pages.
VnString GetLanguageFolder(const VnString& pages) {
    VnString folder = pages;
    VnFilename::AppendPathSegment(folder, GetLanguage(/*load=*/true));
    if (!VnFileSystem::DirectoryExists(folder)) {
        folder = pages;
        VnFilename::AppendPathSegment(folder, kFallbackLanguage);
    }
    return folder;
}

/// The folders of a kind in the order of the search.
void GetFolders(VnResourceKind kind, VnStringArray& folders) {
    switch (kind) {
    case ResourceAny:
        folders.Add(GetCustomFolder(L"Custom Resources"));
        folders.Add(GetDefaultFolder(L"Default Resources"));
        break;
    case ResourceDefault:
        folders.Add(GetDefaultFolder(L"Default Resources"));
        break;
    case ResourceCustom:
        folders.Add(GetCustomFolder(L"Custom Resources"));
        break;
    case ResourceArt:
        folders.Add(GetCustomFolder(L"Custom Art"));
        folders.Add(GetDefaultFolder(L"Default Art"));
        break;
    case ResourceArtDefault:
        folders.Add(GetDefaultFolder(L"Default Art"));
        break;
    case ResourceArtCustom:
        folders.Add(GetCustomFolder(L"Custom Art"));
        break;
    case ResourceWebpageDefault:
        folders.Add(GetLanguageFolder(GetDefaultFolder(L"Default Webpages")));
        break;
    case ResourceWebpageCustom:
        folders.Add(GetLanguageFolder(GetCustomFolder(L"Custom Webpages")));
        break;
    default:
        break;
    }
}

bool Exists(const VnString& path) {
    return VnFileSystem::FileExists(path, /*useToolsModule=*/true);
}

/// An image in one folder, the variant of the language ahead of the plain one; empty when it is not
/// there.
VnString FindImage(const VnString& folder, const VnString& name, const VnString& language) {
    for (const wchar_t* extension : kImageExtensions) {
        if (!language.IsEmpty()) {
            VnString variant = folder + name + L" - " + language + extension;
            if (Exists(variant)) {
                return variant;
            }
        }
        VnString plain = folder + name + extension;
        if (Exists(plain)) {
            return plain;
        }
    }
    return {};
}

} // namespace

VnString FindResourceFile(VnString& name, VnResourceKind kind) {
    if (kind == ResourceWebpage) {
        VnString again(name); // with the prefix of an image, which the first search takes off
        const VnString custom = FindResourceFile(name, ResourceWebpageCustom);
        return Exists(custom) ? custom : FindResourceFile(again, ResourceWebpageDefault);
    }
    VnStringArray folders;
    GetFolders(kind, folders);
    const bool isImage = name.RemovePrefix(kImagePrefix);
    const VnString language = isImage ? GetLanguage(/*load=*/false) : VnString();
    for (const VnString& folder : folders) {
        if (isImage) {
            VnString image = FindImage(folder, name, language);
            if (!image.IsEmpty()) {
                return image;
            }
        } else if (Exists(folder + name)) {
            return folder + name;
        }
    }
    return {};
}
