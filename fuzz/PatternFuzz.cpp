#include "data/VnGUID.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const bool caseFlag = (size & 1) != 0;
    const VnString pattern(TakeLine(data, size).GetText());
    const VnString text = TextOf(data, size);
    if (text.MatchesPattern(pattern, caseFlag)) {
        // A class takes two characters of the pattern for one of the text.
        Require(text.GetLength() <= pattern.GetLength());
        Require(pattern.GetLength() <= 2 * text.GetLength());
        Require(text.MatchesPattern(pattern, /*caseFlag=*/false));
    }
    VnString own(text);
    own.Replace(L"\\", L"\\\\");
    Require(text.Find(L'\0') >= 0 || text.MatchesPattern(own));

    const VnGUID guid = StringToGUID(text);
    Require(StringToGUID(GUIDToString(guid)) == guid);
    Require(guid == VnGUID() || (text.GetLength() >= 36 && text.GetLength() <= 38));
    return 0;
}
