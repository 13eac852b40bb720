#pragma once

#include <curl/curl.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// What one request asks for. All texts are UTF-8.
struct CCurlRequest {
    std::string URL;
    std::string Verb;                 ///< empty for GET, or POST when there is a body
    std::vector<std::string> Headers; ///< whole lines, "Name: value"
    std::string UserAgent;
    const void* Body = nullptr; ///< stays with the caller until Close
    int64_t BodySize = 0;
    int64_t RangeStart = 0;      ///< first byte wanted; 0 asks for all
    int64_t TimeoutMS = 20000;   ///< longest silence of the other side; below 1 waits for ever
    bool SucceedOnError = false; ///< a status of 400 or above still opens
};

/// What the answer's head said. `Headers` are those of the last answer, after redirects.
struct CCurlResponse {
    std::string Location; ///< address that answered in the end
    std::string Headers;  ///< status line and header lines, CR LF each
    std::string ContentType;
    std::string ContentEncoding;
    long StatusCode = 0;        ///< 0 when nothing answered
    int64_t ContentLength = -1; ///< bytes of this body, -1 when not told
};

/// One http, https or ftp transfer that the caller pulls.
///
/// Open returns once the head of the final answer is in, Read then hands out the body as it
/// arrives. Both run the transfer on the calling thread and no other. The body goes straight to
/// who reads; what arrives beyond that is buffered up to kBufferLimit, where the connection is
/// paused. Cancel may be called on any thread, all else on one at a time.
///
/// What the other side sends cannot hold the caller for ever: heads are limited in their number and
/// in their bytes altogether, and each has to be whole within the time-out.
class CCurlTransfer {
public:
    CCurlTransfer();
    ~CCurlTransfer();
    CCurlTransfer(const CCurlTransfer&) = delete;
    CCurlTransfer& operator=(const CCurlTransfer&) = delete;

    /// Sends the request. False when nothing answers, the time runs out, the status is 400 or above
    /// (but for SucceedOnError), 304, or the other side can't serve the range; GetResponse then
    /// still tells what is known.
    bool Open(const CCurlRequest& request);

    /// Up to `size` bytes. Fewer only at the end of the body or after a failure; -1 when it failed
    /// before the first byte of this call.
    int64_t Read(void* buffer, int64_t size);

    /// Ends a running Open or Read of another thread, and every later one, at once.
    void Cancel();

    const CCurlResponse& GetResponse() const { return Response; }
    /// The whole body arrived.
    bool IsComplete() const { return Done && Result == CURLE_OK; }

private:
    static constexpr size_t kBufferLimit = 1 << 20;
    static constexpr size_t kHeadLimit = 1 << 20; ///< bytes of all heads of a transfer
    static constexpr int kMaximumHeads = 64;      ///< with redirects and interim answers

    static size_t OnHeader(char* data, size_t size, size_t count, void* self);
    static size_t OnBody(char* data, size_t size, size_t count, void* self);
    void AddHeaderLine(const std::string& line);
    void EndHead();
    void AddBody(const char* data, size_t size);
    int64_t TakeBuffered(char* target, int64_t size);
    void SetOptions(const CCurlRequest& request);
    void SetBodyOptions(const CCurlRequest& request);
    bool PumpUntil(bool (CCurlTransfer::*reached)() const);
    bool PumpOnce();
    void CollectInfo();
    bool HasHead() const { return HeadComplete || Done; }
    bool HasFilledTarget() const { return TargetRoom == 0 || Done; }

    struct MultiDeleter {
        void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
    };
    struct EasyDeleter {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct ListDeleter {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    std::unique_ptr<CURLM, MultiDeleter> Multi;
    std::unique_ptr<CURL, EasyDeleter> Easy;
    std::unique_ptr<curl_slist, ListDeleter> HeaderList;
    CCurlResponse Response;
    std::string Buffer;     ///< body bytes that arrived and are not read yet
    size_t BufferStart = 0; ///< first unread byte of Buffer
    char* Target = nullptr; ///< where the running Read wants its next byte
    size_t TargetRoom = 0;  ///< bytes that it still wants
    size_t HeadBytes = 0;   ///< of all heads so far
    int Heads = 0;          ///< that are whole
    curl_off_t Sent = 0;    ///< bytes of the request's body
    int64_t TimeoutMS = 20000;
    bool HeadComplete = false; ///< the final answer's head is in
    bool Paused = false;       ///< the buffer was full
    bool Activity = false;     ///< the transfer has come further since the last look
    bool Done = false;         ///< the transfer ended, with Result
    CURLcode Result = CURLE_OK;
    std::atomic<bool> Cancelled{false};
};
