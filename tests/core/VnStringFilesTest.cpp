#include "core/VnString.h"

#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

constexpr const char* kAllForms = "a\r\n\u00E9\u20AC\U0001F600";

} // namespace

TEST(VnStringFiles, EveryEncodingHasItsBytes) {
    struct SaveCase {
        int32_t Encoding;
        std::string Bytes;
    };
    const SaveCase kCases[] = {
        {kEncodingBytes, "a\r\n\xE9?"
                         "?"},
        {kEncodingUTF8, kAllForms},
        {kEncodingUTF8Mark, std::string("\xEF\xBB\xBF") + kAllForms},
        {kEncodingUTF16, std::string("a\0\r\0\n\0\xE9\0\xAC\x20\x3D\xD8\x00\xDE", 14)},
        {kEncodingUTF16Mark, std::string("\xFF\xFE"
                                         "a\0\r\0\n\0\xE9\0\xAC\x20\x3D\xD8\x00\xDE",
                                         16)},
    };
    const TestFolder folder;
    const VnString path = ToText(folder / "text.txt");
    for (const SaveCase& save : kCases) {
        EXPECT_TRUE(ToText(kAllForms).SaveToFile(path, save.Encoding));
        EXPECT_EQ(folder.Read("text.txt"), save.Bytes) << save.Encoding;
    }
    for (const int32_t encoding : {0, 6, -1}) {
        EXPECT_FALSE(VnString(L"x").SaveToFile(path, encoding));
        EXPECT_EQ(folder.Read("text.txt"), kCases[4].Bytes);
    }
    EXPECT_TRUE(VnString().SaveToFile(path, kEncodingUTF8));
    EXPECT_EQ(folder.Read("text.txt"), "");
}

TEST(VnStringFiles, PathsAreCleanedAndTheirFoldersMade) {
    const TestFolder folder;
    EXPECT_TRUE(VnString(L"x").SaveToFile(ToText(folder / "new/deep?er/a:b*.txt"), kEncodingUTF8));
    EXPECT_EQ(folder.Read("new/deep_er/a_b_.txt"), "x");
    // A folder that is there keeps its name.
    std::filesystem::create_directory(folder / "card:1");
    EXPECT_TRUE(VnString(L"y").SaveToFile(ToText(folder / "card:1/sub:2/b.txt"), kEncodingUTF8));
    EXPECT_EQ(folder.Read("card:1/sub_2/b.txt"), "y");
    EXPECT_TRUE(VnString(L"z").SaveToFile(ToText(folder / "card:1/.Database.mpl"), kEncodingUTF8));
    EXPECT_EQ(folder.Read("card:1/.Database.mpl"), "z");
}

TEST(VnStringFiles, FailuresAreReported) {
    const TestFolder folder;
    EXPECT_FALSE(VnString(L"x").SaveToFile(nullptr, kEncodingUTF8));
    EXPECT_FALSE(VnString(L"x").SaveToFile(L"", kEncodingUTF8));
    EXPECT_FALSE(VnString(L"x").SaveToFile(ToText(folder.Path().string()), kEncodingUTF8));
    folder.Write("file", "x");
    EXPECT_FALSE(VnString(L"x").SaveToFile(ToText(folder / "file/below"), kEncodingUTF8));
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_FALSE(VnString(L"x").SaveToFile(L"/dev/full", kEncodingUTF8));
    }
    VnString text(L"old");
    EXPECT_FALSE(text.LoadFromFile(ToText(folder / "missing")));
    EXPECT_EQ(ToBytes(text), "");
}

TEST(VnStringFiles, FilesAreReadByEncoding) {
    struct LoadCase {
        std::string Bytes;
        int32_t Encoding;
        bool DropZeros;
        VnString Text;
    };
    const LoadCase kCases[] = {
        {"", kEncodingDetect, false, L""},
        {"plain", kEncodingDetect, false, L"plain"},
        {"\xC3\xA9", kEncodingDetect, false, L"\u00E9"},
        {"\xE9", kEncodingDetect, false, L"\u00E9"},
        {"\xC3\xA9", kEncodingBytes, false, L"\u00C3\u00A9"},
        {std::string("\xFF\xFE\xE9\0", 4), kEncodingDetect, false, L"\u00E9"},
        {std::string("a\0b", 3), kEncodingBytes, true, L"ab"},
        {std::string("a\0b", 3), kEncodingUTF8, true, L"ab"},
        {std::string("a\0b", 3), kEncodingUTF8, false, L"a"},
        {"\xEF\xBB\xBFx", kEncodingUTF8Mark, false, L"x"},
        // Nothing is lost when UTF-8 is asked for.
        {"\xF0\x9F\x98\x80", kEncodingUTF8, false, L"\U0001F600"},
        {"a\xE9", kEncodingUTF8, false, VnString(L"a") + static_cast<wchar_t>(0xDCE9)},
    };
    const TestFolder folder;
    for (const LoadCase& load : kCases) {
        const VnString path = ToText(folder.Write("text.txt", load.Bytes));
        VnString text(L"old");
        EXPECT_TRUE(text.LoadFromFile(path, load.Encoding, load.DropZeros));
        EXPECT_TRUE(text == load.Text) << load.Bytes << " became " << ToBytes(text);
    }
    VnString text(L"old");
    EXPECT_TRUE(text.LoadFromFile(nullptr));
    EXPECT_EQ(ToBytes(text), "");
    text = ToText(folder.Write("own", "itself"));
    EXPECT_TRUE(text.LoadFromFile(text));
    EXPECT_EQ(ToBytes(text), "itself");
    // A byte that was no UTF-8 means something in a name only.
    EXPECT_TRUE((VnString(L"a") + static_cast<wchar_t>(0xDCE9))
                    .SaveToFile(ToText(folder / "raw"), kEncodingUTF8));
    EXPECT_EQ(folder.Read("raw"), "a?");
}

TEST(VnStringFiles, DocumentsLoadAndSave) {
    const TestFolder folder;
    const VnString path =
        ToText(folder.Write("a.xml", "<?xml version=\"1.0\"?>\r\n<a>\U0001F600</a>"));
    VnXMLDocument document;
    EXPECT_TRUE(document.Load(path));
    EXPECT_EQ(ToBytes(document.GetDataAt(L"a")), "\U0001F600");
    EXPECT_EQ(ToBytes(document.GetError()), "");
    EXPECT_TRUE(document.AddElement(L"b"));
    EXPECT_TRUE(document.Save(ToText(folder / "new/b.xml")));
    EXPECT_EQ(folder.Read("new/b.xml"), "<?xml version=\"1.0\"?>\r\n<a>\U0001F600</a><b/>\r\n");
    EXPECT_FALSE(document.Load(ToText(folder / "new/b.xml")));
    EXPECT_EQ(ToBytes(document.GetError()), "Root element has sibling");
    EXPECT_TRUE(document.FindElement(L"b"));
    EXPECT_FALSE(document.Load(ToText(folder / "none.xml")));
    EXPECT_EQ(ToBytes(document.GetError()), "");
    EXPECT_FALSE(document.FindElement());
    EXPECT_FALSE(document.Load(ToText(folder.Write("empty", ""))));
    EXPECT_EQ(ToBytes(document.GetError()), "Empty document");
}
