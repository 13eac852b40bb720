#include "host/CLibraryItem.h"
#include "host/CSyncPlanner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A library and a device, told in a few words; Plan gives what is to happen as text.
class SyncPlannerTest : public testing::Test {
protected:
    SyncPlannerTest() {
        Input.GetDeviceSize = [this](const std::string& path) {
            const auto found = Sizes.find(path);
            return found == Sizes.end() ? -1 : found->second;
        };
    }

    CLibraryItem& Has(const std::string& path, const std::string& matchKey, int64_t size = 10) {
        Items.push_back(std::make_unique<CLibraryItem>());
        Items.back()->Path = path;
        Items.back()->Size = size;
        Items.back()->MTime = 1;
        Input.Items.push_back({Items.back().get(), matchKey, "r"});
        return *Items.back();
    }

    /// A file on the device, of a sync's when it has a source.
    void OnDevice(const std::string& path,
                  const std::string& matchKey,
                  const std::string& source = {},
                  int64_t size = 10) {
        Input.Device.push_back({path, matchKey, "r"});
        Sizes[path] = size;
        if (!source.empty()) {
            Recorded(path, matchKey, source);
        }
    }

    void Recorded(const std::string& path, const std::string& matchKey, const std::string& source) {
        Input.Records.push_back({CDeviceRecord::Kind::File, path, source, 10, 1, matchKey, "r"});
    }

    void Picture(const std::string& path) {
        Input.Records.push_back({CDeviceRecord::Kind::Picture, path, {}, 10, 0, {}, {}});
        OnDevice(path, "picture");
    }

    std::vector<std::string> Plan() {
        const CSyncPlan plan = CSyncPlanner::Plan(Input);
        std::vector<std::string> out;
        for (const CSyncPlan::CKeep& keep : plan.Keeps) {
            out.push_back((keep.IsNewOwner ? "adopt " : "keep ") + keep.Item->File->Path + " "
                          + keep.Target);
        }
        for (const std::string& path : plan.Deletes) {
            out.push_back("delete " + path);
        }
        for (const CSyncPlan::CSend& send : plan.Sends) {
            out.push_back("send " + send.Item->File->Path
                          + (send.Replaces.empty() ? "" : " for " + send.Replaces));
        }
        for (const std::string& path : plan.Leftovers) {
            out.push_back("left " + path);
        }
        for (const std::string& path : plan.Forgotten) {
            out.push_back("forget " + path);
        }
        return out;
    }

    std::vector<std::unique_ptr<CLibraryItem>> Items;
    std::map<std::string, int64_t> Sizes;
    CSyncPlanner::CInput Input;
};

} // namespace

TEST_F(SyncPlannerTest, SendsWhatIsNewAndKeepsWhatIsThere) {
    Has("/l/b", "b");
    Has("/l/a", "a");
    Has("/l/c", "c");
    OnDevice("/d/c", "c", "/l/c");
    EXPECT_THAT(Plan(), ElementsAre("keep /l/c /d/c", "send /l/a", "send /l/b"));
}

TEST_F(SyncPlannerTest, SendsAgainWhatChanged) {
    Has("/l/size", "size", 11);
    Has("/l/date", "date").MTime = 2;
    Has("/l/key", "newkey");
    Has("/l/rating", "rating");
    Input.Items.back().ChangeKey = "5";
    Has("/l/short", "short");
    Has("/l/same", "same");
    for (const char* name : {"size", "date", "key", "rating", "same"}) {
        OnDevice(std::string("/d/") + name, name, std::string("/l/") + name);
    }
    OnDevice("/d/short", "short", "/l/short", 9);
    EXPECT_THAT(Plan(), ElementsAre("keep /l/same /d/same", "send /l/date for /d/date",
                                    "send /l/key for /d/key", "send /l/rating for /d/rating",
                                    "send /l/short for /d/short", "send /l/size for /d/size"));
    Input.ResendOnDate = false;
    EXPECT_THAT(Plan(), testing::Contains("keep /l/date /d/date"));
}

