#include "data/CFileLoader.h"

#include "data/VnOrderedPropertyMap.h"
#include "files/VnFilename.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"
#include "text/CHTMLTree.h"
#include "text/CParseJSON.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string Bytes(const VnBuffer& buffer) {
    return buffer.GetSize() < 1 ? std::string()
                                : std::string(reinterpret_cast<const char*>(buffer.GetData()),
                                              static_cast<size_t>(buffer.GetSize()));
}

class Sink final : public IFileLoaderProgress {
public:
    bool IsCancelled() override {
        std::this_thread::sleep_for(Delay);
        return ++Polls >= CancelAt;
    }
    void SetProgress(float fraction) override { Fractions.push_back(fraction); }
    int Polls = 0;
    int CancelAt = 1000;
    std::chrono::milliseconds Delay{0}; ///< a slow reader, seen from here
    std::vector<float> Fractions;
};

class Checker final : public IFileLoaderContentCheck {
public:
    bool CheckContent(const VnBuffer& buffer, int32_t parameter) override {
        Seen.push_back(std::to_string(buffer.GetSize()) + "/" + std::to_string(parameter));
        return Accept;
    }
    bool Accept = true;
    std::vector<std::string> Seen;
};

/// The request properties of a loader by the keys that the system knows, one a line.
std::string Request(const CFileLoader& loader) {
    std::string text;
    for (const wchar_t* key :
         {L"HTTPREQUEST_TYPE", L"INFO_HEADERS", L"USE_CACHE", L"RANGE_START", L"MyKey"}) {
        const VnString value = loader.GetProperty(key);
        text += value.IsEmpty() ? "" : ToBytes(key) + "=" + ToBytes(value) + ";";
    }
    return text;
}

struct RequestCase {
    const char* What;
    std::function<bool(CFileLoader&)> Set;
    const char* After;
};

VnStringArray List(std::initializer_list<const wchar_t*> texts) {
    VnStringArray list;
    for (const wchar_t* text : texts) {
        list.Add(text);
    }
    return list;
}

const RequestCase kRequests[] = {
    {"a property in two cases",
     [](CFileLoader& loader) {
         return loader.SetProperty(L"MyKey", L"1") && loader.SetProperty(L"MYKEY", L"2");
     },
     "MyKey=2;"},
    {"a GET without headers",
     [](CFileLoader& loader) { return loader.SetRequest(nullptr, nullptr, 0, false); },
     "INFO_HEADERS=Accept-Encoding: gzip;"},
    {"a body makes a POST",
     [](CFileLoader& loader) { return loader.SetRequest(nullptr, "x", 1, true); },
     "HTTPREQUEST_TYPE=POST;INFO_HEADERS=Content-Type: text/xml\nAccept-Encoding: gzip;"},
    {"a size of 0 is no body",
     [](CFileLoader& loader) { return loader.SetRequest(nullptr, "x", 0, true); },
     "INFO_HEADERS=Accept-Encoding: gzip;"},
    {"own verb and headers",
     [](CFileLoader& loader) {
         const VnStringArray list = List({L"httprequest_type", L"PATCH", L"INFO_HEADERS", L"A: b"});
         return loader.SetRequest(&list, "x", 1, false);
     },
     "HTTPREQUEST_TYPE=PATCH;INFO_HEADERS=A: b;"},
    {"headers without empty lines and duplicates",
     [](CFileLoader& loader) {
         return loader.SetHeaders(List({L"A: 1", L"", L"a: 1", L"B: 2"}), false)
                && loader.AddInfoHeader(L"C", L"3");
     },
     "INFO_HEADERS=A: 1\nB: 2\nC: 3;"},
    {"no headers at all",
     [](CFileLoader& loader) { return loader.SetHeaders(VnStringArray(), false); }, ""},
    {"data",
     [](CFileLoader& loader) { return loader.SendData("abc", 3, L"image/png", L"PUT", true); },
     "HTTPREQUEST_TYPE=PUT;INFO_HEADERS=Content-Type: image/png; charset=UTF-8\r\nAccept-Encoding: "
     "gzip\r\nContent-length: 3;"},
    {"a document", [](CFileLoader& loader) { return loader.PostXML(L"<\u00fc/>"); },
     "HTTPREQUEST_TYPE=POST;INFO_HEADERS=Content-Type: text/xml; charset=UTF-8\r\nAccept-Encoding: "
     "gzip\r\nContent-length: 5;"},
    {"a document to put", [](CFileLoader& loader) { return loader.PutXML(L"<a/>"); },
     "HTTPREQUEST_TYPE=PUT;INFO_HEADERS=Content-Type: text/xml; charset=UTF-8\r\nAccept-Encoding: "
     "gzip\r\nContent-length: 4;"},
    {"JSON", [](CFileLoader& loader) { return loader.PostJSON(L"{}"); },
     "HTTPREQUEST_TYPE=POST;INFO_HEADERS=Content-Type: application/json; charset=UTF-8\r\nAccept-Encoding: "
     "gzip\r\nContent-length: 2;"},
    {"bytes to put", [](CFileLoader& loader) { return loader.PutData("x", 1); },
     "HTTPREQUEST_TYPE=PUT;"},
    {"an ordered map",
     [](CFileLoader& loader) {
         VnOrderedPropertyMap map;
         map.SetString(L"MyKey", L"v");
         return loader.SetProperty(L"USE_CACHE", L"1") && loader.SetRequestProperties(map);
     },
     "MyKey=v;"},
};

} // namespace

