#include "data/VnFormData.h"

#include "data/CFileLoader.h"
#include "data/VnOrderedPropertyMap.h"
#include "files/VnFilename.h"
#include "tests/support/HTTPServerProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string kBoundary =
    "--------ieoau._._+2_8_GoodLuck8.3-ds0d0J0S0Kl234324jfLdsjfdAuaoei-----";

struct BuildCase {
    bool Multipart;
    void (*Build)(VnFormData&);
    std::string Bytes;
};

const BuildCase kBuilds[] = {
    {false,
     [](VnFormData& form) {
         form.AddPair(L"a b", L"c&d");
         form.AddPair(L"k/1", L"");
         form.AddPair(L"\u00fc", L"x");
     },
     "a%20b=c%26d&k%2F1=&%C3%BC=x"},
    {true, [](VnFormData& form) { form.AddPair(L"a", L"1"); },
     "--" + kBoundary + "\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1\r\n"},
    {false, [](VnFormData& form) { form.AddField(L"x", L"\u00fc"); },
     "--" + kBoundary + "\r\nContent-Disposition: form-data; x\r\n\r\n\xC3\xBC\r\n"},
    {true,
     [](VnFormData& form) {
         form.SetBoundary(L"B");
         form.AddBinary(ToBuffer(std::string("a\0b", 3)), L"name=\"f\"", L"");
     },
     std::string("--B\r\nContent-Disposition: form-data; name=\"f\"\r\n\r\na\0b\r\n", 54)},
    {true,
     [](VnFormData& form) {
         form.SetBoundary(L"B");
         form.AddBinary(VnBuffer(), L"d", L"text/plain");
         form.AddBoundary(true);
     },
     "--B\r\nContent-Disposition: form-data; d\r\nContent-Type: text/plain\r\n\r\n\r\n--B--\r\n"},
};

struct ParseCase {
    const wchar_t* URL;
    const wchar_t* Body;
    bool Decode;
    const char* Entries; ///< "key=value|" of all in their order
};

constexpr ParseCase kParses[] = {
    {L"x?a=1&b", L"", true, "a=1|b=|"},
    {L"/p?a%20b=c+d&+=%26", L"", true, "a b=c d|+=&|"},
    {L"/p?a%20b=c+d", L"", false, "a%20b=c+d|"},
    {L"?a=1&&A=2&&=3&", L"", true, "a=2|=3|"},
    {L"?&&a=b?c=d", L"", true, "a=b?c=d|"},
    {L"abc", L"", true, ""},
    {L"?q=1",
     L"--B\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n one%20 \r\n--B\r\n"
     L"Content-Disposition: FORM-DATA; name=\"b\"\r\n\r\n\r\n--B--\r\n",
     true, "q=1|a= one%20 |b=|"},
    {L"", L"--B\r\nContent-Disposition: file; name=\"a\"\r\n\r\n1\r\n--B--\r\n", true, ""},
    {L"",
     L"--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"x\"\r\n\r\nbytes\r\n--B--\r\n",
     true, "f=; filename=\"x\"\r\n\r\nbytes|"},
    {L"", L"--B\r\nContent-Disposition: form-data; name=\"f", true, ""},
};

} // namespace

TEST(VnFormData, BuildsBodies) {
    for (const BuildCase& build : kBuilds) {
        VnFormData form(build.Multipart);
        build.Build(form);
        EXPECT_EQ(ToBytes(form.GetBytes()), build.Bytes);
    }
}

TEST(VnFormData, AddsAFileWithItsType) {
    const TestFolder folder;
    VnFormData form(true);
    form.SetBoundary(L"B");
    EXPECT_FALSE(form.AddFile(L"f", VnFilename(ToText(folder / "missing"))));
    EXPECT_EQ(ToBytes(form.GetBytes()), "");
    EXPECT_TRUE(form.AddFile(L"f", VnFilename(ToText(folder.Write("My Song.MP3", "bytes")))));
    EXPECT_EQ(ToBytes(form.GetBytes()),
              "--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"My Song.mp3\"\r\n"
              "Content-Type: audio/mpeg\r\n\r\nbytes\r\n");
}

TEST(VnFormData, IsReadBack) {
    for (const ParseCase& parse : kParses) {
        for (const bool isOwn : {false, true}) { // the texts may be values of the map
            VnOrderedPropertyMap map;
            map.SetString(L"old", parse.URL);
            const VnString url(parse.URL);
            const VnString* const own = map.GetEntries()->Lookup(L"old");
            ParseFormData(map, isOwn && own != nullptr ? *own : url, parse.Body, parse.Decode);
            std::string entries;
            for (int32_t i = 0; i < map.GetCount(); i++) {
                entries += ToBytes(map.GetKey(i) + L"=" + map.GetValue(i) + L"|");
            }
            EXPECT_EQ(entries, parse.Entries);
        }
    }
}

TEST(VnFormData, IsPosted) {
    const HTTPServerProcess server;
    const VnFilename echo(server.URL(L"/echo").c_str());
    VnFormData encoded(false);
    encoded.AddPair(L"a", L"1 2");
    const VnString seen = CFileLoader::SubmitForm(encoded, echo, 5000);
    EXPECT_TRUE(seen.StartsWith(L"POST /echo\n"));
    for (const wchar_t* header : {L"content-type: application/x-www-form-urlencoded\n",
                                  L"content-length: 8\n" /* the zero byte counts */}) {
        EXPECT_GE(seen.Find(header), 0) << ToBytes(seen);
    }
    VnFormData multipart(true);
    multipart.SetBoundary(L"B");
    multipart.AddPair(L"a", L"1");
    const std::string parts = ToBytes(CFileLoader::SubmitForm(multipart, echo, 5000));
    EXPECT_NE(parts.find("content-type: multipart/form-data; boundary=B\n"), std::string::npos);
    EXPECT_TRUE(parts.ends_with("\n\n" + ToBytes(multipart.GetBytes()))) << parts;
    EXPECT_TRUE(parts.ends_with("--B--\r\n")) << parts;

    VnOrderedPropertyMap list;
    list.SetString(L"zz", L"1");
    list.SetString(L"aa", L"&");
    CFileLoader loader;
    EXPECT_TRUE(loader.PostProperties(list));
    VnString text;
    EXPECT_TRUE(loader.LoadToString(echo, text));
    EXPECT_TRUE(text.EndsWith(L"\n\nzz=1&aa=%26")) << ToBytes(text);

    VnFormData empty(false);
    const VnFilename missing(server.URL(L"/status/404").c_str());
    EXPECT_EQ(ToBytes(CFileLoader::SubmitForm(empty, missing, 5000)), "");
    EXPECT_EQ(ToBytes(CFileLoader::SubmitForm(empty, missing, 5000, true)), "status 404");
}
