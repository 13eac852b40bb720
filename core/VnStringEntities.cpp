#include "core/VnString.h"

#include "core/VnHexDigits.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace {

struct NamedEntity {
    std::wstring_view Name;
    wchar_t Code;
};

/// The named characters of HTML, ordered by the length of the name. The dashes, the blank that does
/// not break and the closing quote give their plain ASCII forms.
constexpr NamedEntity kNamedEntities[] = {
    {L"gt", 62},      {L"lt", 60},       {L"amp", 38},     {L"deg", 176},    {L"ETH", 208},
    {L"eth", 240},    {L"not", 172},     {L"reg", 174},    {L"shy", 173},    {L"uml", 168},
    {L"yen", 165},    {L"auml", 228},    {L"apos", 39},    {L"Auml", 196},   {L"cent", 162},
    {L"copy", 169},   {L"Euml", 203},    {L"euml", 235},   {L"Iuml", 207},   {L"iuml", 239},
    {L"macr", 175},   {L"nbsp", 32},     {L"ordf", 170},   {L"ordm", 186},   {L"Ouml", 214},
    {L"ouml", 246},   {L"para", 182},    {L"quot", 34},    {L"sect", 167},   {L"sup1", 185},
    {L"sup2", 178},   {L"sup3", 179},    {L"Uuml", 220},   {L"uuml", 252},   {L"yuml", 255},
    {L"ndash", 45},   {L"mdash", 45},    {L"iexcl", 161},  {L"pound", 163},  {L"rsquo", 39},
    {L"Acirc", 194},  {L"acirc", 226},   {L"acute", 180},  {L"AElig", 198},  {L"aelig", 230},
    {L"Aring", 197},  {L"aring", 229},   {L"cedil", 184},  {L"Ecirc", 202},  {L"ecirc", 234},
    {L"Icirc", 206},  {L"icirc", 238},   {L"laquo", 171},  {L"micro", 181},  {L"Ocirc", 212},
    {L"ocirc", 244},  {L"raquo", 187},   {L"szlig", 223},  {L"THORN", 222},  {L"thorn", 254},
    {L"times", 215},  {L"Ucirc", 219},   {L"ucirc", 251},  {L"Aacute", 193}, {L"aacute", 225},
    {L"Agrave", 192}, {L"agrave", 224},  {L"Atilde", 195}, {L"atilde", 227}, {L"brvbar", 166},
    {L"Ccedil", 199}, {L"ccedil", 231},  {L"curren", 164}, {L"divide", 247}, {L"Eacute", 201},
    {L"eacute", 233}, {L"Egrave", 200},  {L"egrave", 232}, {L"frac14", 188}, {L"frac12", 189},
    {L"frac34", 190}, {L"hellip", 8230}, {L"Iacute", 205}, {L"iacute", 237}, {L"Igrave", 204},
    {L"igrave", 236}, {L"iquest", 191},  {L"middot", 183}, {L"Ntilde", 209}, {L"ntilde", 241},
    {L"plusmn", 177}, {L"Oacute", 211},  {L"oacute", 243}, {L"Ograve", 210}, {L"ograve", 242},
    {L"Oslash", 216}, {L"oslash", 248},  {L"Otilde", 213}, {L"otilde", 245}, {L"Uacute", 218},
    {L"uacute", 250}, {L"Ugrave", 217},  {L"ugrave", 249}, {L"Yacute", 221}, {L"yacute", 253}};

constexpr size_t kShortestEntity = kNamedEntities[0].Name.size();
constexpr size_t kLongestEntity = 6;

/// The code of a named entity in exact case; 0 for an unknown name.
wchar_t GetNamedCode(std::wstring_view name) {
    const auto* found = std::find_if(std::begin(kNamedEntities), std::end(kNamedEntities),
                                     [name](const NamedEntity& row) { return row.Name == name; });
    return found == std::end(kNamedEntities) ? L'\0' : found->Code;
}

/// The number that all characters of `digits` make in `base` (10 or 16); 0 when one is no digit.
wchar_t ReadCode(std::wstring_view digits, int32_t base) {
    int32_t code = 0;
    for (const wchar_t ch : digits) {
        const int32_t digit = GetHexDigitValue(ch);
        if (digit < 0 || digit >= base) {
            return L'\0';
        }
        code = code * base + digit;
    }
    return static_cast<wchar_t>(code);
}

/// The code of a reference by number, which takes one of the fixed forms "#x" with 4 or 2
/// hexadecimal digits, "#" with 5 to 2 decimal ones, or 3 or 2 bare decimal ones; 0 for another
/// form.
wchar_t GetNumberedCode(std::wstring_view name) {
    const size_t length = name.size();
    if (length < 2 || length > 6) {
        return L'\0';
    }
    if (name[0] != L'#') {
        return length <= 3 ? ReadCode(name, 10) : L'\0';
    }
    if (name[1] == L'x' || name[1] == L'X') {
        return length == 6 || length == 4 ? ReadCode(name.substr(2), 16) : L'\0';
    }
    return length >= 3 ? ReadCode(name.substr(1), 10) : L'\0';
}

/// The code of what stands between "&" and ";"; 0 when it is no character reference.
wchar_t GetEntityCode(std::wstring_view name) {
    if (name.size() < kShortestEntity || name.size() > kLongestEntity) {
        return L'\0';
    }
    const wchar_t code = GetNamedCode(name);
    return code != 0 ? code : GetNumberedCode(name);
}

} // namespace

void VnString::DecodeEntities() {
    const int32_t first = Find(L'&');
    if (first < 0 || Find(L';', first) < 0) {
        return;
    }
    const int32_t length = GetLength();
    wchar_t* text = GetBuffer();
    int32_t written = first;
    int32_t semicolon =
        -1; // the next one at or behind the reading place; the length when there is none
    for (int32_t read = first; read < length;) {
        if (text[read] != L'&') {
            text[written++] = text[read++];
            continue;
        }
        if (semicolon < read) {
            semicolon = static_cast<int32_t>(std::find(text + read, text + length, L';') - text);
        }
        const std::wstring_view name(text + read + 1, static_cast<size_t>(semicolon - read - 1));
        const wchar_t code = semicolon < length ? GetEntityCode(name) : L'\0';
        if (code == 0) {
            text[written++] = text[read++];
        } else {
            text[written++] = code;
            read = semicolon + 1;
        }
    }
    ReleaseBuffer(written);
}