TEST(CFileLoaderRequest, IsSetUpByEveryWay) {
    for (const RequestCase& request : kRequests) {
        SCOPED_TRACE(request.What);
        CFileLoader loader;
        EXPECT_TRUE(request.Set(loader));
        EXPECT_EQ(Request(loader), request.After);
    }
    CFileLoader loader;
    EXPECT_FALSE(loader.SetProperty(L"", L"x"));
    EXPECT_FALSE(loader.SetProperty(L"x", L""));
}

TEST(CFileLoader, LoadsALocalFileByBothWays) {
    const TestFolder folder;
    std::string large(3000000, '\0');
    for (size_t i = 0; i < large.size(); i++) {
        large[i] = static_cast<char>(i * 7 % 253);
    }
    const std::string texts[] = {"", "x", large};
    for (const std::string& text : texts) {
        const VnFilename path(ToText(folder.Write("file", text)));
        for (const bool useReader : {true, false}) {
            SCOPED_TRACE(testing::Message() << text.size() << " bytes, reader " << useReader);
            VnBuffer buffer;
            buffer.Set("old", 3);
            EXPECT_TRUE(CFileLoader::LoadFile(buffer, path, -1, useReader));
            EXPECT_EQ(Bytes(buffer) == text, true);
            const bool limited = CFileLoader::LoadFile(buffer, path, 100, useReader);
            EXPECT_TRUE(limited);
            EXPECT_EQ(Bytes(buffer), text.substr(0, 100));
            CFileLoader strict;
            strict.SetUseReaderForLocal(useReader);
            strict.SetMaximumSize(100, true);
            EXPECT_EQ(strict.LoadToBuffer(path, buffer), text.size() <= 100);
            EXPECT_EQ(buffer.GetSize(), text.size() <= 100 ? static_cast<int64_t>(text.size()) : 0);
        }
    }
}

