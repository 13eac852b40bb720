#include "data/CFileLoader.h"

#include "files/VnFilename.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"
#include "text/CHTMLTree.h"
#include "text/CParseJSON.h"

#include <gtest/gtest.h>

TEST(CFileLoaderDocuments, JSONAndHTMLComeAsTheyAreAndEmptyAfterAFailure) {
    const TestFolder folder;
    const VnFilename missing(ToText(folder / "missing"));
    CFileLoader loader;
    CParseJSON json;
    EXPECT_TRUE(
        loader.LoadToJSON(VnFilename(ToText(folder.Write("a.json", R"({"a":"x<br>y"})"))), json));
    EXPECT_EQ(ToBytes(json.GetValueAt(L"a")), "x<br>y");
    EXPECT_FALSE(loader.LoadToJSON(missing, json));
    EXPECT_EQ(ToBytes(json.GetValueAt(L"a")), "");
    CHTMLTree html;
    const std::string text = "a<div id=\"b\">\xC3\xA9<br></div>";
    EXPECT_TRUE(loader.LoadToHTML(VnFilename(ToText(folder.Write("a.html", text))), html));
    EXPECT_EQ(ToBytes(html.GetVisibleText()), text);
    EXPECT_FALSE(loader.LoadToHTML(missing, html));
    EXPECT_EQ(ToBytes(html.GetVisibleText()), "");
}
