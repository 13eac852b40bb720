#pragma once

#include <cstdint>

class VnString;

/// Cuts the run of characters of one class out of a text. Derived classes say which characters
/// belong. Letters and digits are those of VnStringGlobals. Objects have no state.
class VnStringGetLeadingCharacters {
public:
    /// Whether the character at `character` belongs to a run in which it has the position `index`.
    /// The text is zero-terminated, so the character behind may be looked at.
    virtual bool IsLeadingCharacter(const wchar_t* character, int32_t index) const = 0;

    /// Finds the run around `position`, which must be inside 0 to the length of `text`. True when
    /// the character there belongs; `run` is then the whole run and `position` its start. A part
    /// ahead of the given position belongs to the run as far as each of its characters could begin
    /// one. Otherwise nothing changes.
    bool GetLeadingCharacters(const wchar_t* text, int32_t& position, VnString& run) const;

protected:
    ~VnStringGetLeadingCharacters() = default;
};

/// Letters.
class VnStringLeadingAlphaCharacters final : public VnStringGetLeadingCharacters {
public:
    bool IsLeadingCharacter(const wchar_t* character, int32_t index) const override;
};

/// Digits.
class VnStringLeadingDigitCharacters final : public VnStringGetLeadingCharacters {
public:
    bool IsLeadingCharacter(const wchar_t* character, int32_t index) const override;
};

/// Words: letters, an apostrophe with a letter behind it that does not begin the run, and a hyphen
/// or U+2012 with a letter behind it.
class VnStringLeadingWordCharacters final : public VnStringGetLeadingCharacters {
public:
    bool IsLeadingCharacter(const wchar_t* character, int32_t index) const override;
};
