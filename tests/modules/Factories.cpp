// The factories of the reader, disc and WM factory modules. Each gives its own name as its object.

#include "tests/modules/Journal.h"
#include "tests/modules/PlainFactories.h"

#include <cstdint>

#define VN_DEFINE_FACTORY(NAME)                                                                    \
    [[gnu::visibility("default")]] const char* NAME() {                                            \
        return #NAME;                                                                              \
    }

extern "C" {

VN_FOR_EACH_PLAIN_FACTORY(VN_DEFINE_FACTORY)

[[gnu::visibility("default")]] const char* CreateGenericReaderDLL(const wchar_t* source) {
    Note("CreateGenericReaderDLL %ls", source);
    return "CreateGenericReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateInternetReaderDLL(const wchar_t* url) {
    Note("CreateInternetReaderDLL %ls", url);
    return "CreateInternetReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateSocketReaderDLL(const wchar_t* name,
                                                                 int32_t flag) {
    Note("CreateSocketReaderDLL %ls %d", name, flag);
    return "CreateSocketReaderDLL";
}

[[gnu::visibility("default")]] const char*
CreateTruncatingReaderDLL(const char* text, int64_t number, double real, bool flag) {
    Note("CreateTruncatingReaderDLL %s %ld %g %d", text, static_cast<long>(number), real,
         flag ? 1 : 0);
    return "CreateTruncatingReaderDLL";
}

} // extern "C"
