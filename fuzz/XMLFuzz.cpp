#include "text/VnXMLDocument.h"

#include "fuzz/FuzzText.h"

namespace {

/// Walks everything below the cursor's level without recursion, reading as it goes; the number of
/// elements.
int32_t Walk(VnXMLDocument& document) {
    int32_t count = 0;
    int32_t depth = 0;
    while (true) {
        if (document.FindElement()) {
            ++count;
            const int32_t element = document.GetMainPosition();
            int32_t start = 0;
            int32_t length = 0;
            int32_t contentStart = 0;
            int32_t contentLength = 0;
            Require(document.GetElementOffsets(start, length, contentStart, contentLength));
            Require(start >= 0 && length > 0 && start + length <= document.GetText().GetLength());
            Require(contentLength >= 0 && contentStart + contentLength <= start + length);
            Require(!document.GetTagName(element).IsEmpty());
            document.GetData(element);
            document.GetAttribute(element, document.GetAttributeName(0));
            if (document.IntoElement()) {
                ++depth;
            }
            continue;
        }
        if (depth == 0) {
            return count;
        }
        Require(document.OutOfElement());
        --depth;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    VnXMLDocument document;
    const bool wellFormed = document.SetDocument(text);
    Require(document.GetText() == text);
    // A stretch such as <!ENTITY> outside a declaration is ill-formed without a message.
    Require(!wellFormed || document.GetError().IsEmpty());
    const int32_t elements = Walk(document);
    if (!wellFormed) {
        return 0;
    }
    Require(elements > 0);
    // What is added to a well-formed document keeps it well-formed, and reads back.
    document.ResetPosition();
    Require(document.FindElement());
    Require(document.AddElement(L"Field", L"a & <b> \"c\"", VnXMLDocument::kInsertChild));
    Require(document.SetAttribute(document.GetChildPosition(), L"Name", L"\"x\" & 'y'"));
    const VnString changed = document.GetText();
    VnXMLDocument again;
    Require(again.SetDocument(changed));
    Require(Walk(again) == elements + 1);
    Require(again.GetText() == changed);
    return 0;
}
