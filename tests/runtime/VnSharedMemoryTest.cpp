#include "runtime/VnSharedMemory.h"

#include "core/VnString.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

/// A name that no other test process uses.
VnString GetName(const wchar_t* kind) {
    return VnString::Formatted(L"Velnor test %s (%d)", kind, static_cast<int32_t>(getpid()));
}

bool Exists(const VnString& name) {
    const int descriptor = shm_open(VnStringUTF8(L"/" + name), O_RDONLY, 0);
    if (descriptor != -1) {
        close(descriptor);
    }
    return descriptor != -1;
}

TEST(VnSharedMemory, RefusesWhatCannotBeABlock) {
    struct {
        const char* What;
        VnString Name;
        int32_t Size;
    } const cases[] = {
        {"empty name", L"", 10},
        {"null name", nullptr, 10},
        {"size 0", GetName(L"zero"), 0},
        {"negative size", GetName(L"negative"), -1},
        {"larger than a size can tell", GetName(L"huge"), INT32_MAX},
        {"name with a folder", GetName(L"a/b"), 10},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.What);
        VnSharedMemory block;
        EXPECT_FALSE(block.Open(row.Name, row.Size));
        EXPECT_EQ(block.GetMapping(), nullptr);
        EXPECT_EQ(block.GetDescriptor(), -1);
        EXPECT_FALSE(block.IsCreator());
        EXPECT_FALSE(Exists(row.Name));
    }
}

TEST(VnSharedMemory, MapsWholePagesOfZeros) {
    const auto page = static_cast<int32_t>(sysconf(_SC_PAGESIZE));
    for (const auto& [size, mapped] : std::vector<std::pair<int32_t, int32_t>>{
             {1, page}, {page - 1, page}, {page, page}, {page + 1, 2 * page}}) {
        SCOPED_TRACE(size);
        VnSharedMemory block;
        ASSERT_TRUE(block.Open(GetName(L"size"), size));
        EXPECT_EQ(block.GetSize(), mapped);
        const auto* bytes = static_cast<const char*>(block.GetMapping());
        EXPECT_EQ(std::string(bytes, static_cast<size_t>(mapped)),
                  std::string(static_cast<size_t>(mapped), '\0'));
    }
}

TEST(VnSharedMemory, IsSharedByNameAndRemovedByItsCreatorAlone) {
    const VnString name = GetName(L"shared");
    VnSharedMemory first;
    VnSharedMemory second;
    ASSERT_TRUE(first.Open(name, 100));
    ASSERT_TRUE(second.Open(L"/" + name, 100)) << "a leading slash is the same name";
    EXPECT_TRUE(first.IsCreator());
    EXPECT_FALSE(second.IsCreator());
    EXPECT_NE(first.GetMapping(), second.GetMapping());
    std::strcpy(static_cast<char*>(first.GetMapping()), "seen");
    EXPECT_STREQ(static_cast<const char*>(second.GetMapping()), "seen");

    second.Close();
    EXPECT_TRUE(Exists(name));
    ASSERT_TRUE(second.Open(name, 100));
    first.Close();
    EXPECT_FALSE(Exists(name));
    EXPECT_STREQ(static_cast<const char*>(second.GetMapping()), "seen")
        << "a mapping outlives the name";
}

TEST(VnSharedMemory, ClosesWhatItHeldWhenItOpensAnew) {
    const VnString first = GetName(L"first");
    VnSharedMemory block;
    ASSERT_TRUE(block.Open(first, 100));
    const int32_t descriptor = block.GetDescriptor();
    EXPECT_FALSE(block.Open(L"", 100));
    EXPECT_FALSE(Exists(first));
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << "the old descriptor is closed";
    EXPECT_EQ(block.GetSize(), 0);
    block.Close();
}

} // namespace
