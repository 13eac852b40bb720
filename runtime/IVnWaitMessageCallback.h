#pragma once

/// What a wait dialog tells the work it waits for. May be called on any thread.
class IVnWaitMessageCallback {
public:
    /// Slot 0. The user pressed Cancel.
    virtual void Cancel() = 0;
    /// Slots 1 and 2.
    virtual ~IVnWaitMessageCallback() = default;
    /// Slot 3.
    virtual void SetCancelled(bool cancelled) = 0;
};

/// Told when a shared cancel source changes.
class ICancelHelperCallback {
public:
    /// Slot 0.
    virtual void SetCancelled(bool cancelled) = 0;

protected:
    ~ICancelHelperCallback() = default;
};
