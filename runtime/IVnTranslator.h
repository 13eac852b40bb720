#pragma once

class IVnDllString;

/// Turns interface texts into the user's language.
class IVnTranslator {
public:
    /// Slot 0. Replaces `text` by its translation; without one it stays.
    virtual void Translate(IVnDllString& text) = 0;

protected:
    ~IVnTranslator() = default;
};
