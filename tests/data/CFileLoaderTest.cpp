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
#include <string>
#include <thread>
#include <vector>

namespace {

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
        Seen += std::to_string(buffer.GetSize()) + "/" + std::to_string(parameter);
        return Accept;
    }
    bool Accept = true;
    std::string Seen;
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
    bool (*Set)(CFileLoader&);
    std::string After;
};

/// What a request with a document of a type and a size becomes.
std::string Document(const std::string& verb, const std::string& type, int size) {
    return "HTTPREQUEST_TYPE=" + verb + ";INFO_HEADERS=Content-Type: " + type
           + "; charset=UTF-8\r\nAccept-Encoding: gzip\r\nContent-length: " + std::to_string(size)
           + ";";
}

VnStringArray List(std::initializer_list<const wchar_t*> texts) {
    VnStringArray list;
    for (const wchar_t* text : texts) {
        list.Add(text);
    }
    return list;
}

using L = CFileLoader;

const RequestCase kRequests[] = {
    {"a property in two cases",
     [](L& l) { return l.SetProperty(L"MyKey", L"1") && l.SetProperty(L"MYKEY", L"2"); },
     "MyKey=2;"},
    {"a GET without headers", [](L& l) { return l.SetRequest(nullptr, nullptr, 0, false); },
     "INFO_HEADERS=Accept-Encoding: gzip;"},
    {"a body makes a POST", [](L& l) { return l.SetRequest(nullptr, "x", 1, true); },
     "HTTPREQUEST_TYPE=POST;INFO_HEADERS=Content-Type: text/xml\nAccept-Encoding: gzip;"},
    {"a size of 0 is no body", [](L& l) { return l.SetRequest(nullptr, "x", 0, true); },
     "INFO_HEADERS=Accept-Encoding: gzip;"},
    {"own verb and headers",
     [](L& l) {
         const VnStringArray list = List({L"httprequest_type", L"PATCH", L"INFO_HEADERS", L"A: b"});
         return l.SetRequest(&list, "x", 1, false);
     },
     "HTTPREQUEST_TYPE=PATCH;INFO_HEADERS=A: b;"},
    {"headers without empty lines and duplicates",
     [](L& l) {
         return l.SetHeaders(List({L"A: 1", L"", L"a: 1", L"B: 2"}), false)
                && l.AddInfoHeader(L"C", L"3");
     },
     "INFO_HEADERS=A: 1\nB: 2\nC: 3;"},
    {"no headers at all", [](L& l) { return l.SetHeaders(VnStringArray(), false); }, ""},
    {"data", [](L& l) { return l.SendData("abc", 3, L"image/png", L"PUT", true); },
     Document("PUT", "image/png", 3)},
    {"a document", [](L& l) { return l.PostXML(L"<\u00fc/>"); }, Document("POST", "text/xml", 5)},
    {"a document to put", [](L& l) { return l.PutXML(L"<a/>"); }, Document("PUT", "text/xml", 4)},
    {"JSON", [](L& l) { return l.PostJSON(L"{}"); }, Document("POST", "application/json", 2)},
    {"bytes to put", [](L& l) { return l.PutData("x", 1); }, "HTTPREQUEST_TYPE=PUT;"},
    {"an ordered map",
     [](L& l) {
         VnOrderedPropertyMap map;
         map.SetString(L"MyKey", L"v");
         return l.SetProperty(L"USE_CACHE", L"1") && l.SetRequestProperties(map);
     },
     "MyKey=v;"},
};

class CFileLoaderLocal : public testing::Test {
protected:
    VnFilename File(const std::string& name, const std::string& bytes) const {
        return VnFilename(ToText(Folder.Write(name, bytes)));
    }

