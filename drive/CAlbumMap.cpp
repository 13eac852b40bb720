#include "drive/CAlbumMap.h"

#include <algorithm>
#include <memory>

namespace {

const wchar_t* TitleOrUnknown(const VnString& title) {
    return title.IsEmpty() ? L"Unknown Title" : title.GetText();
}

} // namespace

VnString CAlbumMap::MakeKey(const VnString& first, const VnString& second, const VnString& third) {
    VnString key(TitleOrUnknown(second));
    key += third.IsEmpty() ? TitleOrUnknown(first) : third.GetText();
    return key;
}

int32_t CAlbumMap::AddAlbum(const VnString& first,
                            const VnString& second,
                            const VnString& third,
                            const VnString& fourth,
                            int32_t id) {
    const VnString key = MakeKey(first, second, third);
    if (CAlbumItem** known = Lookup(key); known != nullptr) {
        ++(*known)->UseCount;
        return (*known)->AlbumId;
    }
    const bool automatic = id == -1;
    LastAlbumId = automatic ? LastAlbumId + 1 : std::max(LastAlbumId, id);
    auto item = std::make_unique<CAlbumItem>();
    item->First = first;
    item->Second = second;
    item->Third = third;
    item->Fourth = fourth;
    item->AlbumId = automatic ? LastAlbumId : id;
    item->UseCount = automatic ? 1 : 0;
    const int32_t result = item->AlbumId;
    SetAt(key, item.release());
    return result;
}

bool CAlbumMap::ReleaseByKey(const VnString& key) {
    CAlbumItem** item = Lookup(key);
    if (item == nullptr) {
        return false;
    }
    if (--(*item)->UseCount <= 0) {
        RemoveKey(key);
    }
    return true;
}

bool CAlbumMap::ReleaseById(int32_t id) {
    for (auto cursor = GetFirst(); cursor.Item != nullptr; GetNext(cursor)) {
        if (cursor.Item->Value->AlbumId == id) {
            return ReleaseByKey(VnString(cursor.Item->Key));
        }
    }
    return false;
}
