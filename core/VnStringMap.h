#pragma once

#include "core/VnMap.h"
#include "core/VnString.h"
#include "core/VnTextFolding.h"

#include <cwchar>

/// Key rule of maps whose keys are texts, on top of the map MAP.
///
/// With CASE off, keys are hashed and compared through VnStringGlobals::ToLower. The rule is final,
/// so that the searches below run without a virtual call; the operations of MAP, reached through a
/// reference to it, give the same results.
template<typename MAP, typename KEY, bool CASE, typename VALUE, typename VALUEARG>
class VnTextKeyMap : public MAP {
public:
    using MAP::MAP;

    uint32_t HashKey(const wchar_t* key) const final { return VnTextKey::Make<CASE>(key).Hash; }
    bool KeysEqual(const wchar_t* a, const wchar_t* b) const final;

    VALUE* Lookup(const wchar_t* key) { return this->ValueOf(this->FindNode(CTextRule(key))); }
    const VALUE* Lookup(const wchar_t* key) const {
        return this->ValueOf(this->FindNode(CTextRule(key)));
    }
    bool Lookup(const wchar_t* key, VALUE& value) const {
        return this->CopyValue(Lookup(key), value);
    }
    bool Contains(const wchar_t* key) const { return Lookup(key) != nullptr; }
    bool SetAt(const wchar_t* key, VALUEARG value, bool overwrite = true) {
        return this->Store(
            CTextRule(key), [&] { return this->NewNode(key); }, value, overwrite);
    }
    /// A new entry shares the characters of `key` instead of copying them.
    bool SetAt(const KEY& key, VALUEARG value, bool overwrite = true) {
        const CTextRule rule(key);
        if (rule.GetLength() != key.GetLength()) {
            // A zero character ends a key.
            return SetAt(static_cast<const wchar_t*>(key), value, overwrite);
        }
        const auto make = [&] {
            auto* node = this->NewNode(nullptr);
            node->Key = key;
            return node;
        };
        return this->Store(rule, make, value, overwrite);
    }
    bool RemoveKey(const wchar_t* key) { return this->RemoveFound(CTextRule(key)); }

private:
    /// Compares lengths before characters: folding keeps the length, and most keys of one bucket
    /// differ in it.
    class CTextRule {
    public:
        explicit CTextRule(const wchar_t* key) : Key(VnTextKey::Make<CASE>(key)) {}
        uint32_t GetHash() const { return Key.Hash; }
        int32_t GetLength() const { return Key.Length; }
        bool Matches(const KEY& other) const {
            if (other.GetLength() != Key.Length) {
                return false;
            }
            const wchar_t* characters = other;
            if constexpr (CASE) {
                return std::wmemcmp(characters, Key.Text, static_cast<size_t>(Key.Length)) == 0;
            } else {
                return Fold.IsEqualKey(characters, Key.Text, Key.Length);
            }
        }

    private:
        VnTextKey Key;
        VnTextFolding Fold;
    };
};

template<typename MAP, typename KEY, bool CASE, typename VALUE, typename VALUEARG>
bool VnTextKeyMap<MAP, KEY, CASE, VALUE, VALUEARG>::KeysEqual(const wchar_t* a,
                                                              const wchar_t* b) const {
    const auto length = static_cast<int32_t>(std::wcslen(a == nullptr ? L"" : a));
    if (static_cast<int32_t>(std::wcslen(b == nullptr ? L"" : b)) != length) {
        return false;
    }
    return length == 0
           || (CASE ? std::wmemcmp(a, b, static_cast<size_t>(length)) == 0
                    : VnTextFolding().IsEqualKey(a, b, length));
}

/// Map from texts to values. CASE is the case sensitivity of the keys; a key keeps the spelling of
/// the write that made its entry.
template<typename KEY, bool CASE, typename VALUE, typename VALUEARG, bool RELEASE>
class VnStringMap : public VnTextKeyMap<VnMap<KEY, const wchar_t*, VALUE, VALUEARG, RELEASE>,
                                        KEY,
                                        CASE,
                                        VALUE,
                                        VALUEARG> {};

/// Set of texts.
template<typename KEY, bool CASE>
class VnStringUniqueList : public VnStringMap<KEY, CASE, int, int, false> {
public:
    /// Adds `text`; false when it is there already.
    bool Add(const wchar_t* text) { return this->SetAt(text, 0, /*overwrite=*/false); }
};
