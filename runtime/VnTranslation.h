#pragma once

#include "core/VnString.h"

/// An interface text in the user's language, by the translator of the tools module; the text itself
/// when the module or a translation is missing.
VnString VnTranslated(const wchar_t* text);
