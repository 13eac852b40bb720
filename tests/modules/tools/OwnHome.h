#pragma once

#include "runtime/CProcessInfo.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <string>

/// Points the tools module at a home of its own for one test.
class OwnHome : public testing::Test {
protected:
    void SetUp() override { UseHome(Folder.Path().string()); }
    void TearDown() override { UseHome(TestEnvironment::GetHome()); }

    static void UseHome(const std::string& home) {
        CProcessInfo::GetInstance(true)->SetApplicationDataPath(ToText(home + "/"));
        VnGetToolsRoot()->PathsChanged();
    }

    TestFolder Folder;
};