TEST(CFileLoader, LeavesAnEmptyBufferAfterAFailure) {
    const TestFolder folder;
    const VnFilename missing(ToText(folder / "missing"));
    const VnFilename remote(L"http://127.0.0.1:1/x");
    for (const bool useReader : {true, false}) {
        VnBuffer buffer;
        buffer.Set("old", 3);
        EXPECT_FALSE(CFileLoader::LoadFile(buffer, missing, -1, useReader));
        EXPECT_EQ(buffer.GetSize(), 0);
    }
    CFileLoader loader;
    loader.SetAllowInternet(false);
    VnBuffer buffer;
    EXPECT_FALSE(loader.LoadToBuffer(remote, buffer));
    EXPECT_EQ(ToBytes(loader.GetLocation()), "") << "no reader was made";
    VnString text(L"old");
    EXPECT_FALSE(loader.LoadToString(missing, text));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CFileLoader, LoadsTextsAndDocuments) {
    const TestFolder folder;
    CFileLoader loader;
    VnString text;
    EXPECT_TRUE(
        loader.LoadToString(VnFilename(ToText(folder.Write("t", "\xEF\xBB\xBF\xC3\xBC"))), text));
    EXPECT_EQ(ToBytes(text), "\xC3\xBC");
    EXPECT_TRUE(loader.LoadToString(VnFilename(ToText(folder.Write("t", "\xC3\xBC"))), text,
                                    kEncodingBytes));
    EXPECT_EQ(text.GetLength(), 2);

    VnXMLDocument document(L"<old/>");
    EXPECT_TRUE(
        loader.LoadToXML(VnFilename(ToText(folder.Write("d", "<a><b>x<br>y</b></a>"))), document));
    EXPECT_TRUE(document.FindElement(L"a/b"));
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "x y");
    EXPECT_FALSE(loader.LoadToXML(VnFilename(ToText(folder.Write("d", "<a><b></a>"))), document));
    EXPECT_TRUE(document.GetText().IsEmpty());
}

TEST(CFileLoader, LoadsJSONAndHTMLAsTheyCome) {
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

TEST(CFileLoader, ShowsItsProgress) {
    const TestFolder folder;
    const VnFilename path(ToText(folder.Write("f", std::string(3 * 1048576, 'x'))));
    Sink sink;
    CFileLoader loader;
    loader.SetProgress(&sink);
    VnBuffer buffer;
    EXPECT_TRUE(loader.LoadToBuffer(path, buffer));
    EXPECT_EQ(sink.Polls, 3);
    ASSERT_EQ(sink.Fractions.size(), 2U)
        << "the first block, and 1 at the end; what lies between comes too soon";
    EXPECT_NEAR(sink.Fractions[0], 1.0F / 3, 1e-6F);
    EXPECT_EQ(sink.Fractions[1], 1.0F);

    Sink slow;
    slow.Delay = std::chrono::milliseconds(260);
    loader.SetProgress(&slow);
    EXPECT_TRUE(loader.LoadToBuffer(
        VnFilename(ToText(folder.Write("g", std::string(4 * 1048576, 'x')))), buffer));
    EXPECT_EQ(slow.Fractions, (std::vector<float>{0.25F, 0.75F, 1.0F})) << "twice a second";

    Sink empty;
    loader.SetProgress(&empty);
    EXPECT_TRUE(loader.LoadToBuffer(VnFilename(ToText(folder.Write("e", ""))), buffer));
    EXPECT_EQ(empty.Fractions, std::vector<float>{0.0F});
}

TEST(CFileLoader, IsCancelledByItsSinkAndByItsFlag) {
    const TestFolder folder;
    const VnFilename path(ToText(folder.Write("f", std::string(3 * 1048576, 'x'))));
    Sink sink;
    sink.CancelAt = 2;
    CFileLoader loader;
    loader.SetProgress(&sink);
    VnBuffer buffer;
    EXPECT_FALSE(loader.LoadToBuffer(path, buffer));
    EXPECT_EQ(sink.Polls, 2);
    EXPECT_EQ(buffer.GetSize(), 0);
    loader.SetProgress(nullptr);
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::thread canceller([&loader] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        loader.Cancel();
    });
    EXPECT_FALSE(loader.LoadToBuffer(VnFilename(ToText(folder / "pipe")), buffer))
        << "nobody writes to it";
    canceller.join();
    EXPECT_TRUE(loader.LoadToBuffer(path, buffer)) << "the own flag is cleared by the next load";

    CCancelHelper shared;
    CFileLoader other;
    loader.SetCancelFlag(&shared);
    other.SetCancelFlag(&shared);
    EXPECT_TRUE(loader.LoadToBuffer(path, buffer));
    other.Cancel();
    EXPECT_TRUE(shared.IsCancelled());
    EXPECT_FALSE(loader.LoadToBuffer(path, buffer));
    shared.SetCancelled(false);
    EXPECT_TRUE(loader.LoadToBuffer(path, buffer));
    loader.SetCancelFlag(nullptr);
    shared.SetCancelled(true);
    EXPECT_TRUE(loader.LoadToBuffer(path, buffer));
}

