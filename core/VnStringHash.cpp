#include "core/VnString.h"

#include "core/VnTextFolding.h"

#include <cstddef>
#include <cwchar>

namespace {

template<typename NUMBER>
NUMBER HashText(const wchar_t* text, size_t length, bool fold) {
    NUMBER hash = 0;
    if (fold) {
        const VnTextFolding folded;
        for (size_t i = 0; i < length; ++i) {
            hash = hash * VnTextKey::kHashFactor + static_cast<uint32_t>(folded(text[i]));
        }
    } else {
        for (size_t i = 0; i < length; ++i) {
            hash = hash * VnTextKey::kHashFactor + static_cast<uint32_t>(text[i]);
        }
    }
    return hash;
}

} // namespace

uint32_t VnString::Hash(bool fold) const {
    return HashOf(Characters, fold);
}

uint64_t VnString::Hash64(bool fold) const {
    return HashText<uint64_t>(Characters, static_cast<size_t>(GetLength()), fold);
}

uint32_t VnString::HashOf(const wchar_t* text, bool fold) {
    return text == nullptr ? 0 : HashText<uint32_t>(text, std::wcslen(text), fold);
}

uint64_t VnString::Hash64Of(const wchar_t* text, bool fold) {
    return text == nullptr ? 0 : HashText<uint64_t>(text, std::wcslen(text), fold);
}
