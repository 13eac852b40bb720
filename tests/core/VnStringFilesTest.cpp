#include "core/VnString.h"

#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <utility>

namespace {

constexpr const char* kAllForms = "a\r\n\u00E9\u20AC\U0001F600";

} // namespace

TEST(VnStringFiles, EveryEncodingHasItsBytes) {
    const std::string units("a\0\r\0\n\0\xE9\0\xAC\x20\x3D\xD8\x00\xDE", 14);
    const std::pair<int32_t, std::string> kCases[] = {
        {kEncodingBytes, "a\r\n\xE9??"},
        {kEncodingUTF8, kAllForms},
        {kEncodingUTF8Mark, std::string("\xEF\xBB\xBF") + kAllForms},
        {kEncodingUTF16, units},
        {kEncodingUTF16Mark, "\xFF\xFE" + units},
    };
    const TestFolder folder;
    const VnString path = ToText(folder / "text.txt");
    for (const auto& [encoding, bytes] : kCases) {
        EXPECT_TRUE(ToText(kAllForms).SaveToFile(path, encoding));
        EXPECT_EQ(folder.Read("text.txt"), bytes) << encoding;
    }
    for (const int32_t encoding : {0, 6, -1}) {
        EXPECT_FALSE(VnString(L"x").SaveToFile(path, encoding));
        EXPECT_EQ(folder.Read("text.txt"), kCases[4].second);
    }
    EXPECT_TRUE(VnString().SaveToFile(path, kEncodingUTF8));
    EXPECT_EQ(folder.Read("text.txt"), "");
}

TEST(VnStringFiles, PathsAreCleanedAndTheirFoldersMade) {
    const TestFolder folder;
    // A folder that is there keeps its name.
    std::filesystem::create_directory(folder / "card:1");
    const char* const rows[][2] = {
        {"new/deep?er/a:b*.txt", "new/deep_er/a_b_.txt"},
        {"card:1/sub:2/b.txt", "card:1/sub_2/b.txt"},
        {"card:1/.Database.mpl", "card:1/.Database.mpl"},
    };
    for (const auto& [path, file] : rows) {
        EXPECT_TRUE(ToText(file).SaveToFile(ToText(folder / path), kEncodingUTF8));
        EXPECT_EQ(folder.Read(file), file);
    }
}

TEST(VnStringFiles, FailuresAreReported) {
    const TestFolder folder;
    folder.Write("file", "x");
    for (const VnString& path :
         {VnString(), ToText(folder.Path().string()), ToText(folder / "file/below")}) {
        EXPECT_FALSE(VnString(L"x").SaveToFile(path, kEncodingUTF8)) << ToBytes(path);
    }
    EXPECT_FALSE(VnString(L"x").SaveToFile(nullptr, kEncodingUTF8));
    {
        const FileSizeLimit limit(2);
        EXPECT_FALSE(VnString(L"xyz").SaveToFile(ToText(folder / "limited"), kEncodingUTF8));
    }
    VnString text(L"old");
    EXPECT_FALSE(text.LoadFromFile(ToText(folder / "missing")));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(VnStringFiles, FilesAreReadByEncoding) {
    const std::tuple<std::string, int32_t, bool, VnString> kCases[] = {
        {"", kEncodingUTF8, false, L""},
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
    for (const auto& [bytes, encoding, dropZeros, expected] : kCases) {
        const VnString path = ToText(folder.Write("text.txt", bytes));
        VnString text(L"old");
        EXPECT_TRUE(text.LoadFromFile(path, encoding, dropZeros));
        EXPECT_TRUE(text == expected) << bytes << " became " << ToBytes(text);
    }
    VnString text(L"old");
    EXPECT_TRUE(text.LoadFromFile(nullptr));
    EXPECT_TRUE(text.IsEmpty());
    text = ToText(folder.Write("own", "itself"));
    EXPECT_TRUE(text.LoadFromFile(text));
    EXPECT_EQ(text, L"itself");
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
}
