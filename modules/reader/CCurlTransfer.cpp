#include "modules/reader/CCurlTransfer.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>

namespace {

constexpr long kMaximumRedirects = 20;
constexpr long kWholeBody = 200;         ///< the status of an answer that ignores a range
constexpr int kPollMS = 250;             ///< a wake-up that got lost costs no more than this
constexpr long kReceiveSize = 128 << 10; ///< bytes to take from the connection at once, at most
constexpr char kUserAgent[] = "Tonehall/34";

using Clock = std::chrono::steady_clock;

int64_t ElapsedMS(Clock::time_point since) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count();
}

/// libcurl's process-wide set-up, which must run once and on one thread.
void InitializeLibrary() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

bool StartsWithNoCase(const std::string& text, const char* prefix) {
    return curl_strnequal(text.c_str(), prefix, std::strlen(prefix)) != 0;
}

} // namespace

CCurlTransfer::CCurlTransfer() {
    InitializeLibrary();
    Multi.reset(curl_multi_init());
    Easy.reset(curl_easy_init());
}

CCurlTransfer::~CCurlTransfer() {
    if (Multi && Easy) {
        curl_multi_remove_handle(Multi.get(), Easy.get());
    }
}

size_t CCurlTransfer::OnHeader(char* data, size_t size, size_t count, void* self) {
    CCurlTransfer& transfer = *static_cast<CCurlTransfer*>(self);
    transfer.HeadBytes += size * count;
    if (transfer.HeadBytes > kHeadLimit || transfer.Heads >= kMaximumHeads) {
        return 0; // ends the transfer
    }
    // Lines behind the body are no part of the head.
    if (!transfer.HeadComplete) {
        transfer.AddHeaderLine(std::string(data, size * count));
    }
    return size * count;
}

void CCurlTransfer::AddHeaderLine(const std::string& line) {
    if (StartsWithNoCase(line, "HTTP/")) {
        Response.Headers.clear(); // a redirect or an interim answer came before this one
        Response.ContentEncoding.clear();
    }
    Response.Headers += line;
    constexpr char kEncoding[] = "Content-Encoding:";
    if (StartsWithNoCase(line, kEncoding)) {
        const size_t start = line.find_first_not_of(" \t", std::strlen(kEncoding));
        const size_t end = line.find_last_not_of(" \t\r\n");
        if (start != std::string::npos && end >= start) {
            Response.ContentEncoding = line.substr(start, end - start + 1);
        }
    }
    if (line == "\r\n" || line == "\n") {
        EndHead();
    }
}

void CCurlTransfer::EndHead() {
    Heads++;
    Activity = true; // single lines do not count: they could drip in for ever
    long status = 0;
    curl_easy_getinfo(Easy.get(), CURLINFO_RESPONSE_CODE, &status);
    HeadComplete = status >= 200 && (status < 300 || status >= 400);
}

size_t CCurlTransfer::OnBody(char* data, size_t size, size_t count, void* self) {
    CCurlTransfer& transfer = *static_cast<CCurlTransfer*>(self);
    if (transfer.TargetRoom == 0 && transfer.Buffer.size() - transfer.BufferStart >= kBufferLimit) {
        transfer.Paused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    transfer.AddBody(data, size * count);
    return size * count;
}

void CCurlTransfer::AddBody(const char* data, size_t size) {
    Activity = true;
    HeadComplete = true; // ftp has no head of its own
    const size_t wanted = std::min(size, TargetRoom);
    if (wanted > 0) {
        std::memcpy(Target, data, wanted);
        Target += wanted;
        TargetRoom -= wanted;
    }
    Buffer.append(data + wanted, size - wanted);
}

void CCurlTransfer::SetBodyOptions(const CCurlRequest& request) {
    CURL* const easy = Easy.get();
    if (request.Verb == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
        return;
    }
    const bool hasBody = request.Body != nullptr && request.BodySize > 0;
    if (hasBody || request.Verb == "POST" || request.Verb == "PUT") {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, hasBody ? request.Body : "");
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(hasBody ? request.BodySize : 0));
    }
    if (!request.Verb.empty() && request.Verb != "GET" && request.Verb != "POST") {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.Verb.c_str());
    }
}

void CCurlTransfer::SetOptions(const CCurlRequest& request) {
    CURL* const easy = Easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, request.URL.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https,ftp,ftps");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMaximumRedirects);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L); // a proxy's own answer
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, kReceiveSize);
    curl_easy_setopt(easy, CURLOPT_USERAGENT,
                     request.UserAgent.empty() ? kUserAgent : request.UserAgent.c_str());
    if (request.TimeoutMS > 0) {
        curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.TimeoutMS));
    }
    if (request.RangeStart > 0) {
        curl_easy_setopt(easy, CURLOPT_RESUME_FROM_LARGE,
                         static_cast<curl_off_t>(request.RangeStart));
    }
    curl_slist* list = nullptr;
    for (const std::string& line : request.Headers) {
        // The length is libcurl's to tell: it knows whether a redirect still carries the body.
        if (!StartsWithNoCase(line, "Content-Length:")) {
            list = curl_slist_append(list, line.c_str());
        }
    }
    list = curl_slist_append(list, "Expect:"); // no round trip ahead of a body
    HeaderList.reset(list);
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, list);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &CCurlTransfer::OnHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CCurlTransfer::OnBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    SetBodyOptions(request);
}

