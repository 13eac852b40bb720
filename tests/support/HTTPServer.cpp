// A small HTTP/1.1 server on the loopback device for tests. It picks a free port, writes it as one
// line to standard output and serves until its standard input ends, so it never outlives the test
// that started it. What it answers depends on the first segment of the path; see Routes below.

#include "tests/support/Packing.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace {

struct Request {
    std::string Method;
    std::string Path;
    std::map<std::string, std::string> Headers; ///< names in lower case
    std::string Body;

    std::string Header(const std::string& name) const {
        const auto found = Headers.find(name);
        return found == Headers.end() ? std::string() : found->second;
    }

    /// The path's part behind `prefix`, as a number.
    int64_t Number(const std::string& prefix) const {
        return std::atoll(Path.c_str() + prefix.size());
    }
};

std::mutex LogLock;
std::string Log; ///< one line a request: method, path, range

constexpr char kModified[] = "Sun, 13 Sep 2020 12:26:42 GMT";
constexpr char kPlaylistType[] = "Content-Type: video/x-ms-asf\r\n";

bool Send(int connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

/// `count` bytes of the fixed pattern that every numbered route serves: byte i is i modulo 251.
std::string Pattern(int64_t count) {
    std::string bytes(static_cast<size_t>(std::max<int64_t>(count, 0)), '\0');
    for (size_t i = 0; i < bytes.size(); i++) {
        bytes[i] = static_cast<char>(i % 251);
    }
    return bytes;
}

/// Sends bytes `start` to `end` of the pattern in large pieces; false when the other side is gone.
bool SendPattern(int connection, int64_t start, int64_t end) {
    static const std::string piece = Pattern(251 * 4096);
    while (start < end) {
        const size_t from = static_cast<size_t>(start % 251);
        const size_t size = std::min(piece.size() - from, static_cast<size_t>(end - start));
        if (!Send(connection, std::string_view(piece).substr(from, size))) {
            return false;
        }
        start += static_cast<int64_t>(size);
    }
    return true;
}

void Answer(int connection,
            const Request& request,
            const std::string& status,
            const std::string& headers,
            const std::string& body) {
    Send(connection, "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: "
                         + std::to_string(body.size()) + "\r\nConnection: close\r\n\r\n");
    if (request.Method != "HEAD") {
        Send(connection, body);
    }
}

/// `size` bytes of the pattern with their length, from the byte on that a Range header asks for.
void AnswerBytes(int connection, const Request& request, int64_t size) {
    const std::string range = request.Header("range");
    const bool isRange = range.rfind("bytes=", 0) == 0;
    const int64_t start = isRange ? std::atoll(range.c_str() + 6) : 0;
    if (isRange && start >= size) {
        Answer(connection, request, "416 Range Not Satisfiable", "", "");
        return;
    }
    const std::string all = std::to_string(size);
    Send(connection,
         (isRange ? "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(start)
                        + "-" + std::to_string(size - 1) + "/" + all
                  : std::string("HTTP/1.1 200 OK\r\nAccept-Ranges: bytes"))
             + "\r\nContent-Length: " + std::to_string(size - start)
             + "\r\nConnection: close\r\n\r\n");
    if (request.Method != "HEAD") {
        SendPattern(connection, start, size);
    }
}

void AnswerChunked(int connection, const std::string& body) {
    Send(connection, "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n");
    for (size_t at = 0; at < body.size(); at += 1000) {
        const std::string piece = body.substr(at, 1000);
        char size[16];
        std::snprintf(size, sizeof(size), "%zx\r\n", piece.size());
        Send(connection, size + piece + "\r\n");
    }
    Send(connection, "0\r\n\r\n");
}

/// Sends `start` once and then `piece` again and again, with a pause of `pauseMS` behind each,
/// until the other side has had enough.
void AnswerWithoutEnd(int connection,
                      const std::string& start,
                      const std::string& piece,
                      int pauseMS = 0) {
    for (bool taken = Send(connection, start); taken;) {
        taken = Send(connection, piece);
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMS));
    }
}

