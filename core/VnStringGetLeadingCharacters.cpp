#include "core/VnStringGetLeadingCharacters.h"

#include "core/VnString.h"

namespace {

/// U+2012, which some texts have for a hyphen.
constexpr wchar_t kFigureDash = 0x2012;

/// Kinds of VnString::GetWordAt.
constexpr int32_t kKindNothing = 0;
constexpr int32_t kKindWord = 2;
constexpr int32_t kKindDigits = 3;

} // namespace

bool VnStringGetLeadingCharacters::GetLeadingCharacters(const wchar_t* text,
                                                        int32_t& position,
                                                        VnString& run) const {
    if (text == nullptr || position < 0) {
        return false;
    }
    int32_t start = position;
    int32_t end = position;
    while (text[end] != 0 && IsLeadingCharacter(text + end, end - position)) {
        ++end;
    }
    if (end == start) {
        return false;
    }
    while (start > 0 && IsLeadingCharacter(text + start - 1, 0)) {
        --start;
    }
    run = VnString(text + start, end - start);
    position = start;
    return true;
}

bool VnStringLeadingAlphaCharacters::IsLeadingCharacter(const wchar_t* character,
                                                        int32_t /*index*/) const {
    return VnStringGlobals::IsLetter(*character);
}

bool VnStringLeadingDigitCharacters::IsLeadingCharacter(const wchar_t* character,
                                                        int32_t /*index*/) const {
    return VnStringGlobals::IsDigit(*character);
}

bool VnStringLeadingWordCharacters::IsLeadingCharacter(const wchar_t* character,
                                                       int32_t index) const {
    if (VnStringGlobals::IsLetter(*character)) {
        return true;
    }
    const bool isApostrophe = *character == L'\'' && index >= 1;
    const bool isHyphen = *character == L'-' || *character == kFigureDash;
    return (isApostrophe || isHyphen) && VnStringGlobals::IsLetter(character[1]);
}

VnString VnString::GetWordAt(int32_t position, int32_t& kind, int32_t& start, bool wordMode) const {
    VnString run;
    kind = kKindNothing;
    start = -1;
    if (position < 0 || position >= GetLength()) {
        return run;
    }
    const VnStringLeadingWordCharacters words;
    const VnStringLeadingAlphaCharacters letters;
    const VnStringGetLeadingCharacters& wanted =
        wordMode ? static_cast<const VnStringGetLeadingCharacters&>(words) : letters;
    if (wanted.GetLeadingCharacters(Characters, position, run)) {
        kind = kKindWord;
        start = position;
    } else if (VnStringLeadingDigitCharacters().GetLeadingCharacters(Characters, position, run)) {
        kind = kKindDigits;
        start = position;
    }
    return run;
}
