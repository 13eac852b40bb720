#include "drive/CAlbumMap.h"

#include <gtest/gtest.h>

namespace {

TEST(CAlbumMap, NumbersAlbumsAndCountsTheirUse) {
    CAlbumMap map;
    EXPECT_EQ(map.AddAlbum(L"Album", L"Artist", L"", L"", -1), 4501);
    EXPECT_EQ(map.AddAlbum(L"ALBUM", L"artist", L"", L"", -1), 4501);
    EXPECT_EQ(map.AddAlbum(L"Other", L"Artist", L"", L"", 5000), 5000);
    EXPECT_EQ(map.AddAlbum(L"Third", L"Artist", L"", L"", -1), 5001);
    EXPECT_EQ(map.AddAlbum(L"Low", L"Artist", L"", L"", 7), 7);
    EXPECT_EQ(map.AddAlbum(L"Next", L"Artist", L"", L"", -1), 5002);
    EXPECT_TRUE(map.ReleaseByKey(L"artistALBUM"));
    EXPECT_EQ(map.AddAlbum(L"Album", L"Artist", L"", L"", -1), 4501); // one use was left
    EXPECT_TRUE(map.ReleaseById(5000)); // a given id starts without a use
    EXPECT_FALSE(map.ReleaseById(5000));
    EXPECT_FALSE(map.ReleaseByKey(L"none"));
}

TEST(CAlbumMap, MakesKeys) {
    EXPECT_EQ(CAlbumMap::MakeKey(L"a", L"b", L""), L"ba");
    EXPECT_EQ(CAlbumMap::MakeKey(L"a", L"b", L"c"), L"bc");
    EXPECT_EQ(CAlbumMap::MakeKey(L"", L"", L""), L"Unknown TitleUnknown Title");
    EXPECT_EQ(CAlbumMap::MakeKey(L"", L"b", L"c"), L"bc");
}

} // namespace
