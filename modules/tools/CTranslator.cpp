#include "modules/tools/CTranslator.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "modules/tools/ToolsText.h"

#include <langinfo.h>
#include <libintl.h>

#include <cstring>
#include <string>

namespace {

constexpr char kDomain[] = "velnor";

} // namespace

CTranslator::CTranslator() : Fallback(::newlocale(LC_ALL_MASK, "C.UTF-8", nullptr)) {
    ::bindtextdomain(kDomain, (GetModuleDirectory() + "locale").c_str());
    ::bind_textdomain_codeset(kDomain, "UTF-8");
}

void CTranslator::Translate(IVnDllString& text) {
    const wchar_t* source = text.GetCharacters();
    if (source == nullptr || *source == 0) {
        return; // the empty text stands for a catalogue's own header
    }
    const std::string key = ToUTF8(source);
    // In the plain "C" locale gettext looks up nothing, whatever LANGUAGE says; a process that set
    // no locale is in it, and so is one whose locale is not installed.
    const char* current = ::setlocale(LC_MESSAGES, nullptr);
    const bool plain =
        current == nullptr || std::strcmp(current, "C") == 0 || std::strcmp(current, "POSIX") == 0;
    const locale_t previous =
        plain && Fallback != nullptr ? ::uselocale(Fallback) : static_cast<locale_t>(nullptr);
    const char* translated = ::dgettext(kDomain, key.c_str());
    if (translated != key.c_str()) {
        SetUTF8(text, translated);
    }
    if (previous != nullptr) {
        ::uselocale(previous);
    }
}