bool CCurlTransfer::Open(const CCurlRequest& request) {
    if (!Multi || !Easy || Cancelled) {
        return false;
    }
    TimeoutMS = request.TimeoutMS;
    Response.Location = request.URL;
    SetOptions(request);
    if (curl_multi_add_handle(Multi.get(), Easy.get()) != CURLM_OK) {
        return false;
    }
    const bool reached = PumpUntil(&CCurlTransfer::HasHead);
    CollectInfo();
    // A body that breaks off is the reader's to find: its first bytes are here.
    if (!reached || (!HeadComplete && Result != CURLE_OK)) {
        return false;
    }
    if (request.RangeStart > 0 && Response.StatusCode == kWholeBody) {
        return false; // the server sends all of it, from the start
    }
    return Response.StatusCode < 400 ? Response.StatusCode != 304 : request.SucceedOnError;
}

void CCurlTransfer::CollectInfo() {
    CURL* const easy = Easy.get();
    char* text = nullptr;
    if (curl_easy_getinfo(easy, CURLINFO_EFFECTIVE_URL, &text) == CURLE_OK && text != nullptr) {
        Response.Location = text;
    }
    text = nullptr;
    if (curl_easy_getinfo(easy, CURLINFO_CONTENT_TYPE, &text) == CURLE_OK && text != nullptr) {
        Response.ContentType = text;
    }
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &Response.StatusCode);
    curl_off_t length = -1;
    curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    Response.ContentLength = length;
}

bool CCurlTransfer::PumpOnce() {
    int running = 0;
    if (curl_multi_perform(Multi.get(), &running) != CURLM_OK) {
        Done = true;
        Result = CURLE_FAILED_INIT;
        return false;
    }
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(Multi.get(), &left)) {
        if (message->msg == CURLMSG_DONE) {
            Done = true;
            Result = message->data.result;
        }
    }
    return true;
}

bool CCurlTransfer::PumpUntil(bool (CCurlTransfer::*reached)() const) {
    Clock::time_point lastActivity = Clock::now();
    for (;;) {
        if (Cancelled) {
            return false;
        }
        if (!PumpOnce()) {
            return false;
        }
        if ((this->*reached)()) {
            return true;
        }
        curl_off_t sent = 0;
        curl_easy_getinfo(Easy.get(), CURLINFO_SIZE_UPLOAD_T, &sent);
        if (Activity || sent != Sent) {
            Activity = false;
            Sent = sent;
            lastActivity = Clock::now();
        }
        const int64_t silent = ElapsedMS(lastActivity);
        if (TimeoutMS > 0 && silent >= TimeoutMS) {
            return false;
        }
        const int64_t wait =
            TimeoutMS > 0 ? std::min<int64_t>(kPollMS, TimeoutMS - silent) : kPollMS;
        curl_multi_poll(Multi.get(), nullptr, 0, static_cast<int>(wait), nullptr);
    }
}

int64_t CCurlTransfer::TakeBuffered(char* target, int64_t size) {
    const size_t count = std::min(Buffer.size() - BufferStart, static_cast<size_t>(size));
    std::memcpy(target, Buffer.data() + BufferStart, count);
    BufferStart += count;
    if (BufferStart == Buffer.size()) {
        Buffer.clear();
        BufferStart = 0;
    }
    return static_cast<int64_t>(count);
}

int64_t CCurlTransfer::Read(void* buffer, int64_t size) {
    if (size < 1 || Cancelled) {
        return size < 1 ? 0 : -1;
    }
    const int64_t buffered = TakeBuffered(static_cast<char*>(buffer), size);
    Target = static_cast<char*>(buffer) + buffered;
    TargetRoom = static_cast<size_t>(size - buffered);
    if (TargetRoom > 0 && Paused) {
        Paused = false;
        curl_easy_pause(Easy.get(), CURLPAUSE_CONT); // may deliver at once
    }
    if (!HasFilledTarget()) {
        PumpUntil(&CCurlTransfer::HasFilledTarget);
    }
    const int64_t total = size - static_cast<int64_t>(TargetRoom);
    Target = nullptr;
    TargetRoom = 0;
    return total > 0 || IsComplete() ? total : -1;
}

void CCurlTransfer::Cancel() {
    Cancelled = true;
    if (Multi) {
        curl_multi_wakeup(Multi.get());
    }
}
