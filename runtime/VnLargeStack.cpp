#include "runtime/VnLargeStack.h"

#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

/// What is left on any thread, of which the smallest have 8 MiB in all.
constexpr int64_t kAlwaysThere = int64_t{1} << 20;
/// More is asked for by no input that could be worked off in reasonable time.
constexpr int64_t kLargest = int64_t{1} << 36;

/// A stretch of address space for a stack, with a page below it that nothing may touch.
class CStack {
public:
    explicit CStack(int64_t bytes)
        : PageSize(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
        , Size((static_cast<size_t>(bytes) / PageSize + 2) * PageSize)
        , Start(mmap(nullptr,
                     Size,
                     PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK,
                     -1,
                     0)) {}
    ~CStack() {
        if (Start != MAP_FAILED) {
            munmap(Start, Size);
        }
    }
    CStack(const CStack&) = delete;
    CStack& operator=(const CStack&) = delete;

    bool SetUp(pthread_attr_t& attributes) const {
        return Start != MAP_FAILED && mprotect(Start, PageSize, PROT_NONE) == 0
               && pthread_attr_setstack(&attributes, static_cast<char*>(Start) + PageSize,
                                        Size - PageSize)
                      == 0;
    }

private:
    size_t PageSize;
    size_t Size;
    void* Start;
};

void* Work(void* work) {
    (*static_cast<const std::function<void()>*>(work))();
    return nullptr;
}

} // namespace

bool VnRunWithStack(int64_t stackBytes, const std::function<void()>& work) {
    if (stackBytes <= kAlwaysThere) {
        work();
        return true;
    }
    if (stackBytes > kLargest) {
        return false;
    }
    const CStack stack(stackBytes + kAlwaysThere);
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        return false;
    }
    pthread_t thread{};
    const bool isRunning =
        stack.SetUp(attributes)
        && pthread_create(&thread, &attributes, Work, const_cast<std::function<void()>*>(&work))
               == 0;
    pthread_attr_destroy(&attributes);
    if (isRunning) {
        pthread_join(thread, nullptr);
    }
    return isRunning;
}
