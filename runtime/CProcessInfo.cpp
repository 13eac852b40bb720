#include "runtime/CProcessInfo.h"

#include "runtime/IVnToolsRoot.h"
#include "runtime/VnCriticalSection.h"
#include "runtime/VnSharedMemory.h"
#include "runtime/VnSiblingModules.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>

/// The block as every module of the process sees it.
struct VnProcessBlock {
    static constexpr int32_t kPathCapacity = 4097;
    static constexpr int32_t kProductCapacity = 256;

    int32_t Filled; ///< 1 once the first fill has begun
    wchar_t ProgramPath[kPathCapacity];
    wchar_t InstallDirectory[kPathCapacity];
    wchar_t DataPath[kPathCapacity];
    wchar_t ModuleDirectory[kPathCapacity];
    wchar_t ApplicationDataPath[kPathCapacity];
    uint8_t Flag;
    int64_t MainThread; ///< pthread_t of the first filler
    int64_t Value81960;
    uint8_t PortableData;
    wchar_t ProductName[kProductCapacity];
    int64_t Reserved;
    int64_t Value83008;
    int64_t Value83016;
    std::atomic<int32_t> AttachCounter;
};

static_assert(offsetof(VnProcessBlock, ProgramPath) == 4);
static_assert(offsetof(VnProcessBlock, InstallDirectory) == 16392);
static_assert(offsetof(VnProcessBlock, DataPath) == 32780);
static_assert(offsetof(VnProcessBlock, ModuleDirectory) == 49168);
static_assert(offsetof(VnProcessBlock, ApplicationDataPath) == 65556);
static_assert(offsetof(VnProcessBlock, Flag) == 81944);
static_assert(offsetof(VnProcessBlock, MainThread) == 81952);
static_assert(offsetof(VnProcessBlock, Value81960) == 81960);
static_assert(offsetof(VnProcessBlock, PortableData) == 81968);
static_assert(offsetof(VnProcessBlock, ProductName) == 81972);
static_assert(offsetof(VnProcessBlock, Reserved) == 83000);
static_assert(offsetof(VnProcessBlock, Value83008) == 83008);
static_assert(offsetof(VnProcessBlock, Value83016) == 83016);
static_assert(offsetof(VnProcessBlock, AttachCounter) == 83024);
static_assert(sizeof(VnProcessBlock) == 83032);
static_assert(sizeof(pthread_t) == sizeof(int64_t));

