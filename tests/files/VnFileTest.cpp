#include "files/VnFile.h"

#include "data/VnDate.h"
#include "files/VnFileInfo.h"
#include "files/VnFileSystem.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace {

constexpr uint32_t kRead = VnFile::kAccessRead;
constexpr uint32_t kWrite = VnFile::kAccessWrite;
constexpr uint32_t kShareAll = VnFile::kShareRead | VnFile::kShareWrite;

bool CanOpen(const std::string& path, uint32_t access, uint32_t disposition) {
    return VnFile(ToText(path), access, kShareAll, disposition).Open();
}

class VnFileTest : public testing::Test {
protected:
    TestFolder Folder;
};

using VnFileInfoTest = VnFileTest;

TEST_F(VnFileTest, DispositionDecidesAboutMissingAndExistingFiles) {
    struct Row {
        uint32_t Disposition;
        bool OpensMissing;
        bool OpensExisting;
        const char* ContentsAfter;
    };
    constexpr Row kRows[] = {
        {VnFile::CreateAlways, true, true, ""},      {VnFile::CreateNew, true, false, "old"},
        {VnFile::OpenAlways, true, true, "old"},     {VnFile::OpenExisting, false, true, "old"},
        {VnFile::TruncateExisting, false, true, ""},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.Disposition);
        const std::string missing = "missing" + std::to_string(row.Disposition);
        EXPECT_EQ(CanOpen(Folder / missing, kWrite, row.Disposition), row.OpensMissing);
        EXPECT_EQ(Folder.Exists(missing), row.OpensMissing);
        const std::string existing = Folder.Write("existing", "old");
        EXPECT_EQ(CanOpen(existing, kWrite, row.Disposition), row.OpensExisting);
        EXPECT_EQ(Folder.Read("existing"), row.ContentsAfter);
    }
}

