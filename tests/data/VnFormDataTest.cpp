#include "data/VnFormData.h"

#include "core/VnPropertyMap.h"
#include "data/CFileLoader.h"
#include "data/VnOrderedPropertyMap.h"
#include "files/VnFilename.h"
#include "tests/support/HTTPServerProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

const std::string kBoundary =
    "--------ieoau._._+2_8_GoodLuck8.3-ds0d0J0S0Kl234324jfLdsjfdAuaoei-----";

std::string Body(const VnFormData& form) {
    const auto* bytes = reinterpret_cast<const char*>(form.GetBytes().GetData());
    return bytes == nullptr ? ""
                            : std::string(bytes, static_cast<size_t>(form.GetBytes().GetSize()));
}

struct BuildCase {
    const char* What;
    bool Multipart;
    void (*Build)(VnFormData&);
    std::string Body;
};

const BuildCase kBuilds[] = {
    {"nothing", true, [](VnFormData&) {}, ""},
    {"an encoded pair", false, [](VnFormData& form) { form.AddPair(L"a b", L"c&d"); },
     "a%20b=c%26d"},
    {"two encoded pairs", false,
     [](VnFormData& form) {
         form.AddPair(L"k/1", L"");
         form.AddPair(L"\u00fc", L"x");
     },
     "k%2F1=&%C3%BC=x"},
    {"a multipart pair", true, [](VnFormData& form) { form.AddPair(L"a", L"1"); },
     "--" + kBoundary + "\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n"},
    {"a field in an encoded form", false, [](VnFormData& form) { form.AddField(L"x", L"\u00fc"); },
     "--" + kBoundary + "\r\nContent-Disposition: form-data; x\r\n\r\n\xC3\xBC\r\n"},
    {"bytes without a type", true,
     [](VnFormData& form) {
         VnBuffer data;
         data.Set("a\0b", 3);
         form.SetBoundary(L"B");
         form.AddBinary(data, L"name=\"f\"", L"");
     },
     std::string("--B\r\nContent-Disposition: form-data; name=\"f\"\r\n\r\na\0b\r\n", 54)},
    {"no bytes with a type", true,
     [](VnFormData& form) {
         form.SetBoundary(L"B");
         form.AddBinary(VnBuffer(), L"d", L"text/plain");
         form.AddBoundary(true);
     },
     "--B\r\nContent-Disposition: form-data; d\r\nContent-Type: text/plain\r\n\r\n\r\n--B--\r\n"},
};

struct ParseCase {
    const char* What;
    const wchar_t* URL;
    const wchar_t* Body;
    bool Decode;
    const char* Entries; ///< "key=value" of the expected keys, parted by "|"
};

constexpr ParseCase kParses[] = {
    {"a key without a value", L"x?a=1&b", L"", true, "a=1|b="},
    {"escapes and plus", L"/p?a%20b=c+d&+=%26", L"", true, "a b=c d|+=&"},
    {"no decoding", L"/p?a%20b=c+d", L"", false, "a%20b=c+d"},
    {"a later key wins", L"?a=1&A=2&&=3", L"", true, "a=2|=3"},
    {"only the first question mark", L"?a=b?c=d", L"", true, "a=b?c=d"},
    {"no query", L"abc", L"", true, ""},
    {"a multipart body", L"?q=1",
     L"--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n one%20 \r\n--B\r\n"
     L"Content-Disposition: FORM-DATA; name=\"b\"\r\n\r\n\r\n--B--\r\n",
     true, "q=1|a= one%20 |b="},
    {"a part of another kind", L"",
     L"--B\r\nContent-Disposition: file; name=\"a\"\r\n\r\n1\r\n--B--\r\n", true, ""},
    {"a file keeps its header", L"",
     L"--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x\"\r\n\r\nbytes\r\n--B--\r\n",
     true, "f=; filename=\"x\"\r\n\r\nbytes"},
    {"a name that does not end", L"", L"--B\r\nContent-Disposition: form-data; name=\"f", true, ""},
};

} // namespace

