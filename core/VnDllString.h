#pragma once

#include <cstdint>

class VnString;

/// A text of another module, reached by virtual calls so that its block stays with its own module.
///
/// An object lives on the caller's stack for the length of one call into another module; the callee
/// never keeps it and never destroys it. Slots are only ever appended.
class IVnDllString {
public:
    /// Slot 0. The characters, zero-terminated; valid until the text changes or the call ends.
    virtual const wchar_t* GetCharacters() const = 0;

    /// Slot 1. The text becomes a copy of `count` characters; a negative count measures to the
    /// terminator, null empties the text.
    virtual void Set(const wchar_t* characters, int32_t count) = 0;

    /// Slot 2. The text becomes empty.
    virtual void Empty() = 0;

    /// Slot 3. Room for `length` characters for direct writing, with the present ones in it when
    /// `keepContents` is set. The pointer ends with ReleaseBuffer, which must follow.
    virtual wchar_t* GetBuffer(int32_t length, bool keepContents) = 0;

    /// Slot 4. Ends the direct writing: the text is now `length` characters, or ends at the first
    /// zero character when that is -1.
    virtual void ReleaseBuffer(int32_t length) = 0;

protected:
    IVnDllString() = default;
    ~IVnDllString() = default;
    IVnDllString(const IVnDllString&) = default;
    IVnDllString& operator=(const IVnDllString&) = default;
};

/// Lets another module read and write a VnString of this one. The string must outlive the adapter.
class VnDllString final : public IVnDllString {
public:
    explicit VnDllString(VnString& text) : Text(&text) {}
    VnDllString(const VnDllString&) = delete;
    VnDllString& operator=(const VnDllString&) = delete;

    const wchar_t* GetCharacters() const override;
    void Set(const wchar_t* characters, int32_t count) override;
    void Empty() override;
    wchar_t* GetBuffer(int32_t length, bool keepContents) override;
    void ReleaseBuffer(int32_t length) override;

private:
    VnString* Text; ///< the caller's string, not owned
};