    const TestFolder Folder;
    const VnFilename Missing{ToText(Folder / "missing")};
    CFileLoader Loader;
    VnBuffer Buffer;
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

TEST_F(CFileLoaderLocal, LoadsALocalFileByBothWays) {
    std::string large(3000000, '\0');
    for (size_t i = 0; i < large.size(); i++) {
        large[i] = static_cast<char>(i * 7 % 253);
    }
    const std::string texts[] = {"", "x", large};
    for (const std::string& text : texts) {
        const VnFilename path = File("file", text);
        for (const bool useReader : {true, false}) {
            SCOPED_TRACE(testing::Message() << text.size() << " bytes, reader " << useReader);
            Buffer.Set("old", 3);
            EXPECT_TRUE(CFileLoader::LoadFile(Buffer, path, -1, useReader));
            EXPECT_TRUE(ToBytes(Buffer) == text);
            EXPECT_TRUE(CFileLoader::LoadFile(Buffer, path, 100, useReader));
            EXPECT_EQ(ToBytes(Buffer), text.substr(0, 100));
            CFileLoader strict;
            strict.SetUseReaderForLocal(useReader);
            strict.SetMaximumSize(100, true);
            EXPECT_EQ(strict.LoadToBuffer(path, Buffer), text.size() <= 100);
            EXPECT_EQ(Buffer.GetSize(), text.size() <= 100 ? static_cast<int64_t>(text.size()) : 0);
        }
    }
}

TEST_F(CFileLoaderLocal, LeavesAnEmptyBufferAfterAFailure) {
    const VnFilename remote(L"http://127.0.0.1:1/x");
    for (const bool useReader : {true, false}) {
        Buffer.Set("old", 3);
        EXPECT_FALSE(CFileLoader::LoadFile(Buffer, Missing, -1, useReader));
        EXPECT_EQ(Buffer.GetSize(), 0);
    }
    Loader.SetAllowInternet(false);
    EXPECT_FALSE(Loader.LoadToBuffer(remote, Buffer));
    EXPECT_EQ(ToBytes(Loader.GetLocation()), "") << "no reader was made";
    VnString text(L"old");
    EXPECT_FALSE(Loader.LoadToString(Missing, text));
    EXPECT_TRUE(text.IsEmpty());
}

TEST_F(CFileLoaderLocal, LoadsTextsAndDocuments) {
    VnString text;
    EXPECT_TRUE(Loader.LoadToString(File("t", "\xEF\xBB\xBF\xC3\xBC"), text));
    EXPECT_EQ(ToBytes(text), "\xC3\xBC");
    EXPECT_TRUE(Loader.LoadToString(File("t", "\xC3\xBC"), text, kEncodingBytes));
    EXPECT_EQ(text.GetLength(), 2);

    VnXMLDocument document(L"<old/>");
    EXPECT_TRUE(Loader.LoadToXML(File("d", "<a><b>x<br>y</b></a>"), document));
    EXPECT_TRUE(document.FindElement(L"a/b"));
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "x y");
    EXPECT_FALSE(Loader.LoadToXML(File("d", "<a><b></a>"), document));
    EXPECT_TRUE(document.GetText().IsEmpty());
}

TEST_F(CFileLoaderLocal, LoadsJSONAndHTMLAsTheyCome) {
    CParseJSON json;
    EXPECT_TRUE(Loader.LoadToJSON(File("a.json", R"({"a":"x<br>y"})"), json));
    EXPECT_EQ(ToBytes(json.GetValueAt(L"a")), "x<br>y");
    EXPECT_FALSE(Loader.LoadToJSON(Missing, json));
    EXPECT_EQ(ToBytes(json.GetValueAt(L"a")), "");
    CHTMLTree html;
    const std::string text = "a<div id=\"b\">\xC3\xA9<br></div>";
    EXPECT_TRUE(Loader.LoadToHTML(File("a.html", text), html));
    EXPECT_EQ(ToBytes(html.GetVisibleText()), text);
    EXPECT_FALSE(Loader.LoadToHTML(Missing, html));
    EXPECT_EQ(ToBytes(html.GetVisibleText()), "");
}

TEST_F(CFileLoaderLocal, ShowsItsProgress) {
    const VnFilename path = File("f", std::string(3 * 1048576, 'x'));
    Sink sink;
    Loader.SetProgress(&sink);
    EXPECT_TRUE(Loader.LoadToBuffer(path, Buffer));
    EXPECT_EQ(sink.Polls, 3);
    ASSERT_EQ(sink.Fractions.size(), 2U)
        << "the first block, and 1 at the end; what lies between comes too soon";
    EXPECT_NEAR(sink.Fractions[0], 1.0F / 3, 1e-6F);
    EXPECT_EQ(sink.Fractions[1], 1.0F);

    Sink slow;
    slow.Delay = std::chrono::milliseconds(260);
    Loader.SetProgress(&slow);
    EXPECT_TRUE(Loader.LoadToBuffer(File("g", std::string(4 * 1048576, 'x')), Buffer));
    EXPECT_EQ(slow.Fractions, (std::vector<float>{0.25F, 0.75F, 1.0F})) << "twice a second";

    Sink empty;
    Loader.SetProgress(&empty);
    EXPECT_TRUE(Loader.LoadToBuffer(File("e", ""), Buffer));
    EXPECT_EQ(empty.Fractions, std::vector<float>{0.0F});
}

