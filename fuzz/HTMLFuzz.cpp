#include "text/CHTMLTree.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    CHTMLTree tree;
    Require(tree.Parse(text));
    Require(tree.GetVisibleText() == text); // every character stays in exactly one item
    tree.HideEmptyDivs();
    tree.GetDivContent(L"a");
    tree.RemoveDivs(L"a");
    Require(tree.GetVisibleText().GetLength() <= text.GetLength());
    return 0;
}
