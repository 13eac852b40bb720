#include "drive/CStoredRecords.h"
#include "text/VnXMLDocument.h"

#include "fuzz/FuzzText.h"

namespace {

/// The records of a document, as the reader of plain databases must give them.
void CompareWithDocument(const VnString& text, CDatabaseText& records) {
    VnXMLDocument document;
    Require(document.SetDocument(text) && document.FindElement(L"MPL") && document.IntoElement());
    for (int32_t i = 0; i < records.GetCount(); ++i) {
        Require(document.FindElement(L"Item"));
        VnString item = document.GetInnerText(document.GetMainPosition());
        item.Trim();
        Require(item == records.GetItemText(i));
    }
    Require(!document.FindElement());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" "
                                    "?>\r\n<MPL Version=\"2.0\">\r\n";
    VnBuffer bytes;
    bytes.Append(kHead, sizeof(kHead) - 1);
    bytes.Append(data, static_cast<int64_t>(size));
    bytes.Append("</MPL>", 6);
    CDatabaseText plain;
    if (plain.Open({reinterpret_cast<const char*>(bytes.GetData()),
                    static_cast<size_t>(bytes.GetSize())})) {
        CompareWithDocument(TextOf(bytes.GetData(), static_cast<size_t>(bytes.GetSize())), plain);
    }
    CStoredRecords stored;
    if (stored.Open(bytes)) {
        for (int32_t i = 0; i < stored.GetCount(); ++i) {
            Require(stored.Find(stored.GetKey(i)) == i);
        }
    }
    return 0;
}