TEST_F(CFileLoaderLocal, IsCancelledByItsSinkAndByItsFlag) {
    const VnFilename path = File("f", std::string(3 * 1048576, 'x'));
    Sink sink;
    sink.CancelAt = 2;
    Loader.SetProgress(&sink);
    EXPECT_FALSE(Loader.LoadToBuffer(path, Buffer));
    EXPECT_EQ(sink.Polls, 2);
    EXPECT_EQ(Buffer.GetSize(), 0);
    Loader.SetProgress(nullptr);
    ASSERT_EQ(::mkfifo((Folder / "pipe").c_str(), 0600), 0);
    std::thread canceller([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Loader.Cancel();
    });
    EXPECT_FALSE(Loader.LoadToBuffer(VnFilename(ToText(Folder / "pipe")), Buffer))
        << "nobody writes to it";
    canceller.join();
    EXPECT_TRUE(Loader.LoadToBuffer(path, Buffer)) << "the own flag is cleared by the next load";

    CCancelHelper shared;
    CFileLoader other;
    Loader.SetCancelFlag(&shared);
    other.SetCancelFlag(&shared);
    EXPECT_TRUE(Loader.LoadToBuffer(path, Buffer));
    other.Cancel();
    EXPECT_TRUE(shared.IsCancelled());
    EXPECT_FALSE(Loader.LoadToBuffer(path, Buffer));
    EXPECT_EQ(Buffer.GetSize(), 0) << "nothing of an earlier load is left";
    VnFilename begun = File("begun", "x");
    EXPECT_FALSE(Loader.LoadToFile(path, begun, CFileLoader::LoadResume));
    EXPECT_EQ(ToBytes(Loader.GetProperty(L"RANGE_START")), "") << "a request is for one load";
    shared.SetCancelled(false);
    EXPECT_TRUE(Loader.LoadToBuffer(path, Buffer));
    Loader.SetCancelFlag(nullptr);
    shared.SetCancelled(true);
    EXPECT_TRUE(Loader.LoadToBuffer(path, Buffer));
}

TEST_F(CFileLoaderLocal, ChecksTheFirstBytes) {
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
    const VnFilename path = File("f", "0123456789");
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.What);
        Checker checker;
        checker.Accept = row.Accept;
        CFileLoader loader;
        loader.SetContentCheck(&checker, 9, row.After, row.AtEnd, row.Required);
        EXPECT_EQ(loader.LoadToBuffer(path, Buffer), row.Loaded);
        EXPECT_EQ(Buffer.GetSize(), row.Loaded ? 10 : 0);
        EXPECT_EQ(checker.Seen, row.Seen);
    }
    Checker never;
    never.Accept = false;
    CFileLoader direct;
    direct.SetUseReaderForLocal(false);
    for (const bool atEnd : {false, true}) {
        direct.SetContentCheck(&never, 9, 100, atEnd);
        EXPECT_EQ(direct.LoadToBuffer(path, Buffer), !atEnd);
    }
    // The text may also stand in the file as wide characters.
    const wchar_t wide[] = L"xxtagxx";
    const VnFilename other = File("w", std::string(reinterpret_cast<const char*>(wide), 28));
    Loader.SetContentCheck(nullptr, 0, 28, true, L"tag");
    EXPECT_TRUE(Loader.LoadToBuffer(other, Buffer));
    Loader.SetContentCheck(nullptr, 0, 28, true, L"gat");
    EXPECT_FALSE(Loader.LoadToBuffer(other, Buffer));
}

TEST_F(CFileLoaderLocal, RefusesASecondLoadWhileOneRuns) {
    class Again final : public IFileLoaderProgress {
    public:
        Again(CFileLoader& loader, const VnFilename& path, VnBuffer& filling)
            : Loader(loader)
            , Path(path)
            , Filling(filling) {}
        bool IsCancelled() override {
            VnBuffer buffer;
            buffer.Set("gone", 4);
            EXPECT_FALSE(Loader.LoadToBuffer(Path, buffer));
            EXPECT_EQ(buffer.GetSize(), 0);
            EXPECT_FALSE(Loader.LoadToBuffer(Path, Filling)) << "not emptied, it is being filled";
            VnFilename target(L"/tmp/never");
            EXPECT_FALSE(Loader.LoadToFile(Path, target, CFileLoader::LoadCreate));
            EXPECT_EQ(ToBytes(target.Filename), "");
            EXPECT_EQ(ToBytes(Loader.LoadToTempFile(Path, L"dat").Filename), "");
            return false;
        }
        void SetProgress(float) override {}
        CFileLoader& Loader;
        const VnFilename& Path;
        VnBuffer& Filling;
    };
    const VnFilename path = File("f", "abc");
    Again again(Loader, path, Buffer);
    Loader.SetProgress(&again);
    EXPECT_TRUE(Loader.LoadToBuffer(path, Buffer));
    EXPECT_EQ(ToBytes(Buffer), "abc");
}
