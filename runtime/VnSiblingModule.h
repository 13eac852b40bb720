#pragma once

#include <cstdint>

/// The modules of the family, in the order of the table that holds them.
enum class VnSiblingModule : int32_t {
    Tools = 0,      ///< libVnTools.so
    Image = 1,      ///< libVnImage.so
    Reader = 2,     ///< libVnReader.so
    Disc = 3,       ///< libVnDisc.so
    Player = 4,     ///< libVnPlayer.so
    WMFactory = 5,  ///< libVnWMFactory.so
    Television = 6, ///< libVnTelevision.so
};
