#include "core/VnString.h"
#include "text/CHTMLTree.h"
#include "text/CParseJSON.h"

#include <gumbo.h>
#include <libxml/HTMLparser.h>
#include <nlohmann/json.hpp>

#include <string>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

// Trees of JSON and HTML texts of a megabyte, from the text to the last node freed. The peers read
// the same text as UTF-8, which is the form they take.

namespace {

constexpr size_t kSize = 1000000;

std::string MakeJSON(int64_t& records) {
    std::string text = "{\"items\": [\n";
    records = 0;
    while (text.size() < kSize) {
        const std::string number = std::to_string(records);
        text += (records > 0 ? ",\n" : "") + std::string("  {\"id\": ") + number
                + ", \"title\": \"A \\\"title\\\" " + number
                + "\", \"artist\": \"Somebody\", \"rating\": 4.5, \"tags\": [\"rock\", \"live\"], "
                  "\"file\": {\"path\": \"/media/user/CARD/Music/Track "
                + number + ".mp3\", \"size\": 4500000, \"hidden\": false}}";
        ++records;
    }
    return text + "\n]}";
}

std::string MakeHTML(int64_t& rows) {
    std::string text = "<!DOCTYPE html>\n<html><head><title>Music</title></head><body>\n"
                       "<div id=\"content\" class=\"wide list\"><table>\n";
    rows = 0;
    while (text.size() < kSize) {
        const std::string number = std::to_string(rows);
        text += "<tr><td>" + number + "</td><td><a href=\"/track/" + number
                + "\">A title &amp; more</a> by <b>Somebody</b></td><td><div class=\"cover\">"
                  "<img src=\"/cover/"
                + number + ".jpg\"></div></td></tr>\n";
        ++rows;
    }
    return text + "</table></div>\n<!-- end -->\n</body></html>\n";
}

int64_t CountRows(CHTMLTree& tree) {
    CHTMLTree::CItemArray items;
    tree.FindItems(CHTMLTree::kRow, nullptr, false, items);
    return items.GetCount();
}

int64_t CountRows(const xmlNode* node) {
    int64_t count = 0;
    for (; node != nullptr; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            count += xmlStrEqual(node->name, BAD_CAST "tr") != 0 ? 1 : 0;
            count += CountRows(node->children);
        }
    }
    return count;
}

int64_t CountRows(const GumboNode* node) {
    if (node->type != GUMBO_NODE_ELEMENT) {
        return 0;
    }
    int64_t count = node->v.element.tag == GUMBO_TAG_TR ? 1 : 0;
    for (unsigned index = 0; index < node->v.element.children.length; ++index) {
        count += CountRows(static_cast<const GumboNode*>(node->v.element.children.data[index]));
    }
    return count;
}

void CompareJSON(BenchPairTable& table) {
    int64_t records = 0;
    const std::string bytes = MakeJSON(records);
    const VnString text = VnString::FromUTF8(bytes.data(), static_cast<int64_t>(bytes.size()));
    const std::string last = std::to_string(records - 1);
    CParseJSON ours;
    ours.Parse(text);
    const nlohmann::json theirs = nlohmann::json::parse(bytes);
    VnString path;
    path.Format(L"items\\%d\\file\\path", records - 1);
    const std::string wanted = theirs["items"].back()["file"]["path"];
    Require(ours.GetNode(L"items")->GetChildCount() == records
                && static_cast<int64_t>(theirs["items"].size()) == records
                && ours.GetValueAt(path) == VnString::FromUTF8(wanted.c_str()),
            "the JSON trees differ");
    table.Compare("JSON tree", records,
                  [&] {
                      CParseJSON tree;
                      tree.Parse(text);
                      return int64_t{tree.GetNode(L"items")->GetChildCount()};
                  },
                  {{"nlohmann::json",
                    [&] {
                        const nlohmann::json tree = nlohmann::json::parse(bytes);
                        return static_cast<int64_t>(tree["items"].size());
                    },
                    BenchPairTable::kAhead}});
}

void CompareHTML(BenchPairTable& table) {
    constexpr int kOptions = HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING;
    int64_t rows = 0;
    const std::string bytes = MakeHTML(rows);
    const VnString text = VnString::FromUTF8(bytes.data(), static_cast<int64_t>(bytes.size()));
    const auto parse = [&] {
        return htmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, "UTF-8",
                              kOptions);
    };
    CHTMLTree ours;
    ours.Parse(text);
    xmlDoc* const document = parse();
    GumboOutput* const output =
        gumbo_parse_with_options(&kGumboDefaultOptions, bytes.data(), bytes.size());
    Require(CountRows(ours) == rows && ours.GetVisibleText() == text
                && CountRows(xmlDocGetRootElement(document)) == rows
                && CountRows(output->root) == rows,
            "the HTML trees differ");
    xmlFreeDoc(document);
    gumbo_destroy_output(&kGumboDefaultOptions, output);
    table.Compare("HTML tree", 1,
                  [&] {
                      CHTMLTree tree;
                      tree.Parse(text);
                      return int64_t{tree.GetRoot()->GetChildCount() > 0};
                  },
                  {{"libxml2",
                    [&] {
                        xmlDoc* const tree = parse();
                        const bool filled = xmlDocGetRootElement(tree) != nullptr;
                        xmlFreeDoc(tree);
                        return int64_t{filled};
                    },
                    BenchPairTable::kAhead},
                   {"gumbo",
                    [&] {
                        GumboOutput* const tree = gumbo_parse_with_options(
                            &kGumboDefaultOptions, bytes.data(), bytes.size());
                        const bool filled = tree->root != nullptr;
                        gumbo_destroy_output(&kGumboDefaultOptions, tree);
                        return int64_t{filled};
                    },
                    BenchPairTable::kAhead}});
}

} // namespace

int main(int count, char** arguments) {
    BenchPairTable table("Trees of 1 MB", GetArgument(count, arguments, "--rounds", 15));
    CompareJSON(table);
    CompareHTML(table);
    xmlCleanupParser();
    return table.GetExitCode();
}