namespace {

constexpr int32_t kVersion = 34;
constexpr const wchar_t* kInstallDirectory = L"/usr/lib/velnor/Tonehall 34/";

/// Characters of a stored path, with the terminator. The fields have room for one more.
constexpr int32_t kPathLimit = 4096;

/// Attach counter of a new block; the first module gets the number behind it.
constexpr int32_t kFirstAttachCounter = 99;

/// Names that are tried when a foreign block cannot be removed.
constexpr int32_t kNameTries = 4;

/// File times come from a coarser clock than the start time of a process.
constexpr int64_t kClockSlackNS = 20'000'000;
constexpr int64_t kSecondNS = 1'000'000'000;

int64_t ToNanoseconds(const timespec& time) {
    return time.tv_sec * kSecondNS + time.tv_nsec;
}

int64_t ReadClock(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return ToNanoseconds(time);
}

/// When this process started, by the wall clock, in nanoseconds; 0 when the system does not tell.
int64_t GetProcessStart() {
    FILE* file = std::fopen("/proc/self/stat", "re");
    if (file == nullptr) {
        return 0;
    }
    char line[1024] = {};
    const size_t size = std::fread(line, 1, sizeof(line) - 1, file);
    std::fclose(file);
    line[size] = '\0';
    // The program's name, in brackets, may hold blanks and brackets. Behind it follow the fields
    // from number 3 on; the start time is number 22, in clock ticks since the machine started.
    const char* rest = std::strrchr(line, ')');
    unsigned long long ticks = 0;
    if (rest == nullptr
        || std::sscanf(
               rest + 1,
               " %*c %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %llu",
               &ticks)
               != 1) {
        return 0;
    }
    const int64_t sinceBoot = static_cast<int64_t>(ticks) * (kSecondNS / sysconf(_SC_CLK_TCK));
    return ReadClock(CLOCK_REALTIME) - ReadClock(CLOCK_BOOTTIME) + sinceBoot;
}

/// How often this process maps a file now.
int32_t CountMappings(const struct stat& file) {
    FILE* maps = std::fopen("/proc/self/maps", "re");
    if (maps == nullptr) {
        return 0;
    }
    int32_t count = 0;
    char* line = nullptr;
    size_t capacity = 0;
    while (getline(&line, &capacity, maps) != -1) {
        unsigned int major = 0;
        unsigned int minor = 0;
        unsigned long long inode = 0;
        if (std::sscanf(line, "%*s %*s %*s %x:%x %llu", &major, &minor, &inode) == 3
            && inode == file.st_ino && makedev(major, minor) == file.st_dev) {
            ++count;
        }
    }
    std::free(line);
    std::fclose(maps);
    return count;
}

/// Whether an open block was made by this user in this process. A block that another module of the
/// process maps already is, whatever the clock says: a clock that was set in between must not part
/// the modules.
bool IsOwnBlock(int descriptor) {
    struct stat file {};
    if (fstat(descriptor, &file) != 0) {
        return false;
    }
    if (CountMappings(file) < 2
        && (file.st_uid != geteuid()
            || ToNanoseconds(file.st_ctim) + kClockSlackNS < GetProcessStart())) {
        return false;
    }
    // Another module's thread may have made the block just now, and not given it its length yet.
    constexpr auto kLength = static_cast<off_t>(sizeof(VnProcessBlock));
    return file.st_size >= kLength || ftruncate(descriptor, kLength) == 0;
}

template<int32_t SIZE>
void StoreText(wchar_t (&field)[SIZE], const VnString& text, int32_t limit) {
    const int32_t count = std::min({text.GetLength(), limit - 1, SIZE - 1});
    std::wmemcpy(field, text.GetText(), static_cast<size_t>(count));
    field[count] = L'\0';
}

void StorePath(wchar_t (&field)[VnProcessBlock::kPathCapacity], const VnString& path) {
    VnString directory(path);
    if (!directory.IsEmpty() && !directory.EndsWith(L'/')) {
        directory += L'/';
    }
    StoreText(field, directory, kPathLimit);
}

/// The text of a field. Another module may have left it without a terminator.
template<int32_t SIZE>
VnString LoadText(const wchar_t (&field)[SIZE]) {
    return {field, static_cast<int32_t>(std::find(field, field + SIZE, L'\0') - field)};
}

VnString ComputeApplicationDataPath(bool portable, const VnString& installDirectory) {
    if (portable) {
        return installDirectory + L"Application Data/";
    }
    const char* home = std::getenv("HOME");
    VnString path;
    path.SetFileSystemText(home);
    return path.EndsWith(L'/') ? path : path + L'/';
}

/// The module-wide lock of the process information. It is the last object that the module's static
/// initialisation makes.
VnCriticalSection ProcessLock;

} // namespace

/// Owner of the module's object. At exit only the block is closed: late callers still find the
/// object, without a block. A child of fork(2) that exits leaves the block, which is its parent's.
struct CProcessInfoHolder {
    ~CProcessInfoHolder() {
        const VnCriticalSectionLock guard(ProcessLock);
        if (Instance == nullptr) {
            Instance = new CProcessInfo(VnString());
        } else if (Owner == getpid()) {
            Instance->Block->Close();
        }
    }

    static inline CProcessInfo* Instance = nullptr;
    static inline pid_t Owner = 0;
};

namespace {

CProcessInfoHolder Holder;

} // namespace

CProcessInfo* CProcessInfo::GetInstance(bool create) {
    const VnCriticalSectionLock guard(ProcessLock);
    if (CProcessInfoHolder::Instance == nullptr && create) {
        CProcessInfoHolder::Owner = getpid();
        CProcessInfoHolder::Instance = new CProcessInfo;
    }
    return CProcessInfoHolder::Instance;
}

CProcessInfo::CProcessInfo()
    : CProcessInfo(
        VnString::Formatted(L"Velnor Process v%d (%d)", kVersion, static_cast<int32_t>(getpid()))) {
}

CProcessInfo::CProcessInfo(const VnString& blockName) : Block(std::make_unique<VnSharedMemory>()) {
    if (!blockName.IsEmpty()) {
        Open(blockName);
    }
    if (const VnProcessBlock* block = GetBlock(); block != nullptr && block->Filled == 0) {
        FilledHere = true;
        FirstFill();
    }
}

CProcessInfo::~CProcessInfo() = default;

void CProcessInfo::Open(const VnString& blockName) {
    for (int32_t number = 1; number <= kNameTries; ++number) {
        // All modules of the process come to the same name, as all of them refuse the same blocks.
        const VnString name =
            number == 1 ? blockName : VnString::Formatted(L"%s %d", blockName, number);
        for (int32_t attempt = 0; attempt < 2; ++attempt) {
            if (Block->Open(name, sizeof(VnProcessBlock))
                && (Block->IsCreator() || IsOwnBlock(Block->GetDescriptor()))) {
                return;
            }
            Block->Close();
            if (shm_unlink(VnStringUTF8(L'/' + name)) != 0) {
                break;
            }
        }
    }
}

