#pragma once

#include "runtime/IVnDialogService.h"

#include <atomic>
#include <mutex>

class VnString;
class IVnTranslator;

/// Message boxes and wait dialogs on the terminal, where there is one, or by the host's handler.
/// Without either, a message box gives its default answer and a wait dialog shows nothing.
class CDialogService final : public IVnDialogService {
public:
    int32_t ShowMessage(const wchar_t* text,
                        const wchar_t* caption,
                        int32_t style,
                        int32_t defaultButton,
                        const wchar_t* checkBoxText,
                        bool* checked,
                        int32_t timeoutMS) override;
    IVnWaitDialog* OpenWaitDialog(const wchar_t* title,
                                  const wchar_t* text,
                                  int32_t delayMS,
                                  bool cancellable,
                                  const std::atomic<bool>* cancelFlag,
                                  IVnWaitMessageCallback* callback) override;
    void SetHandler(IVnDialogHandler* handler) override { Handler.store(handler); }

private:
    std::atomic<IVnDialogHandler*> Handler{nullptr}; ///< the host's, not owned
    std::mutex Terminal;                             ///< one question at a time
};
