#pragma once

#include "modules/reader/CCurlTransfer.h"
#include "modules/reader/CReader.h"

#include <memory>
#include <mutex>

/// A resource behind an http, https or ftp address, read as it arrives.
///
/// Its properties "Location", "AllHeaders", "StatusCode", "ContentType", "ContentLength" and
/// "ContentEncoding" tell what the server said, also after a failed open; a body is delivered as it
/// came, not decoded. A seek asks the server anew, for the bytes from there on. Any thread may
/// close; a read that waits then returns.
class CInternetReader final : public CReader {
public:
    /// `userAgent` empty: the usual one.
    CInternetReader(const VnString& url, const VnString& userAgent);
    ~CInternetReader() override;

    bool Open() override;
    int32_t Read(void* target, int32_t count) override;
    int64_t GetLength() override;
    int64_t GetPosition() override { return Position; }
    int64_t Seek(int64_t offset, int32_t origin) override;
    void GetProperty(const wchar_t* name, IVnDllString& value) override;
    void SetTimeout(int32_t milliseconds) override { Request.TimeoutMS = milliseconds; }
    void SetPostData(const void* data, int64_t size) override;
    void SetProperties(const wchar_t* text) override;
    void Close() override;

private:
    bool OpenAt(int64_t start);
    void SetRequestProperty(const VnString& key, const VnString& value);

    CCurlRequest Request;
    int64_t Position = 0;  ///< in the body that was asked for; 0 at the start of a range too
    int64_t FirstByte = 0; ///< of the present transfer, in that body
    std::mutex Lock;       ///< guards all below, so that a Close on another thread finds them whole
    std::shared_ptr<CCurlTransfer> Transfer;
    bool ClosedEarly = false; ///< closed ahead of the first open, which then fails
};
