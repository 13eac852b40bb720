#pragma once

#include "core/VnOwnedPtrMap.h"
#include "core/VnString.h"

#include <cstdint>

/// One album of a device that numbers its albums.
struct CAlbumItem {
    VnString First;
    VnString Second;
    VnString Third;
    VnString Fourth;
    int32_t AlbumId = 0;
    int32_t UseCount = 0;
};

/// The albums of a device by name, for drive classes that keep data per album. Owns its items; keys
/// are compared in any letter case.
class CAlbumMap : public VnStringToOwnedPtrMap<VnString, false, CAlbumItem> {
public:
    /// Counts one more use of an album and returns its id. A new album takes `id`, or for -1 the
    /// next automatic one; the first automatic id is 4501. Its use count starts at 1 for an
    /// automatic id and at 0 for a given one.
    int32_t AddAlbum(const VnString& first,
                     const VnString& second,
                     const VnString& third,
                     const VnString& fourth,
                     int32_t id);
    /// Counts one use less; an album without uses goes. False when there is no such album.
    bool ReleaseByKey(const VnString& key);
    bool ReleaseById(int32_t id);

    /// The second text followed by the third, or by the first when the third is empty. An empty
    /// first or second text counts as "Unknown Title".
    static VnString MakeKey(const VnString& first, const VnString& second, const VnString& third);

private:
    int32_t LastAlbumId = 4500;
};