void CProcessInfo::FirstFill() {
    VnProcessBlock* block = GetBlock();
    std::memset(static_cast<void*>(block), 0, sizeof(*block));
    block->Filled = 1;
    StorePath(block->InstallDirectory, kInstallDirectory);
    StorePath(block->DataPath, kInstallDirectory);
    StorePath(block->ModuleDirectory, kInstallDirectory);
    block->MainThread = static_cast<int64_t>(pthread_self());
    StorePath(block->ApplicationDataPath,
              ComputeApplicationDataPath(GetPortableData(), GetInstallDirectory()));
    block->Value83016 = -1;
    block->AttachCounter = kFirstAttachCounter;
}

VnProcessBlock* CProcessInfo::GetBlock() const {
    return static_cast<VnProcessBlock*>(Block->GetMapping());
}

VnString CProcessInfo::GetProgramPath() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? VnString() : LoadText(block->ProgramPath);
}

VnString CProcessInfo::GetInstallDirectory() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? VnString() : LoadText(block->InstallDirectory);
}

VnString CProcessInfo::GetDataPath() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? VnString() : LoadText(block->DataPath);
}

VnString CProcessInfo::GetModuleDirectory() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? VnString() : LoadText(block->ModuleDirectory);
}

VnString CProcessInfo::GetApplicationDataPath() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? VnString() : LoadText(block->ApplicationDataPath);
}

VnString CProcessInfo::GetProductName() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? VnString() : LoadText(block->ProductName);
}

void CProcessInfo::SetDataPath(const VnString& path) {
    if (VnProcessBlock* block = GetBlock()) {
        StorePath(block->DataPath, path);
    }
}

void CProcessInfo::SetModuleDirectory(const VnString& path) {
    if (VnProcessBlock* block = GetBlock()) {
        StorePath(block->ModuleDirectory, path);
    }
}

void CProcessInfo::SetApplicationDataPath(const VnString& path) {
    if (VnProcessBlock* block = GetBlock()) {
        StorePath(block->ApplicationDataPath, path);
    }
}

void CProcessInfo::SetProductName(const VnString& name) {
    if (VnProcessBlock* block = GetBlock()) {
        StoreText(block->ProductName, name, VnProcessBlock::kProductCapacity);
    }
}

void CProcessInfo::SetPaths(const VnString& installDirectory, bool all, bool onlyIfFilledHere) {
    if (onlyIfFilledHere && !FilledHere) {
        return;
    }
    if (VnProcessBlock* block = GetBlock()) {
        StorePath(block->InstallDirectory, installDirectory);
        if (all) {
            StorePath(block->DataPath, installDirectory);
            StorePath(block->ModuleDirectory, installDirectory);
        }
    }
    if (IVnToolsRoot* tools = VnGetToolsRoot(/*load=*/false)) {
        tools->PathsChanged();
    }
}

bool CProcessInfo::GetPortableData() const {
    const VnProcessBlock* block = GetBlock();
    return block != nullptr && block->PortableData != 0;
}

void CProcessInfo::SetPortableData(bool portable) {
    if (VnProcessBlock* block = GetBlock()) {
        block->PortableData = portable ? 1 : 0;
        StorePath(block->ApplicationDataPath,
                  ComputeApplicationDataPath(portable, GetInstallDirectory()));
    }
}

bool CProcessInfo::GetFlag() const {
    const VnProcessBlock* block = GetBlock();
    return block != nullptr && block->Flag != 0;
}

void CProcessInfo::SetFlag(bool flag) {
    if (VnProcessBlock* block = GetBlock()) {
        block->Flag = flag ? 1 : 0;
    }
}

void CProcessInfo::SetValue81960(int64_t value) {
    if (VnProcessBlock* block = GetBlock()) {
        block->Value81960 = value;
    }
}

int64_t CProcessInfo::GetValue83008() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? 0 : block->Value83008;
}

int64_t CProcessInfo::GetValue83016() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? -1 : block->Value83016;
}

pthread_t CProcessInfo::GetMainThread() const {
    const VnProcessBlock* block = GetBlock();
    return block == nullptr ? 0 : static_cast<pthread_t>(block->MainThread);
}

int32_t CProcessInfo::NextAttachNumber() {
    VnProcessBlock* block = GetBlock();
    return block == nullptr ? 0 : block->AttachCounter.fetch_add(1) + 1;
}

bool VnIsMainThread() {
    return pthread_equal(pthread_self(), CProcessInfo::GetInstance()->GetMainThread()) != 0;
}
