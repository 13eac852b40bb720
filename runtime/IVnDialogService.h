#pragma once

#include <atomic>
#include <cstdint>

class IVnWaitMessageCallback;

/// An open wait dialog; closed and freed by Close.
class IVnWaitDialog {
public:
    /// Slot 0. Replaces the status line.
    virtual void SetStatus(const wchar_t* text) = 0;
    /// Slot 1. Closes the dialog and frees the object.
    virtual void Close() = 0;

protected:
    ~IVnWaitDialog() = default;
};

/// A host's own way of asking and telling the user, in the place of the terminal.
class IVnDialogHandler {
public:
    /// Slot 0. As IVnDialogService::ShowMessage.
    virtual int32_t ShowMessage(const wchar_t* text,
                                const wchar_t* caption,
                                int32_t style,
                                int32_t defaultButton) = 0;

protected:
    ~IVnDialogHandler() = default;
};

/// Message boxes and the wait dialog.
class IVnDialogService {
public:
    enum ButtonId : int32_t {
        kButtonOk = 1,
        kButtonCancel = 2,
        kButtonYes = 6,
        kButtonNo = 7,
    };
    enum BoxStyle : int32_t {
        kStyleOk = 0,
        kStyleOkCancel = 1,
        kStyleYesNoCancel = 3,
        kStyleYesNo = 4,
    };

    /// Slot 0. Shows a message and returns the pressed button. `style` is a BoxStyle;
    /// `checkBoxText` (may be null) labels a check box whose state goes through `checked` (may be
    /// null); after `timeoutMS` (-1: never) the default button is taken. Without a terminal and
    /// without a handler it is the default button at once.
    virtual int32_t ShowMessage(const wchar_t* text,
                                const wchar_t* caption,
                                int32_t style,
                                int32_t defaultButton,
                                const wchar_t* checkBoxText,
                                bool* checked,
                                int32_t timeoutMS) = 0;
    /// Slot 1. A dialog that appears after `delayMS` unless closed before. Once `cancelFlag` (may
    /// be null) is set, which is only read, nothing is shown any more; a user's cancel goes to
    /// `callback` (may be null). Both must outlive the dialog. Never null.
    virtual IVnWaitDialog* OpenWaitDialog(const wchar_t* title,
                                          const wchar_t* text,
                                          int32_t delayMS,
                                          bool cancellable,
                                          const std::atomic<bool>* cancelFlag,
                                          IVnWaitMessageCallback* callback) = 0;
    /// Slot 2. Installs a host's handler; null takes it away. The handler stays the host's.
    virtual void SetHandler(IVnDialogHandler* handler) = 0;

protected:
    ~IVnDialogService() = default;
};
