#include "core/VnString.h"
#include "text/VnXMLDocument.h"

#include <expat.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <pugixml.hpp>

#include <cstdint>
#include <string>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

// Parsing of a device database, beside the parsers that are known for it. All of them start at a
// text in memory, in the form that they take, and end with everything freed again.

namespace {

constexpr int32_t kFieldsPerRecord = 3;

/// A device database of so many records, as UTF-8.
std::string MakeDatabase(int64_t records) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<MPL Version=\"2.0\">\r\n";
    for (int64_t record = 0; record < records; ++record) {
        const std::string number = std::to_string(record);
        text += "<Item>\r\n<Field Name=\"Filename\">/media/user/CARD/Music/Artist " + number
                + "/Track " + number + ".mp3</Field>\r\n<Field Name=\"Name\">A &amp; title "
                + number + "</Field>\r\n<Field Name=\"Artist\">Somebody</Field>\r\n</Item>\r\n";
    }
    return text + "</MPL>";
}

/// Counts the elements, which is the least that a reader of events can do with them.
int64_t CountByExpat(const std::string& bytes) {
    int64_t elements = 0;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &elements);
    XML_SetStartElementHandler(parser, [](void* count, const XML_Char*, const XML_Char**) {
        ++*static_cast<int64_t*>(count);
    });
    const XML_Status status =
        XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), /*isFinal=*/1);
    XML_ParserFree(parser);
    return status == XML_STATUS_OK ? elements : -1;
}

xmlDoc* ReadByLibxml(const std::string& bytes) {
    return xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                         XML_PARSE_HUGE);
}

int64_t CountElements(const xmlNode* node) {
    int64_t count = 0;
    for (; node != nullptr; node = node->next) {
        count += node->type == XML_ELEMENT_NODE ? 1 + CountElements(node->children) : 0;
    }
    return count;
}

int64_t CountElements(const pugi::xml_node& node) {
    int64_t count = 0;
    for (const pugi::xml_node& child : node.children()) {
        count += child.type() == pugi::node_element ? 1 + CountElements(child) : 0;
    }
    return count;
}

/// Walks all records as the loader of the database does; the result is their number.
int64_t WalkRecords(VnXMLDocument& document) {
    int64_t records = 0;
    int64_t fields = 0;
    document.ResetPosition();
    document.FindElement(L"MPL");
    document.IntoElement();
    while (document.FindElement(L"Item")) {
        ++records;
        while (document.FindChildElement(L"Field")) {
            const int32_t field = document.GetChildPosition();
            fields += !document.GetAttribute(field, L"Name").IsEmpty()
                              && !document.GetData(field).IsEmpty()
                          ? 1
                          : 0;
        }
    }
    return fields == records * kFieldsPerRecord ? records : -1;
}

int64_t WalkRecords(const xmlDoc* document) {
    int64_t records = 0;
    int64_t fields = 0;
    for (xmlNode* item = xmlDocGetRootElement(document)->children; item != nullptr;
         item = item->next) {
        if (item->type != XML_ELEMENT_NODE) {
            continue;
        }
        ++records;
        for (xmlNode* field = item->children; field != nullptr; field = field->next) {
            if (field->type == XML_ELEMENT_NODE) {
                xmlChar* const name = xmlGetProp(field, BAD_CAST "Name");
                xmlChar* const value = xmlNodeGetContent(field);
                fields += *name != 0 && *value != 0 ? 1 : 0;
                xmlFree(name);
                xmlFree(value);
            }
        }
    }
    return fields == records * kFieldsPerRecord ? records : -1;
}

void CompareParsers(BenchPairTable& table, const std::string& bytes, int64_t records) {
    const VnString text = VnString::FromUTF8(bytes.data(), static_cast<int64_t>(bytes.size()));
    const int64_t elements = 1 + records * (1 + kFieldsPerRecord);
    VnXMLDocument ours(text);
    pugi::xml_document pugiDocument;
    pugiDocument.load_buffer(bytes.data(), bytes.size(), pugi::parse_default, pugi::encoding_utf8);
    xmlDoc* const xmlDocument = ReadByLibxml(bytes);
    Require(ours.IsWellFormed() && WalkRecords(ours) == records
                && CountElements(pugiDocument) == elements
                && CountElements(xmlDocGetRootElement(xmlDocument)) == elements
                && WalkRecords(xmlDocument) == records && CountByExpat(bytes) == elements,
            "the documents differ");
    table.Compare(
        "parse", 1,
        [&] {
            VnXMLDocument document;
            return int64_t{document.SetDocument(text) && document.FindElement(L"/MPL/Item")};
        },
        {{"pugixml",
          [&] {
              pugi::xml_document document;
              const bool read = document.load_buffer(bytes.data(), bytes.size(),
                                                     pugi::parse_default, pugi::encoding_utf8);
              return int64_t{read && document.child("MPL").child("Item")};
          },
          2.0},
         {"expat, counting only", [&] { return int64_t{CountByExpat(bytes) == elements}; },
          BenchPairTable::kAhead},
         {"libxml2",
          [&] {
              xmlDoc* const document = ReadByLibxml(bytes);
              const bool read = xmlDocGetRootElement(document) != nullptr;
              xmlFreeDoc(document);
              return int64_t{read};
          },
          BenchPairTable::kAhead}});
    table.Compare("read names and values of all fields", records, [&] { return WalkRecords(ours); },
                  {{"libxml2", [&] { return WalkRecords(xmlDocument); }, 0}});
    xmlFreeDoc(xmlDocument);
}

} // namespace

int main(int count, char** arguments) {
    const int64_t records = GetArgument(count, arguments, "--records", 100000);
    BenchPairTable table("Database of " + std::to_string(records) + " records",
                         GetArgument(count, arguments, "--rounds", 9));
    CompareParsers(table, MakeDatabase(records), records);
    xmlCleanupParser();
    return table.GetExitCode();
}
