#include "runtime/CVersionInfo.h"

#include "core/VnResult.h"

#include <gtest/gtest.h>

namespace {

constexpr const wchar_t* kFormer = L"former text";

TEST(CVersionInfo, GivesZerosWithoutTheSystemLibrary) {
    CVersionInfo info;
    EXPECT_EQ(info.Open(L"/bin/sh"), kResultFailure);
    VnString text;
    EXPECT_EQ(info.GetFileVersion(text, /*fourParts=*/false), 0);
    EXPECT_EQ(text, L"0.0.0");
    EXPECT_EQ(info.GetFileVersion(text, /*fourParts=*/true), 0);
    EXPECT_EQ(text, L"0.0.0.0");
    for (auto getter : {&CVersionInfo::GetProductVersion, &CVersionInfo::GetCompanyName,
                        &CVersionInfo::GetProductName, &CVersionInfo::GetFileDescription,
                        &CVersionInfo::GetLegalNotice}) {
        text = kFormer;
        EXPECT_EQ((info.*getter)(text), kResultFailure);
        EXPECT_EQ(text, L"");
    }
}

TEST(CVersionInfo, ReadsTheFirstLanguageOfAResource) {
    CVersionInfo info;
    ASSERT_TRUE(
        info.LoadFunctions(VnString::FromUTF8(VN_BUILD_FOLDER "/tests/modules/libVersion.so")));
    ASSERT_EQ(info.Open(L"good"), kResultOk);
    VnString text;
    EXPECT_EQ(info.GetFileVersion(text, /*fourParts=*/false), 0);
    EXPECT_EQ(text, L"12.3.5");
    info.GetFileVersion(text, /*fourParts=*/true);
    EXPECT_EQ(text, L"12.3.5.7");
    EXPECT_EQ(info.GetCompanyName(text), kResultOk);
    EXPECT_EQ(text, L"The Company");
    EXPECT_EQ(info.GetLegalNotice(text), kResultOk);
    EXPECT_EQ(text, L"All rights");
    EXPECT_EQ(info.GetProductName(text), kResultFailure);

    for (const wchar_t* name : {L"bad", L"torn"}) {
        EXPECT_EQ(info.Open(name), kResultFailure);
        info.GetFileVersion(text, /*fourParts=*/false);
        EXPECT_EQ(text, L"0.0.0") << "nothing is left of the former file";
    }
}

} // namespace
