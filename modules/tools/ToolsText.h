#pragma once

#include <string>

class IVnDllString;
class VnString;

// Small bridges between the system's wide texts and the UTF-8 and UTF-16 texts of the libraries.

/// UTF-8 of a text, null counting as empty, with the ASCII letters in lower case.
std::string ToLowerUTF8(const wchar_t* text);

/// UTF-8 of a text, null counting as empty.
std::string ToUTF8(const wchar_t* text);

/// Sets a text of another module from UTF-8, in the lossless form that file names have too.
void SetUTF8(IVnDllString& target, const std::string& text);

/// Sets a text of another module from one of this module.
void SetText(IVnDllString& target, const VnString& text);

/// Directory that this module's file stands in, with "/" at its end; empty when it can't be found
/// out.
std::string GetModuleDirectory();