TEST_F(SyncPlannerTest, KeepsMatchingFilesOfOthersWhateverChanged) {
    Has("/l/a", "a", 99);
    Input.Items.back().ChangeKey = "5";
    Has("/l/twin", "a");
    OnDevice("/d/a", "a");
    OnDevice("/d/stranger", "x");
    Input.Delete = DeleteMode::Own;
    EXPECT_THAT(Plan(), ElementsAre("keep /l/a /d/a", "send /l/twin"));
}

TEST_F(SyncPlannerTest, KeepsTheCopyOfAFileThatMoved) {
    Has("/l/new/a", "a");
    OnDevice("/d/a", "a", "/l/old/a");
    Input.Delete = DeleteMode::Own;
    EXPECT_THAT(Plan(), ElementsAre("adopt /l/new/a /d/a"));
}

TEST_F(SyncPlannerTest, DeletesByTheMode) {
    OnDevice("/d/own", "own", "/l/own");
    OnDevice("/d/stranger", "x");
    Picture("/d/p/Folder.jpg");
    OnDevice("/d/p/stranger", "y");
    EXPECT_THAT(Plan(), ElementsAre("left /d/own"));
    Input.Delete = DeleteMode::Own;
    EXPECT_THAT(Plan(), ElementsAre("delete /d/own"));
    Input.Delete = DeleteMode::All;
    EXPECT_THAT(Plan(), ElementsAre("delete /d/p/Folder.jpg", "delete /d/own", "delete /d/stranger",
                                    "delete /d/p/stranger"));
}

TEST_F(SyncPlannerTest, TakesAFoldersPictureWithItsLastFile) {
    Has("/l/b1", "b1");
    OnDevice("/d/A/a1", "a1", "/l/a1");
    OnDevice("/d/A/a2", "a2", "/l/a2");
    Picture("/d/A/Folder.jpg");
    OnDevice("/d/B/b1", "b1", "/l/b1");
    OnDevice("/d/B/b2", "b2", "/l/b2");
    Picture("/d/B/Folder.jpg");
    Input.Delete = DeleteMode::Own;
    EXPECT_THAT(Plan(), ElementsAre("keep /l/b1 /d/B/b1", "delete /d/A/Folder.jpg",
                                    "delete /d/A/a1", "delete /d/A/a2", "delete /d/B/b2"));
}

TEST_F(SyncPlannerTest, NeverDeletesWhatTheLibraryCouldNotRead) {
    OnDevice("/d/bad", "bad", "/l/bad.mp3");
    OnDevice("/d/in", "in", "/l/locked/in.mp3");
    OnDevice("/d/gone", "gone", "/l/lockedgone.mp3");
    Input.PassedOver = {"/l/bad.mp3", "/l/locked"};
    Input.Delete = DeleteMode::All;
    EXPECT_THAT(Plan(), ElementsAre("delete /d/gone"));
}

TEST_F(SyncPlannerTest, FindsFilesThatTheScanDoesNotSee) {
    Has("/l/book.aa", "book");
    Recorded("/d/Audible/book.aa", "book", "/l/book.aa");
    Sizes["/d/Audible/book.aa"] = 10;
    Has("/l/lost", "lost");
    Recorded("/d/lost", "lost", "/l/lost");
    EXPECT_THAT(Plan(), ElementsAre("keep /l/book.aa /d/Audible/book.aa", "send /l/lost",
                                    "forget /d/lost"));
}

TEST_F(SyncPlannerTest, KnowsAFileAgainInAnotherLetterCase) {
    Has("/l/a", "a");
    Recorded("/d/Music/ABBA/a", "a", "/l/a");
    Input.Device.push_back({"/d/Music/Abba/a", "a", "r"}); // as FAT lists it
    Sizes["/d/Music/ABBA/a"] = 10;
    Input.Delete = DeleteMode::All;
    EXPECT_THAT(Plan(), ElementsAre("keep /l/a /d/Music/ABBA/a"));
}