TEST_F(VnFileTest, NewFilesAreReadableByOthersAndCloseOnExec) {
    const mode_t old = umask(0);
    VnFile file(ToText(Folder / "a"), kRead | kWrite, 0, VnFile::CreateNew);
    EXPECT_TRUE(file.Open());
    umask(old);
    struct stat record;
    ASSERT_EQ(stat((Folder / "a").c_str(), &record), 0);
    EXPECT_EQ(record.st_mode & 07777, 0644U);
    EXPECT_NE(fcntl(file.Descriptor, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(VnFileTest, AClosedFileFailsEverywhere) {
    VnFile file(ToText(Folder / "missing"), kRead, kShareAll, VnFile::OpenExisting);
    EXPECT_FALSE(file.Open());
    EXPECT_FALSE(file.IsOpen);
    EXPECT_EQ(file.Descriptor, -1);
    EXPECT_EQ(file.GetPosition(), -1);
    EXPECT_EQ(file.Seek(0, 0), -1);
    EXPECT_EQ(file.GetLength(), -1);
    EXPECT_FALSE(file.SetLength(3));
    EXPECT_FALSE(file.Flush());
    char byte = 'x';
    int64_t count = 7;
    EXPECT_FALSE(file.Read(&byte, 1, count));
    EXPECT_EQ(count, 0);
    EXPECT_FALSE(file.Write(&byte, 1));
    EXPECT_FALSE(file.WriteUTF8(L"x"));
    EXPECT_TRUE(file.WriteUTF8(L""));
    EXPECT_TRUE(file.WriteBytes(L"x"));
    EXPECT_TRUE(file.ReadLine().IsEmpty());
    EXPECT_TRUE(file.Close());
}

TEST_F(VnFileTest, WritersThatDoNotShareExcludeEachOtherAndOtherPrograms) {
    const VnString path = ToText(Folder.Write("a", "x"));
    VnFile first(path, kWrite, 0, VnFile::OpenExisting);
    ASSERT_TRUE(first.Open());
    const pid_t child = fork();
    if (child == 0) {
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        const int descriptor = open((Folder / "a").c_str(), O_WRONLY | O_CLOEXEC);
        _exit(fcntl(descriptor, F_SETLK, &lock) == -1 ? 42 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 42);
    VnFile second(path, kWrite, VnFile::kShareRead, VnFile::OpenExisting);
    EXPECT_FALSE(second.Open());
    EXPECT_TRUE(errno == EAGAIN || errno == EACCES) << errno;
    EXPECT_FALSE(second.IsOpen);
    VnFile sharing(path, kWrite, kShareAll, VnFile::OpenExisting);
    EXPECT_TRUE(sharing.Open());
    VnFile reader(path, kRead, 0, VnFile::OpenExisting);
    EXPECT_TRUE(reader.Open());
    reader.Close();
    EXPECT_FALSE(second.Open()) << "closing another descriptor must not free the lock";
    first.Close();
    EXPECT_TRUE(second.Open());
}

TEST_F(VnFileTest, ReopeningClosesTheFormerDescriptor) {
    const VnString path = ToText(Folder.Write("a", "abc"));
    VnFile file(path, kRead, kShareAll, VnFile::OpenExisting);
    ASSERT_TRUE(file.Open());
    const int32_t former = file.Descriptor;
    EXPECT_FALSE(file.Open(ToText(Folder / "missing"), kRead, kShareAll, VnFile::OpenExisting));
    EXPECT_EQ(fcntl(former, F_GETFD), -1);
    ASSERT_TRUE(file.Open(path, kRead, kShareAll, VnFile::OpenExisting));
    const int32_t last = file.Descriptor;
    file.Close();
    EXPECT_EQ(fcntl(last, F_GETFD), -1);
}

TEST_F(VnFileTest, SeekAndLength) {
    VnFile file(ToText(Folder.Write("a", "0123456789")), kRead | kWrite, 0, VnFile::OpenExisting);
    EXPECT_EQ(file.GetLength(), 10);
    ASSERT_TRUE(file.Open());
    EXPECT_EQ(file.Seek(4, 0), 4);
    EXPECT_EQ(file.Seek(2, 1), 6);
    EXPECT_EQ(file.Seek(-1, 2), 9);
    EXPECT_EQ(file.Seek(3, 7), 3);
    EXPECT_EQ(file.Seek(-1, 0), -1);
    EXPECT_EQ(file.GetPosition(), 3);
    EXPECT_TRUE(file.SetLength(5));
    EXPECT_EQ(file.GetPosition(), 5);
    EXPECT_EQ(Folder.Read("a"), "01234");
    EXPECT_TRUE(file.SetLength(8));
    EXPECT_EQ(file.GetPosition(), 8);
    EXPECT_EQ(Folder.Read("a"), std::string("01234\0\0\0", 8));
    EXPECT_TRUE(file.Flush());
}

TEST_F(VnFileTest, TextForms) {
    VnFile file(ToText(Folder / "a"), kRead | kWrite, 0, VnFile::CreateAlways);
    ASSERT_TRUE(file.Open());
    EXPECT_TRUE(file.WriteUTF8(L"\u00E9\u20AC"));
    EXPECT_TRUE(file.WriteBytes(L"\u00E9\u20AC"));
    EXPECT_EQ(Folder.Read("a"), "\xC3\xA9\xE2\x82\xAC\xE9?");
    EXPECT_TRUE(file.SetLength(0));
    EXPECT_TRUE(file.WriteWide(VnString(L"ab\n\u20AC\0z", 6)));
    EXPECT_EQ(file.GetPosition(), 24);
    file.Seek(0, 0);
    VnString line;
    EXPECT_TRUE(file.ReadLineWide(line));
    EXPECT_EQ(ToBytes(line), "ab");
    EXPECT_EQ(file.GetPosition(), 12);
    EXPECT_TRUE(file.ReadLineWide(line));
    EXPECT_EQ(ToBytes(line), ToBytes(L"\u20AC"));
    EXPECT_TRUE(file.ReadLineWide(line));
    EXPECT_EQ(ToBytes(line), "z");
    EXPECT_FALSE(file.ReadLineWide(line));
    EXPECT_TRUE(line.IsEmpty());
}

TEST_F(VnFileTest, LinesKeepTheirCarriageReturnAndThePosition) {
    const std::string longLine(3000, 'x');
    VnFile file(ToText(Folder.Write("a", "one\r\n\ncaf\xC3\xA9\n" + longLine + "\nlast")), kRead,
                kShareAll, VnFile::OpenExisting);
    ASSERT_TRUE(file.Open());
    EXPECT_EQ(ToBytes(file.ReadLine()), "one\r");
    EXPECT_EQ(file.GetPosition(), 5);
    EXPECT_EQ(ToBytes(file.ReadLine()), "");
    EXPECT_EQ(file.GetPosition(), 6);
    EXPECT_EQ(ToBytes(file.ReadLine()), "caf\xC3\xA9");
    EXPECT_EQ(ToBytes(file.ReadLine()), longLine);
    EXPECT_EQ(ToBytes(file.ReadLine()), "last");
    EXPECT_EQ(ToBytes(file.ReadLine()), "");
}

TEST_F(VnFileTest, LinesOfAPipeLoseNoByte) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ASSERT_EQ(write(ends[1], "a\nb\nc", 5), 5);
    close(ends[1]);
    VnFile file;
    file.Descriptor = ends[0];
    file.IsOpen = true;
    EXPECT_EQ(ToBytes(file.ReadLine()), "a");
    EXPECT_EQ(ToBytes(file.ReadLine()), "b");
    EXPECT_EQ(ToBytes(file.ReadLine()), "c");
}

TEST_F(VnFileTest, CanReadAndCanWriteLookAtTheFile) {
    const VnString file = ToText(Folder.Write("a", "x"));
    const VnString missing = ToText(Folder / "missing");
    const VnString directory = ToText(Folder.Path().string());
    for (const bool defaultResult : {false, true}) {
        EXPECT_EQ(VnFile::CanRead(missing, defaultResult), defaultResult);
        EXPECT_EQ(VnFile::CanRead(L"", defaultResult), defaultResult);
        EXPECT_EQ(VnFile::CanRead(L"http://host/a.mp3", defaultResult), defaultResult);
        EXPECT_TRUE(VnFile::CanRead(file, defaultResult));
        EXPECT_EQ(VnFile::CanWrite(missing, defaultResult), defaultResult);
        EXPECT_TRUE(VnFile::CanWrite(file, defaultResult));
    }
    bool readOnly = false;
    EXPECT_FALSE(VnFile::CanWrite(directory, true, &readOnly));
    EXPECT_TRUE(readOnly);
    EXPECT_FALSE(VnFile::CanWrite(directory, true));
    VnFile holder(file, kWrite, 0, VnFile::OpenExisting);
    ASSERT_TRUE(holder.Open());
    EXPECT_FALSE(VnFile::CanWrite(file, true, &readOnly));
    EXPECT_FALSE(readOnly) << "the volume itself is writable";
    EXPECT_EQ(Folder.Read("a"), "x");
}

TEST_F(VnFileTest, TimesRoundTrip) {
    const std::string path = Folder.Write("a", "x");
    const VnDate date = VnDate().FromTimeT(1000000000, 0, /*toLocal=*/true);
    EXPECT_TRUE(VnFile(ToText(path), kRead, 0, VnFile::OpenExisting).SetFileTimes(date));
    struct stat record;
    ASSERT_EQ(stat(path.c_str(), &record), 0);
    EXPECT_EQ(record.st_mtime, 1000000000);
    EXPECT_EQ(record.st_atime, 1000000000);
    EXPECT_EQ(VnFileSystem::GetFileDate(ToText(path)).ToTimeT(0, /*toUTC=*/true), 1000000000);
    EXPECT_FALSE(
        VnFile(ToText(Folder / "missing"), kRead, 0, VnFile::OpenExisting).SetFileTimes(date));
    EXPECT_EQ(VnFileSystem::GetFileDate(ToText(Folder / "missing")).ToTimeT(), 0);
}

TEST_F(VnFileInfoTest, KnowsFilesAndDirectories) {
    const std::string path = Folder.Write("sub/Song.MP3", "12345");
    VnFileInfo info(ToText(path));
    EXPECT_TRUE(info.Valid);
    EXPECT_FALSE(info.IsDirectory());
    EXPECT_EQ(info.GetSize(), 5);
    EXPECT_EQ(ToBytes(info.GetName()), "Song.MP3");
    EXPECT_EQ(ToBytes(info.GetFilename()), path);
    EXPECT_FALSE(info.Filename.LowerCaseExtension);

    EXPECT_TRUE(info.Reset(ToText(Folder / "sub")));
    EXPECT_TRUE(info.IsDirectory());
    EXPECT_EQ(ToBytes(info.Filename.Filename), Folder / "sub/");
    EXPECT_EQ(ToBytes(info.GetFilename()), Folder / "sub");
    EXPECT_EQ(ToBytes(info.GetName()), "sub");

    EXPECT_FALSE(info.Set(ToText(Folder / "missing")));
    EXPECT_EQ(info.GetSize(), -1);
    EXPECT_FALSE(info.IsDirectory());
    EXPECT_EQ(ToBytes(info.Filename.Filename), Folder / "sub/") << "the former name stays";
    EXPECT_FALSE(info.Reset(ToText(Folder / "missing")));
    EXPECT_TRUE(info.Filename.Filename.IsEmpty());
}

TEST_F(VnFileInfoTest, UnderstandsTheStoredFormsOfADirectory) {
    Folder.Write("a.dir/x", "");
    VnFilename name(ToText(Folder / "a.dir"));
    name.SetProperty(L"Mood", L"calm");
    for (const VnString& text : {name.GetXMLForm(), ToText(Folder / "a.dir;3")}) {
        const VnFileInfo info(text);
        EXPECT_TRUE(info.IsDirectory());
        EXPECT_EQ(ToBytes(info.Filename.Filename), Folder / "a.dir/");
    }
}

TEST_F(VnFileInfoTest, TakesAGivenRecord) {
    struct stat record = {};
    record.st_mode = S_IFDIR;
    record.st_size = 77;
    VnFileInfo info;
    EXPECT_FALSE(info.Valid);
    EXPECT_TRUE(info.Set(L"/no/such/place", &record));
    EXPECT_TRUE(info.IsDirectory());
    EXPECT_EQ(info.GetSize(), 77);
    EXPECT_EQ(ToBytes(info.Filename.Filename), "/no/such/place/");
}

} // namespace
