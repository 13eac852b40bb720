#include "drive/CPortableDriveGeneric.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/FakeHandheld.h"

#include <fstream>

namespace {

using Step = FakeHost::Step;

class TransferTest : public DeviceFixture {
protected:
    void SetUp() override { Start(); }

    bool Transfer(const std::string& source, const std::string& target) {
        CPortableDriveGeneric drive(Front.get());
        return TransferWith(drive, source, target);
    }
    bool
    TransferWith(CPortableDriveBase& drive, const std::string& source, const std::string& target) {
        Target = OnDevice(target).c_str();
        return drive.TransferFile(ToWide(source).c_str(), Target);
    }
    VnString Target; ///< where the last transfer says that it wrote
};

TEST_F(TransferTest, CopiesAndReportsEachChunk) {
    const std::pair<size_t, std::vector<Step>> rows[] = {
        {65546, {{65536, 65546}, {65546, 65546}}},
        {65536, {{65536, 65536}, {65536, 65536}}}, // a full last chunk needs one more read
        {1, {{1, 1}}},
    };
    for (const auto& [size, steps] : rows) {
        Host.Steps.clear();
        const std::string bytes(size, 'x');
        const std::string name = "Music/New/" + std::to_string(size);
        EXPECT_TRUE(Transfer(Library.Write("a.mp3", bytes), name));
        EXPECT_EQ(Device.Read(name), bytes);
        EXPECT_EQ(Host.Steps, steps) << size;
    }
}

TEST_F(TransferTest, TakesAFreeNameInsteadOfOverwriting) {
    Device.Write("x.mp3", "old");
    Device.Write("x (1).mp3", "old too");
    EXPECT_TRUE(Transfer(Library.Write("x.mp3", "new"), "x.mp3"));
    EXPECT_EQ(Target, OnDevice("x (2).mp3").c_str());
    EXPECT_EQ(Device.Read("x.mp3"), "old");
    EXPECT_EQ(Device.Read("x (2).mp3"), "new");
}

TEST_F(TransferTest, CancelInTheLastChunkStillLosesTheFile) {
    Host.CancelAtStep = 1;
    EXPECT_FALSE(Transfer(Library.Write("a.mp3", "whole"), "Music/a.mp3"));
    EXPECT_FALSE(Device.Exists("Music/a.mp3"));
    EXPECT_TRUE(Device.Exists("Music"));
}

TEST_F(TransferTest, NothingIsTouchedForASourceThatCannotBeRead) {
    for (const std::string& source :
         {Library / "missing.mp3", Library.Write("empty.mp3", ""), Library.Path().string()}) {
        EXPECT_FALSE(Transfer(source, "Music/a.mp3")) << source;
        EXPECT_FALSE(Device.Exists("Music")) << source;
    }
}

TEST_F(TransferTest, ASourceThatBreaksOffHasFailed) {
    const std::string source = Library.Write("a.bin", std::string(300000, 'x'));
    Host.OnStep = [&] { std::filesystem::resize_file(source, 70000); };
    EXPECT_FALSE(Transfer(source, "a.bin"));
    EXPECT_FALSE(Device.Exists("a.bin"));
}

TEST_F(TransferTest, ATargetThatLosesBytesWhenItIsClosedHasFailed) {
    const std::string source = Library.Write("a.mp3", "x");
    const FailingCall failure("close", ENOSPC);
    EXPECT_FALSE(Transfer(source, "a.mp3"));
    EXPECT_TRUE(failure.HasFailed());
    EXPECT_FALSE(Device.Exists("a.mp3"));
}

TEST_F(TransferTest, ATargetThatCannotBeMadeFails) {
    Device.Write("Music", "a file where the folder should be");
    EXPECT_FALSE(Transfer(Library.Write("a.mp3", "x"), "Music/a.mp3"));
    EXPECT_TRUE(Host.Steps.empty());
}

TEST_F(TransferTest, ChunksGrowWithTheSpeedOfTheDevice) {
    const std::string source = Library.Write("a.bin", std::string(4000000, 'x'));
    CPortableDriveGeneric drive(Front.get());
    EXPECT_TRUE(TransferWith(drive, source, "a.bin"));
    // The first read is 65536 bytes; on anything faster than that a second the later ones are
    // larger.
    EXPECT_EQ(Host.Steps[0].Done, 65536);
    EXPECT_GT(Host.Steps[1].Done - Host.Steps[0].Done, 65536);
    Host.Steps.clear();
    EXPECT_TRUE(TransferWith(drive, source, "b.bin"));
    EXPECT_GT(Host.Steps[0].Done, 65536); // carried over to the next file
}

} // namespace
