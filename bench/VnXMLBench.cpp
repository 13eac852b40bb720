#include "core/VnString.h"
#include "text/VnXMLDocument.h"

#include <benchmark/benchmark.h>

#include <expat.h>
#include <pugixml.hpp>

#include <cstdint>
#include <string>

// Parsing of a device database, beside two parsers that are known to be fast, and building of one.
// Each run checks what it did before its time counts.

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

int64_t CountElements(int64_t records) {
    return 1 + records * (1 + kFieldsPerRecord);
}

void ParseDatabase(benchmark::State& state) {
    const std::string bytes = MakeDatabase(state.range(0));
    const VnString text = VnString::FromUTF8(bytes.data(), static_cast<int64_t>(bytes.size()));
    for (auto _ : state) {
        VnXMLDocument document;
        if (!document.SetDocument(text) || !document.FindElement(L"/MPL/Item")) {
            state.SkipWithError("not parsed");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

void ParseDatabaseWithExpat(benchmark::State& state) {
    const std::string bytes = MakeDatabase(state.range(0));
    for (auto _ : state) {
        int64_t elements = 0;
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetUserData(parser, &elements);
        XML_SetStartElementHandler(parser, [](void* count, const XML_Char*, const XML_Char**) {
            ++*static_cast<int64_t*>(count);
        });
        XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), 1);
        XML_ParserFree(parser);
        if (elements != CountElements(state.range(0))) {
            state.SkipWithError("not parsed");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

void ParseDatabaseWithPugixml(benchmark::State& state) {
    const std::string bytes = MakeDatabase(state.range(0));
    for (auto _ : state) {
        pugi::xml_document document;
        if (!document.load_buffer(bytes.data(), bytes.size(), pugi::parse_default,
                                  pugi::encoding_utf8)) {
            state.SkipWithError("not parsed");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

/// Walks all records as the loader of the database does.
void WalkDatabase(benchmark::State& state) {
    const std::string bytes = MakeDatabase(state.range(0));
    VnXMLDocument document(VnString::FromUTF8(bytes.data(), static_cast<int64_t>(bytes.size())));
    for (auto _ : state) {
        int64_t records = 0;
        document.ResetPosition();
        document.FindElement(L"MPL");
        while (document.FindChildElement(L"Item")) {
            benchmark::DoNotOptimize(document.GetInnerText(document.GetChildPosition()));
            ++records;
        }
        if (records != state.range(0)) {
            state.SkipWithError("records are missing");
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// The time per element must not grow with their number.
void AppendElements(benchmark::State& state) {
    for (auto _ : state) {
        VnXMLDocument document;
        document.AddElement(L"MPL");
        for (int64_t count = 0; count < state.range(0); ++count) {
            document.AddElement(L"Field", L"some value", VnXMLDocument::kInsertChild);
        }
        if (!document.IsWellFormed()) {
            state.SkipWithError("not built");
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

} // namespace

BENCHMARK(ParseDatabase)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(ParseDatabaseWithExpat)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(ParseDatabaseWithPugixml)->Arg(1000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkDatabase)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(AppendElements)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
