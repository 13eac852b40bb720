#include "runtime/VnLoadLibrary.h"

#include "core/VnString.h"
#include "runtime/CProcessInfo.h"

#include <dlfcn.h>

#include <cstdio>

namespace {

using AttachFunction = int32_t(uintptr_t number);
using DetachFunction = int32_t();

} // namespace

bool VnLoadLibrary::Load(const VnString& path, int32_t /*mode*/) {
    Unload();
    const VnStringUTF8 file(path);
    Handle = dlopen(file, RTLD_LAZY | RTLD_NODELETE);
    if (Handle == nullptr) {
        const char* error = dlerror();
        std::printf("\n\nERROR in VnLoadLibrary: error=%s, file=%s\n\n",
                    error == nullptr ? "" : error, file.GetBytes());
        return false;
    }
    if (auto* attach = GetFunction<AttachFunction>("Attach")) {
        attach(static_cast<uintptr_t>(CProcessInfo::GetInstance()->NextAttachNumber()));
    }
    return true;
}

void VnLoadLibrary::Unload() {
    if (Handle == nullptr) {
        return;
    }
    if (auto* detach = GetFunction<DetachFunction>("Detach")) {
        detach();
    }
    dlclose(Handle);
    Handle = nullptr;
}

void* VnLoadLibrary::GetSymbol(const char* name) const {
    return Handle == nullptr || name == nullptr ? nullptr : dlsym(Handle, name);
}

void* VnLoadLibrary::GetSymbol(const wchar_t* name) const {
    return Handle == nullptr || name == nullptr ? nullptr : dlsym(Handle, VnStringUTF8(name));
}
