#include "runtime/VnRunProgram.h"

#include "core/VnStringArray.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <string>

namespace {

VnStringArray List(std::initializer_list<const wchar_t*> texts) {
    VnStringArray list;
    for (const wchar_t* text : texts) {
        list.Add(text);
    }
    return list;
}

TEST(VnRunProgram, RefusesAnEmptyProgram) {
    for (const bool blocking : {false, true}) {
        int32_t code = 7;
        EXPECT_FALSE(RunProgram(L"", nullptr, blocking, &code));
        EXPECT_EQ(code, -1);
    }
}

TEST(VnRunProgram, AppendsTheOutputAndGivesTheStatus) {
    VnStringArray arguments = List({L"one", L"'two  three'"});
    VnString output = L"before ";
    int32_t code = 7;
    EXPECT_TRUE(RunProgram(L"echo", &arguments, true, &code, &output));
    EXPECT_EQ(ToBytes(output), "before one two  three\n");
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(RunProgram(L"true", nullptr, true, &code, &output));
    EXPECT_EQ(ToBytes(output), "before one two  three\n");
    EXPECT_FALSE(RunProgramWithText(L"sh", L"-c 'exit 3'", &code));
    EXPECT_TRUE(WIFEXITED(code) && WEXITSTATUS(code) == 3);
    EXPECT_FALSE(RunProgram(L"no-such-program-anywhere 2>/dev/null", nullptr, true, &code));
    EXPECT_NE(code, 0);
}

TEST(VnRunProgram, QuotedArgumentsReachTheProgramUnchanged) {
    VnStringArray arguments = List({L"[%s]", L"it's $HOME; `x`", L"", L"a\nb", L"\x00E9\x4E2D"});
    VnString output;
    EXPECT_TRUE(RunProgram(L"printf", &arguments, true, nullptr, &output, /*quoteArguments=*/true));
    EXPECT_EQ(ToBytes(output), "[it's $HOME; `x`][][a\nb][\xC3\xA9\xE4\xB8\xAD]");
    EXPECT_EQ(ToBytes(arguments[1]), "'it'\\''s $HOME; `x`'");
    arguments = List({L"echo", L"x"});
    output.Empty();
    EXPECT_TRUE(RunProgram(arguments[0], &arguments, true, nullptr, &output, true, true));
    EXPECT_EQ(ToBytes(output), "echo x\n") << "the program may be one of the arguments";
}

TEST(VnRunProgram, QuotesTheProgramOnRequest) {
    const TestFolder folder;
    const std::string program = folder.Write("a program", "#!/bin/sh\necho run \"$1\"\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    VnString output;
    EXPECT_TRUE(
        RunProgramWithText(ToText(program), L"x", nullptr, &output, false, /*quoteProgram=*/true));
    EXPECT_EQ(ToBytes(output), "run x\n");
    EXPECT_FALSE(RunProgramWithText(ToText(program), L"x 2>/dev/null", nullptr, &output));
}

TEST(VnRunProgram, ReadsLongOutputWithoutTearingCharacters) {
    const TestFolder folder;
    std::string text = "x";
    while (text.size() < 5000) {
        text += "\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x8E\xB5\xFF";
    }
    folder.Write("text", text);
    VnString output;
    EXPECT_TRUE(RunProgramWithText(L"cat", ToText(folder / "text"), nullptr, &output,
                                   /*quoteArguments=*/true));
    EXPECT_EQ(ToBytes(output), text);
}

TEST(VnRunProgram, DetachedProgramGetsItsNameAndArguments) {
    const TestFolder folder;
    const std::string program = folder.Write(
        "tool.SH", "#!/bin/sh\nprintf '%s|' \"$@\" > \"$1.tmp\"; mv \"$1.tmp\" \"$1\"\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    VnStringArray arguments = List({L"", L"a  'b'", L"$HOME"});
    arguments[0] = ToText(folder / "out");
    int32_t process = -1;
    ASSERT_TRUE(
        RunProgram(ToText(program), &arguments, false, &process, nullptr, /*quoteArguments=*/true));
    ASSERT_GT(process, 0);
    int status = -1;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(folder.Read("out"), folder / "out" + "|a  'b'|$HOME|");
    EXPECT_EQ(ToBytes(arguments[1]), "a  'b'");
}

TEST(VnRunProgram, DetachedStartOfAMissingProgramEndsInItsChild) {
    int32_t process = -1;
    ASSERT_TRUE(RunProgram(L"no-such-program-anywhere", nullptr, false, &process));
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
}

TEST(VnRunProgram, OpensTextsWithTheDesktopsCommand) {
    const TestFolder folder;
    const std::string program =
        folder.Write("open", "#!/bin/sh\nprintf '%s|' \"$@\" > \"" + (folder / "out") + "\"\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    const std::string oldPath = std::getenv("PATH");
    setenv("PATH", (folder.Path().string() + ":" + oldPath).c_str(), 1);
    int32_t code = 7;
    EXPECT_TRUE(OpenWith(L"", L"a b", &code));
    EXPECT_EQ(folder.Read("out"), "a b|");
    EXPECT_TRUE(OpenWith(L"Text Edit", L"a b", &code));
    EXPECT_EQ(folder.Read("out"), "-a|Text Edit|a|b|");
    EXPECT_EQ(code, 0);
    folder.Write("open", "#!/bin/sh\nexit 2\n");
    EXPECT_FALSE(OpenWith(L"", L"a", &code));
    EXPECT_NE(code, 0);
    setenv("PATH", oldPath.c_str(), 1);
}

TEST(VnRunProgram, SplitsCommandLines) {
    struct Case {
        const char* Text;
        const char* Program;
        const char* Arguments;
    };
    for (const Case& row :
         {Case{"", "", ""}, Case{"a", "a", ""}, Case{"a b c", "a", "b c"}, Case{"a  b", "a", " b"},
          Case{"\"a b\"  c d", "a b", "c d"}, Case{"\"a b\"c", "a b", "c"},
          Case{"\"a b", "a b", ""}, Case{"\"\" x", "", "x"}, Case{"a\"b c\"", "a\"b", "c\""}}) {
        VnString program = L"stale";
        VnString arguments = L"stale";
        SplitCommandLine(ToText(row.Text), program, arguments);
        EXPECT_EQ(ToBytes(program), row.Program) << row.Text;
        EXPECT_EQ(ToBytes(arguments), row.Arguments) << row.Text;
    }
    VnString line = L"a b";
    VnString arguments;
    SplitCommandLine(line, line, arguments);
    EXPECT_EQ(ToBytes(line + L"|" + arguments), "a|b");
}

TEST(VnRunProgram, TellsModulesByTheirName) {
    EXPECT_TRUE(IsModuleFile(L"a.dll"));
    EXPECT_TRUE(IsModuleFile(L"a.ocx.bak"));
    EXPECT_TRUE(IsModuleFile(L"x.axe"));
    EXPECT_FALSE(IsModuleFile(L"a.DLL"));
    EXPECT_FALSE(IsModuleFile(L"ax"));
}

TEST(VnRunProgram, RegistersInTheDirectoryOfTheModule) {
    const TestFolder folder;
    const std::filesystem::path module = folder.Path() / "module.so";
    std::filesystem::copy_file(VN_TEST_REGISTERABLE_MODULE, module);
    const std::filesystem::path before = std::filesystem::current_path();
    EXPECT_FALSE(RegisterModule(ToText(module.string()), true));
    EXPECT_TRUE(RegisterModule(ToText(module.string()), false));
    folder.Write("here", "x");
    EXPECT_TRUE(RegisterModule(ToText(module.string()), true));
    EXPECT_THROW(RegisterModule(ToText(module.string()), false), std::runtime_error);
    EXPECT_FALSE(RegisterModule(ToText(folder / "here"), true)) << "no module";
    EXPECT_FALSE(RegisterModule(ToText(folder / "none/x.so"), false));
    EXPECT_EQ(std::filesystem::current_path(), before);
}

} // namespace
