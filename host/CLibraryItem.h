#pragma once

#include "host/CExpression.h"
#include "host/CMediaFields.h"

#include <cstdint>
#include <string>

/// One media file of the library.
struct CLibraryItem final : IExpressionItem {
    std::string Path;  ///< absolute, as the file system spells it
    int64_t Size = 0;  ///< bytes
    int64_t MTime = 0; ///< nanoseconds since 1970
    CMediaFields Fields;

    std::wstring GetRawField(std::wstring_view name) const override { return Fields.Get(name); }
    std::wstring GetLibraryName() const override;
};

/// A name that the library's walk came upon and did not take.
struct CPassedOver {
    std::string Path;
    std::string Reason;     ///< in words
    bool IsFailure = false; ///< it could not be read, as against: it is nothing to send
};
