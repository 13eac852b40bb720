#include "files/VnResourceFiles.h"

#include "files/VnFileSystem.h"
#include "runtime/CProcessInfo.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

class VnResourceFiles : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(VnGetToolsRoot(), nullptr);
        setenv("LC_ALL", "C", 1);
        CProcessInfo* process = CProcessInfo::GetInstance();
        ASSERT_NE(process, nullptr);
        OldDataPath = process->GetDataPath();
        process->SetDataPath(ToText(Folder.Path().string() + "/"));
        Custom = ToBytes(VnFileSystem::GetDirectoryUser() + L"Data/");
        Default = Folder / "Data/";
    }

    void TearDown() override {
        CProcessInfo::GetInstance()->SetDataPath(OldDataPath);
        std::filesystem::remove_all(Custom);
    }

    static std::string Make(const std::string& path) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path) << "x";
        return path;
    }

    static std::string Find(const char* name, int32_t kind) {
        VnString text = ToText(name);
        return ToBytes(FindResourceFile(text, static_cast<VnResourceKind>(kind)));
    }

    TestFolder Folder;
    VnString OldDataPath;
    std::string Custom;  ///< ends in "/"
    std::string Default; ///< ends in "/"
};

TEST_F(VnResourceFiles, EachKindHasItsFolders) {
    struct Folders {
        const char* CustomFolder;
        const char* DefaultFolder;
        int32_t Both;
        int32_t DefaultOnly;
        int32_t CustomOnly;
    };
    for (const Folders& row :
         {Folders{"Custom Resources/", "Default Resources/", 0, 1, 2},
          Folders{"Custom Art/", "Default Art/", 3, 4, 5},
          Folders{"Custom Webpages/English/", "Default Webpages/English/", 6, 7, 8}}) {
        SCOPED_TRACE(row.CustomFolder);
        const std::string byDefault = Make(Default + row.DefaultFolder + "a.txt");
        EXPECT_EQ(Find("a.txt", row.Both), byDefault);
        EXPECT_EQ(Find("a.txt", row.DefaultOnly), byDefault);
        EXPECT_EQ(Find("a.txt", row.CustomOnly), "");
        const std::string custom = Make(Custom + row.CustomFolder + "a.txt");
        EXPECT_EQ(Find("a.txt", row.Both), custom);
        EXPECT_EQ(Find("a.txt", row.DefaultOnly), byDefault);
        EXPECT_EQ(Find("a.txt", row.CustomOnly), custom);
        EXPECT_EQ(Find("b.txt", row.Both), "");
    }
    EXPECT_EQ(Find("a.txt", 9), "");
    EXPECT_EQ(Find("a.txt", -1), "");
}

TEST_F(VnResourceFiles, PagesComeInTheLanguageOfTheUserWhereThatHasAFolder) {
    const std::string english = Make(Default + "Default Webpages/English/p.htm");
    setenv("LANGUAGE", "de", 1);
    EXPECT_EQ(Find("p.htm", 7), english);
    const std::string german = Make(Default + "Default Webpages/German/p.htm");
    EXPECT_EQ(Find("p.htm", 7), german);
    EXPECT_EQ(Find("p.htm", 6), german);
    const std::string image = Make(Default + "Default Art/i - German.png");
    EXPECT_EQ(Find("image:i", 3), image);
    unsetenv("LANGUAGE");
    EXPECT_EQ(Find("p.htm", 7), english);
}

TEST_F(VnResourceFiles, ImagesAreFoundByExtensionAndLanguage) {
    const std::string folder = Default + "Default Art/";
    const std::string tif = Make(folder + "i.tif");
    VnString name = L"image:i";
    EXPECT_EQ(ToBytes(FindResourceFile(name, ResourceArt)), tif);
    EXPECT_EQ(ToBytes(name), "i");
    EXPECT_EQ(Find("Image:i", 3), "");
    const std::string jpg = Make(folder + "i - English.jpg");
    EXPECT_EQ(Find("image:i", 3), jpg);
    const std::string png = Make(folder + "i.png");
    EXPECT_EQ(Find("image:i", 3), png);
    const std::string variant = Make(folder + "i - English.png");
    EXPECT_EQ(Find("image:i", 3), variant);
    const std::string custom = Make(Custom + "Custom Art/i.bmp");
    EXPECT_EQ(Find("image:i", 3), custom);
    EXPECT_EQ(Find("image:i", 4), variant);
    const std::string page = Make(Default + "Default Webpages/English/w.png");
    EXPECT_EQ(Find("image:w", 6), page) << "looked for in both folders";
}

} // namespace