TEST(CFileLoader, ChecksTheFirstBytes) {
    struct Row {
        const char* What;
        int32_t After;
        bool AtEnd;
        const wchar_t* Required;
        bool Accept;
        bool Loaded;
        const char* Seen;
    };
    constexpr Row kRows[] = {
        {"at the given byte", 4, true, L"", true, true, "4/9"},
        {"refused", 4, true, L"", false, false, "4/9"},
        {"at the end of a short file", 100, true, L"", true, true, "10/9"},
        {"never for a short file", 100, false, L"", false, true, ""},
        {"behind the first block", 0, true, L"", true, true, "10/9"},
        {"a text that is there", 10, true, L"678", true, true, "10/9"},
        {"a text that comes later", 4, true, L"678", true, false, "4/9"},
    };
    const TestFolder folder;
    const VnFilename path(ToText(folder.Write("f", "0123456789")));
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.What);
        Checker checker;
        checker.Accept = row.Accept;
        CFileLoader loader;
        loader.SetContentCheck(&checker, 9, row.After, row.AtEnd, row.Required);
        VnBuffer buffer;
        EXPECT_EQ(loader.LoadToBuffer(path, buffer), row.Loaded);
        EXPECT_EQ(buffer.GetSize(), row.Loaded ? 10 : 0);
        std::string seen;
        for (const std::string& call : checker.Seen) {
            seen += call;
        }
        EXPECT_EQ(seen, row.Seen);
    }
    Checker never;
    never.Accept = false;
    CFileLoader direct;
    direct.SetUseReaderForLocal(false);
    VnBuffer bytes;
    for (const bool atEnd : {false, true}) {
        direct.SetContentCheck(&never, 9, 100, atEnd);
        EXPECT_EQ(direct.LoadToBuffer(path, bytes), !atEnd);
    }
    // The text may also stand in the file as wide characters.
    const wchar_t wide[] = L"xxtagxx";
    const VnFilename other(
        ToText(folder.Write("w", std::string(reinterpret_cast<const char*>(wide), 28))));
    CFileLoader loader;
    loader.SetContentCheck(nullptr, 0, 28, true, L"tag");
    VnBuffer buffer;
    EXPECT_TRUE(loader.LoadToBuffer(other, buffer));
    loader.SetContentCheck(nullptr, 0, 28, true, L"gat");
    EXPECT_FALSE(loader.LoadToBuffer(other, buffer));
}

TEST(CFileLoader, RefusesASecondLoadWhileOneRuns) {
    class Again final : public IFileLoaderProgress {
    public:
        Again(CFileLoader& loader, const VnFilename& path) : Loader(loader), Path(path) {}
        bool IsCancelled() override {
            VnBuffer buffer;
            buffer.Set("kept", 4);
            EXPECT_FALSE(Loader.LoadToBuffer(Path, buffer));
            EXPECT_EQ(buffer.GetSize(), 4);
            VnFilename target(L"/tmp/never");
            EXPECT_FALSE(Loader.LoadToFile(Path, target, CFileLoader::LoadCreate));
            return false;
        }
        void SetProgress(float) override {}
        CFileLoader& Loader;
        const VnFilename& Path;
    };
    const TestFolder folder;
    const VnFilename path(ToText(folder.Write("f", "abc")));
    CFileLoader loader;
    Again again(loader, path);
    loader.SetProgress(&again);
    VnBuffer buffer;
    EXPECT_TRUE(loader.LoadToBuffer(path, buffer));
    EXPECT_EQ(Bytes(buffer), "abc");
}
