#pragma once

#include "runtime/IVnPathService.h"

/// Answers questions about paths by stat(2), one system call each, with nothing kept between calls:
/// a device may come and go at any time.
class CPathService final : public IVnPathService {
public:
    bool FileExists(const wchar_t* path, int32_t option) override;
    bool DirectoryExists(const wchar_t* path) override;
    bool IsPathAvailable(const wchar_t* path) override;
};
