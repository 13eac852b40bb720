#pragma once

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// The test modules tell what is done to them by lines in a file, which the test reads back.

/// Appends a line to the file that VN_TEST_JOURNAL names: the name of this module's file, a blank,
/// and the text.
[[gnu::format(printf, 1, 2)]] inline void Note(const char* format, ...) {
    const char* path = std::getenv("VN_TEST_JOURNAL");
    FILE* journal = path == nullptr ? nullptr : std::fopen(path, "a");
    if (journal == nullptr) {
        return;
    }
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(&Note), &info);
    const char* slash = info.dli_fname == nullptr ? nullptr : std::strrchr(info.dli_fname, '/');
    va_list arguments;
    va_start(arguments, format);
    std::fprintf(journal, "%s ", slash == nullptr ? "?" : slash + 1);
    std::vfprintf(journal, format, arguments);
    std::fputc('\n', journal);
    va_end(arguments);
    std::fclose(journal);
}

/// Whether the environment variable `name` is set: how a test asks a module to behave badly.
inline bool IsAsked(const char* name) {
    return std::getenv(name) != nullptr;
}
