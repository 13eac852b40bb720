#pragma once

#include "runtime/IVnTranslator.h"

#include <clocale>

/// Translations from gettext catalogues, which stand in the folder "locale" beside this module, one
/// folder a language. The language is the one that the environment asks for, by the usual
/// variables.
class CTranslator final : public IVnTranslator {
public:
    CTranslator();

    void Translate(IVnDllString& text) override;

private:
    locale_t Fallback; ///< in force for a look-up when the process never set a locale
};
