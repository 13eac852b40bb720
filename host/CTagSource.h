#pragma once

#include "host/CMediaFields.h"

#include <memory>
#include <string>
#include <string_view>

class IVnTagReader;

/// Where the fields of a media file come from.
class ITagSource {
public:
    virtual ~ITagSource() = default;
    /// The fields that the file itself tells, in `fields`. False when the file cannot be read as
    /// media.
    virtual bool Read(const std::string& path, CMediaFields& fields) = 0;
};

/// The tag reader of the tools module, made at the first file. Without that module no file can be
/// read.
class CTagSource final : public ITagSource {
public:
    CTagSource();
    ~CTagSource() override;
    CTagSource(const CTagSource&) = delete;
    CTagSource& operator=(const CTagSource&) = delete;

    /// The fields that a record holds, on the device as in the library, separated by "|".
    static std::wstring_view GetFieldList();

    bool Read(const std::string& path, CMediaFields& fields) override;

    /// False when the tools module gives no reader.
    bool IsAvailable();

private:
    std::unique_ptr<IVnTagReader> Reader;
    bool Asked = false;
};
