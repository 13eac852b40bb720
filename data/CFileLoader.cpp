#include "data/CFileLoader.h"

#include "runtime/IVnReader.h"

#include <algorithm>

// The shared cancel flag

void CCancelHelper::SetCancelled(bool cancelled) {
    Cancelled.store(cancelled);
    const VnCriticalSectionLock guard(Lock);
    for (ICancelHelperCallback* callback : Callbacks) {
        callback->SetCancelled(cancelled);
    }
}

void CCancelHelper::Link(ICancelHelperCallback* callback) {
    const VnCriticalSectionLock guard(Lock);
    Callbacks.push_back(callback);
}

void CCancelHelper::Unlink(ICancelHelperCallback* callback) {
    const VnCriticalSectionLock guard(Lock);
    std::erase(Callbacks, callback);
}

// The loader: life, settings and results

CFileLoader::CFileLoader() = default;

CFileLoader::~CFileLoader() = default;

void CFileLoader::SetCancelled(bool cancelled) {
    const VnCriticalSectionLock guard(Lock);
    // The flag alone: who shares it is told by its own SetCancelled, which comes here too.
    CancelSource->Cancelled.store(cancelled);
    if (cancelled && Reader != nullptr && !Reader->IsBusy()) {
        Reader->Close();
    }
}

void CFileLoader::SetCancelFlag(CCancelHelper* source) {
    const VnCriticalSectionLock guard(Lock);
    CancelSource = source == nullptr ? &OwnCancel : source;
}

void CFileLoader::SetMaximumSize(int64_t maximumSize, bool failWhenLarger) {
    MaximumSize = maximumSize;
    FailWhenLarger = failWhenLarger;
}

void CFileLoader::SetContentCheck(IFileLoaderContentCheck* check,
                                  int32_t parameter,
                                  int32_t afterBytes,
                                  bool atEnd,
                                  const VnString& requiredText) {
    Check = check;
    CheckParameter = parameter;
    CheckAfterBytes = afterBytes;
    CheckAtEnd = atEnd;
    RequiredText = requiredText;
}

void CFileLoader::SetWaitDialog(bool show,
                                int32_t delayMS,
                                bool cancellable,
                                bool titleOnly,
                                const VnString& title,
                                const VnString& text) {
    ShowWaitDialog = show;
    WaitDelay = delayMS;
    DialogCancellable = cancellable;
    TitleOnly = titleOnly;
    Title = title;
    DialogText = text;
}

VnString CFileLoader::GetResponseHeader(const VnString& name) const {
    VnString folded = AllHeaders;
    VnString wanted = name + L":";
    folded.MakeLower();
    wanted.MakeLower();
    const int32_t start = folded.Find(wanted);
    if (name.IsEmpty() || start < 0) {
        return VnString();
    }
    const int32_t valueStart = start + wanted.GetLength();
    const int32_t lineEnd = AllHeaders.Find(L'\n', valueStart);
    VnString value =
        lineEnd < 0 ? AllHeaders.Mid(valueStart) : AllHeaders.Mid(valueStart, lineEnd - valueStart);
    value.Trim();
    return value;
}