/// A declared length of `size`, of which only `sent` bytes go out. With `stall` the connection then
/// stays open and silent for a minute.
void AnswerPartly(int connection, int64_t size, int64_t sent, bool stall) {
    Send(connection,
         "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(size) + "\r\n\r\n" + Pattern(sent));
    if (stall) {
        std::this_thread::sleep_for(std::chrono::minutes(1));
    }
}

/// Method, path, headers and body of the request as text.
std::string Echo(const Request& request) {
    std::string text = request.Method + " " + request.Path + "\n";
    for (const auto& [name, value] : request.Headers) {
        text += name + ": " + value + "\n";
    }
    return text + "\n" + request.Body;
}

/// Text behind "key=" in the path, up to the next "&", with %XX decoded.
std::string Query(const Request& request, const std::string& key) {
    size_t at = request.Path.find(key + "=");
    std::string text;
    if (at == std::string::npos) {
        return text;
    }
    for (at += key.size() + 1; at < request.Path.size() && request.Path[at] != '&'; at++) {
        if (request.Path[at] == '%' && at + 2 < request.Path.size()) {
            text +=
                static_cast<char>(std::strtol(request.Path.substr(at + 1, 2).c_str(), nullptr, 16));
            at += 2;
        } else {
            text += request.Path[at];
        }
    }
    return text;
}

void AnswerDated(int connection, const Request& request, bool honourCondition) {
    const std::string modified = std::string("Last-Modified: ") + kModified + "\r\n";
    if (honourCondition && !request.Header("if-modified-since").empty()) {
        Send(connection, "HTTP/1.1 304 Not Modified\r\n" + modified + "Connection: close\r\n\r\n");
        return;
    }
    Answer(connection, request, "200 OK", modified, Pattern(1000));
}

// Routes. N is a decimal number.
//   /bytes/N     N bytes, with length and ranges        /chunked/N  N bytes, length not told
//   /close/N     N bytes, ended by the close            /gzip/N     N bytes, packed
//   /badgzip     a body that only claims to be packed   /short/N    promises N bytes, sends half
//   /stall/N     promises N bytes, sends 10, waits      /silent     never answers
//   /redirect/N  N redirects, then /bytes/100           /status/N   status N with a body
//   /echo        the request as text                    /log        one line a request so far
//   /dated, /stale  1000 bytes with Last-Modified; /dated answers any condition with 304
//   /typed?type=T&body=B  body B with the content type T, none when T is empty
//   /asx/N             N bytes of a playlist of the content type video/x-ms-asf
//   /hop/PATH          the same type, length not told, with the address of /PATH as its body;
//   without
//                      a PATH its own address in another letter case
//   /moved?to=URL      redirects to URL
// What a hostile server would do:
//   /loop, /circle     redirects to itself, redirects by way of another
//   /headers, /line, /continue  header lines, one line, interim answers without end
//   /drip              header lines without end, ten a second
//   /endless, /more    a body without end; more than the 1000 bytes that were told
//   /length/TEXT       TEXT as the length of a body of 10 bytes
//   /bomb/N            N times 8 MiB of zeros, packed
//   /shift             answers any range with one from the start
/// The routes of a hostile server; false when the path is none of them.
bool RouteHostile(int connection, const Request& request) {
    const std::string& path = request.Path;
    const std::string ok = "HTTP/1.1 200 OK\r\n";
    std::string many;
    for (int i = 0; i < 1000; i++) {
        many += "X-Header: and another one\r\n";
    }
    if (path == "/loop" || path == "/circle" || path == "/circle2") {
        const char* next = path == "/loop"     ? path.c_str()
                           : path == "/circle" ? "/circle2"
                                               : "/circle";
        Answer(connection, request, "302 Found", std::string("Location: ") + next + "\r\n", "");
    } else if (path == "/headers") {
        AnswerWithoutEnd(connection, ok, many);
    } else if (path == "/line") {
        AnswerWithoutEnd(connection, ok + "X: ", std::string(10000, 'x'));
    } else if (path == "/continue") {
        AnswerWithoutEnd(connection, "", "HTTP/1.1 100 Continue\r\n\r\n");
    } else if (path == "/drip") {
        AnswerWithoutEnd(connection, ok, "X-Header: and another one\r\n", 100);
    } else if (path == "/endless") {
        AnswerWithoutEnd(connection, ok + "\r\n", Pattern(251 * 4096));
    } else if (path == "/more") {
        Send(connection, ok + "Content-Length: 1000\r\n\r\n");
        SendPattern(connection, 0, 2'000'000);
    } else if (path.rfind("/length/", 0) == 0) {
        Send(connection, ok + "Content-Length: " + path.substr(8) + "\r\n\r\n" + Pattern(10));
    } else if (path.rfind("/bomb/", 0) == 0) {
        static const std::string member = Pack(std::string(8 << 20, '\0'), kGzip);
        std::string bomb;
        for (int64_t left = request.Number("/bomb/"); left > 0; left--) {
            bomb += member;
        }
        Answer(connection, request, "200 OK", "Content-Encoding: gzip\r\n", bomb);
    } else if (path == "/shift") {
        Answer(connection, request,
               request.Header("range").empty() ? "200 OK" : "206 Partial Content",
               "Content-Range: bytes 0-999/1000\r\n", Pattern(1000));
    } else {
        return false;
    }
    return true;
}

void Route(int connection, const Request& request) {
    const auto is = [&request](const char* prefix) { return request.Path.rfind(prefix, 0) == 0; };
    if (is("/bytes/")) {
        AnswerBytes(connection, request, request.Number("/bytes/"));
    } else if (is("/chunked/")) {
        AnswerChunked(connection, Pattern(request.Number("/chunked/")));
    } else if (is("/close/")) {
        Send(connection, "HTTP/1.0 200 OK\r\n\r\n" + Pattern(request.Number("/close/")));
    } else if (is("/gzip/")) {
        Answer(connection, request, "200 OK", "Content-Encoding: gzip\r\n",
               Pack(Pattern(request.Number("/gzip/")), kGzip));
    } else if (is("/badgzip")) {
        Answer(connection, request, "200 OK", "Content-Encoding: gzip\r\n", "this is not packed");
    } else if (is("/short/")) {
        AnswerPartly(connection, request.Number("/short/"), request.Number("/short/") / 2, false);
    } else if (is("/stall/")) {
        AnswerPartly(connection, request.Number("/stall/"), 10, true);
    } else if (is("/silent")) {
        std::this_thread::sleep_for(std::chrono::minutes(1));
    } else if (is("/redirect/")) {
        const int64_t left = request.Number("/redirect/") - 1;
        const std::string next = left > 0 ? "/redirect/" + std::to_string(left) : "/bytes/100";
        Answer(connection, request, "302 Found", "Location: " + next + "\r\n", "moved");
    } else if (is("/status/")) {
        const std::string code = request.Path.substr(8);
        Answer(connection, request, code + " Status", "", "status " + code);
    } else if (is("/echo")) {
        Answer(connection, request, "200 OK", "X-Test:  some value \r\n", Echo(request));
    } else if (is("/dated")) {
        AnswerDated(connection, request, true);
    } else if (is("/stale")) {
        AnswerDated(connection, request, false);
    } else if (is("/typed")) {
        const std::string type = Query(request, "type");
        Answer(connection, request, "200 OK", type.empty() ? "" : "Content-Type: " + type + "\r\n",
               Query(request, "body"));
    } else if (is("/asx/")) {
        std::string body(static_cast<size_t>(request.Number("/asx/")), ' ');
        Answer(connection, request, "200 OK", kPlaylistType, body.replace(0, 5, "<AsX>"));
    } else if (is("/hop")) {
        const std::string path = request.Path == "/hop" ? "/HOP" : request.Path.substr(4);
        Send(connection, std::string("HTTP/1.0 200 OK\r\n") + kPlaylistType + "\r\nhttp://"
                             + request.Header("host") + path + " \r\n");
    } else if (is("/moved")) {
        Answer(connection, request, "302 Found", "Location: " + Query(request, "to") + "\r\n", "");
    } else if (RouteHostile(connection, request)) {
        return;
    } else if (is("/log")) {
        const std::lock_guard<std::mutex> guard(LogLock);
        Answer(connection, request, "200 OK", "", Log);
    } else {
        Answer(connection, request, "404 Not Found", "", "no such route");
    }
}

std::string Trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    const size_t last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

/// Reads one request; false when the connection ends before it is whole.
bool Receive(int connection, Request& request) {
    std::string data;
    char block[4096];
    size_t headEnd = std::string::npos;
    while ((headEnd = data.find("\r\n\r\n")) == std::string::npos) {
        const ssize_t count = ::recv(connection, block, sizeof(block), 0);
        if (count <= 0) {
            return false;
        }
        data.append(block, static_cast<size_t>(count));
    }
    const size_t methodEnd = data.find(' ');
    request.Method = data.substr(0, methodEnd);
    request.Path = data.substr(methodEnd + 1, data.find(' ', methodEnd + 1) - methodEnd - 1);
    for (size_t at = data.find("\r\n") + 2; at < headEnd;) {
        const size_t end = data.find("\r\n", at);
        const std::string line = data.substr(at, end - at);
        const size_t colon = line.find(':');
        std::string name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(), ::tolower);
        request.Headers[name] = colon == std::string::npos ? "" : Trimmed(line.substr(colon + 1));
        at = end + 2;
    }
    request.Body = data.substr(headEnd + 4);
    const size_t length = static_cast<size_t>(std::atoll(request.Header("content-length").c_str()));
    if (request.Header("expect") == "100-continue") {
        Send(connection, "HTTP/1.1 100 Continue\r\n\r\n");
    }
    while (request.Body.size() < length) {
        const ssize_t count = ::recv(connection, block, sizeof(block), 0);
        if (count <= 0) {
            return false;
        }
        request.Body.append(block, static_cast<size_t>(count));
    }
    return true;
}

void Serve(int connection) {
    Request request;
    if (Receive(connection, request)) {
        {
            const std::lock_guard<std::mutex> guard(LogLock);
            Log += request.Method + " " + request.Path + " " + request.Header("range") + "\n";
        }
        Route(connection, request);
    }
    ::shutdown(connection, SHUT_WR);
    ::close(connection);
}

} // namespace

int main() {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (listener < 0 || ::bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0
        || ::listen(listener, 64) != 0
        || ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        std::perror("HTTPServer");
        return 1;
    }
    std::printf("%d\n", ntohs(address.sin_port));
    std::fflush(stdout);

    std::thread([] {
        char byte = 0;
        while (::read(STDIN_FILENO, &byte, 1) > 0) {
        }
        std::_Exit(0);
    }).detach();
    for (;;) {
        const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            std::thread(Serve, connection).detach();
        }
    }
}