TEST(VnFormData, BuildsBodies) {
    for (const BuildCase& build : kBuilds) {
        SCOPED_TRACE(build.What);
        VnFormData form(build.Multipart);
        build.Build(form);
        EXPECT_EQ(Body(form), build.Body);
    }
}

TEST(VnFormData, AddsAFileWithItsType) {
    const TestFolder folder;
    VnFormData form(true);
    form.SetBoundary(L"B");
    EXPECT_FALSE(form.AddFile(L"f", VnFilename(ToText(folder / "missing"))));
    EXPECT_EQ(Body(form), "");
    EXPECT_TRUE(form.AddFile(L"f", VnFilename(ToText(folder.Write("My Song.MP3", "bytes")))));
    EXPECT_EQ(Body(form),
              "--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"My Song.mp3\"\r\n"
              "Content-Type: audio/mpeg\r\n\r\nbytes\r\n");
}

TEST(VnFormData, IsReadBack) {
    for (const ParseCase& parse : kParses) {
        SCOPED_TRACE(parse.What);
        VnPropertyMap map;
        map.SetString(L"old", L"gone");
        ParseFormData(map, parse.URL, parse.Body, parse.Decode);
        int32_t count = 0;
        const std::string entries = parse.Entries;
        for (size_t at = 0; at < entries.size(); count++) {
            const size_t end = std::min(entries.find('|', at), entries.size());
            const std::string entry = entries.substr(at, end - at);
            const size_t equals = entry.find('=');
            const VnString key = ToText(entry.substr(0, equals));
            EXPECT_TRUE(map.HasProperty(key)) << entry;
            EXPECT_EQ(ToBytes(map.GetString(key)), entry.substr(equals + 1));
            at = end + 1;
        }
        EXPECT_EQ(map.GetCount(), count);
    }
}

TEST(VnFormData, IsPosted) {
    const HTTPServerProcess server;
    const VnFilename echo(server.URL(L"/echo").c_str());
    VnFormData encoded(false);
    encoded.AddPair(L"a", L"1 2");
    std::string seen = ToBytes(CFileLoader::SubmitForm(encoded, echo, 5000));
    EXPECT_EQ(seen.substr(0, 11), "POST /echo\n");
    EXPECT_NE(seen.find("content-type: application/x-www-form-urlencoded\n"), std::string::npos)
        << seen;
    EXPECT_NE(seen.find("content-length: 8\n"), std::string::npos) << "the zero byte counts";

    VnFormData multipart(true);
    multipart.SetBoundary(L"B");
    multipart.AddPair(L"a", L"1");
    seen = ToBytes(CFileLoader::SubmitForm(multipart, echo, 5000));
    EXPECT_NE(seen.find("content-type: multipart/form-data; boundary=B\n"), std::string::npos)
        << seen;
    EXPECT_EQ(seen.substr(seen.find("\n\n") + 2), Body(multipart));
    EXPECT_EQ(seen.substr(seen.size() - 7), "--B--\r\n");

    VnOrderedPropertyMap list;
    list.SetString(L"zz", L"1");
    list.SetString(L"aa", L"&");
    CFileLoader loader;
    EXPECT_TRUE(loader.PostProperties(list));
    VnString text;
    EXPECT_TRUE(loader.LoadToString(echo, text));
    EXPECT_TRUE(text.EndsWith(L"\n\nzz=1&aa=%26")) << ToBytes(text);

    VnFormData again(false);
    const VnFilename missing(server.URL(L"/status/404").c_str());
    EXPECT_EQ(ToBytes(CFileLoader::SubmitForm(again, missing, 5000)), "");
    EXPECT_EQ(ToBytes(CFileLoader::SubmitForm(again, missing, 5000, true)), "status 404");
}
