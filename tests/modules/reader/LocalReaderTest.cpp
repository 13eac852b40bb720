#include "core/VnDllString.h"
#include "core/VnStringArray.h"
#include "files/VnFilename.h"
#include "runtime/IVnReader.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <memory>
#include <string>

namespace {

using Reader = std::unique_ptr<IVnReader>;

Reader Generic(const std::string& path) {
    return Reader(CreateGenericReaderDLL(ToText(path)));
}

/// Reads up to `count` bytes.
std::string Read(IVnReader& reader, int32_t count) {
    std::string bytes(static_cast<size_t>(count), '?');
    bytes.resize(static_cast<size_t>(reader.Read(bytes.data(), count)));
    return bytes;
}

/// What holds for every source of the bytes "0123456789".
void ExpectDigits(IVnReader& reader) {
    ASSERT_TRUE(reader.Open());
    EXPECT_EQ(reader.GetLength(), 10);
    EXPECT_EQ(Read(reader, 4), "0123");
    EXPECT_EQ(reader.GetPosition(), 4);
    EXPECT_EQ(reader.Seek(2, IVnReader::kFromCurrent), 6);
    EXPECT_EQ(Read(reader, 100), "6789");
    EXPECT_EQ(Read(reader, 1), "");
    EXPECT_EQ(reader.Seek(-1, IVnReader::kFromEnd), 9);
    EXPECT_EQ(Read(reader, 2), "9");
    EXPECT_EQ(reader.Seek(-1, IVnReader::kFromStart), -1);
    EXPECT_EQ(reader.Seek(0, IVnReader::kFromStart), 0);
    EXPECT_EQ(Read(reader, 1), "0");
    reader.Close();
    EXPECT_FALSE(reader.IsBusy());
}

} // namespace

TEST(Readers, ReadAndSeekAlike) {
    const TestFolder folder;
    const std::string path = folder.Write("d \xFF.bin", "0123456789");
    const Reader generic = Generic(path);
    const Reader local(CreateLocalReaderDLL(ToText(path).GetText()));
    const Reader memory(
        CreateFromMemoryReaderDLL(static_cast<const void*>("0123456789"), int64_t{10}));
    const Reader text(CreateStringReaderDLL(L"0123456789"));
    for (const Reader* reader : {&generic, &local, &memory, &text}) {
        ASSERT_NE(*reader, nullptr);
        ExpectDigits(**reader);
        ExpectDigits(**reader); // a second time from the start
    }
    EXPECT_EQ(Read(*generic, 3) + Read(*local, 3), "") << "of a closed file";
}

TEST(Readers, WriteAndAppend) {
    const TestFolder folder;
    const Reader file = Generic(folder / "new.bin");
    const Reader memory(CreateMemoryReaderDLL());
    for (const Reader* reader : {&file, &memory}) {
        IVnReader& target = **reader;
        ASSERT_TRUE(target.Create());
        EXPECT_EQ(target.Write("abc", 3), 3);
        EXPECT_EQ(target.GetLength(), 3);
        target.Close();
        ASSERT_TRUE(target.OpenForAppend());
        EXPECT_EQ(target.GetPosition(), 3);
        EXPECT_EQ(target.Write("def", 3), 3);
        EXPECT_EQ(target.Seek(1, IVnReader::kFromStart), 1);
        EXPECT_EQ(Read(target, 10), "bcdef");
        target.Close();
        ASSERT_TRUE(target.Create());
        EXPECT_EQ(target.GetLength(), 0);
        target.Close();
    }
    EXPECT_EQ(folder.Read("new.bin"), "");
}

TEST(Readers, FailQuietly) {
    const TestFolder folder;
    for (const std::string& path : {folder / "missing", folder.Path().string(), std::string()}) {
        SCOPED_TRACE(path);
        const Reader reader = Generic(path);
        ASSERT_NE(reader, nullptr);
        EXPECT_FALSE(reader->Open());
        EXPECT_EQ(Read(*reader, 5), "");
        EXPECT_EQ(reader->GetLength(), -1);
        EXPECT_EQ(reader->Seek(0, IVnReader::kFromStart), -1);
        EXPECT_EQ(reader->Write("x", 1), 0);
        reader->Close();
    }
    EXPECT_FALSE(Generic(folder / "no/such/folder")->Create());
    const Reader borrowed(CreateFromMemoryReaderDLL(static_cast<const void*>("x"), int64_t{1}));
    EXPECT_FALSE(borrowed->Create());
    EXPECT_EQ(borrowed->Write("y", 1), 0);
}

TEST(Readers, TellThatADeviceIsFull) {
    struct stat state = {};
    if (::stat("/dev/full", &state) != 0 || !S_ISCHR(state.st_mode)) {
        GTEST_SKIP() << "/dev/full is no device on this machine";
    }
    const Reader full = Generic("/dev/full");
    ASSERT_TRUE(full->OpenForAppend());
    EXPECT_EQ(full->Write("x", 1), 0);
}

TEST(Readers, OpenStoredFormsAndNamesThatLookLikeThem) {
    const TestFolder folder;
    const std::string plain = folder.Write("a.mp3", "plain");
    const std::string odd = folder.Write("b.mp3;3", "odd");
    VnFilename name(ToText(plain));
    name.SetProperty(L"FileType", L"mp3");
    const struct {
        VnString Source;
        const char* Bytes;
    } rows[] = {
        {name.GetXMLForm(), "plain"},
        {ToText(plain + ";3"), "plain"},
        {ToText("file://" + plain), "plain"},
        {ToText(odd), "odd"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(ToBytes(row.Source));
        const Reader reader(CreateGenericReaderDLL(row.Source));
        ASSERT_TRUE(reader->Open());
        EXPECT_EQ(Read(*reader, 10), row.Bytes);
    }
}

TEST(Readers, TellTheHardwareAddresses) {
    const Reader reader(CreateSocketReaderDLL(L"Test [UDP]", 1));
    ASSERT_NE(reader, nullptr);
    VnString list(L"old");
    VnDllString adapter(list);
    reader->GetProperty(L"AddressList", adapter);
    VnStringArray addresses;
    addresses.Split(list, L"|");
    for (const VnString& address : addresses) {
        EXPECT_TRUE(address.IsEmpty()
                    || address.MatchesPattern(L"\\h\\h-\\h\\h-\\h\\h-\\h\\h-\\h\\h-\\h\\h"))
            << ToBytes(address);
    }
    reader->GetProperty(L"Other", adapter);
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_FALSE(reader->Open());
}
