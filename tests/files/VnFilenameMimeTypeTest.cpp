#include "files/VnFilename.h"

#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>

namespace {

/// Answers each path on the loopback device with the response set for it, byte for byte.
class ScriptedServer {
public:
    ScriptedServer() : Listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        if (bind(Listener, reinterpret_cast<sockaddr*>(&address), size) != 0
            || listen(Listener, 16) != 0
            || getsockname(Listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
            ADD_FAILURE() << "no socket for the test server";
        }
        Base = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;
    ~ScriptedServer() {
        shutdown(Listener, SHUT_RDWR);
        if (Worker.joinable()) {
            Worker.join();
        }
        close(Listener);
    }

    void Set(const std::string& path, const std::string& headers, const std::string& body) {
        Responses[path] = "HTTP/1.0 200 OK\r\n" + headers + "\r\n" + body;
    }
    void SetRaw(const std::string& path, const std::string& response) {
        Responses[path] = response;
    }

    /// No response is set behind this.
    void Start() {
        Worker = std::thread([this] { Serve(); });
    }

    std::string URL(const std::string& path) const { return Base + path; }

    std::atomic<int> Requests{0};

private:
    void Serve() {
        for (;;) {
            const int connection = accept4(Listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0) {
                return;
            }
            std::string request;
            char piece[1024];
            while (request.find("\r\n\r\n") == std::string::npos) {
                const ssize_t count = recv(connection, piece, sizeof(piece), 0);
                if (count <= 0) {
                    break;
                }
                request.append(piece, static_cast<size_t>(count));
            }
            const size_t start = request.find(' ') + 1;
            const auto found =
                Responses.find(request.substr(start, request.find(' ', start) - start));
            const std::string response =
                found == Responses.end() ? "HTTP/1.0 404 Gone\r\n\r\n" : found->second;
            static_cast<void>(send(connection, response.data(), response.size(), MSG_NOSIGNAL));
            shutdown(connection, SHUT_WR);
            while (recv(connection, piece, sizeof(piece), 0) > 0) {
            }
            close(connection);
            ++Requests;
        }
    }

    int Listener;
    std::string Base;
    std::map<std::string, std::string> Responses;
    std::thread Worker;
};

class VnFilenameMimeType : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(VnGetToolsRoot(), nullptr); }

    /// The file type found for a path, and "-" when the result is false.
    std::string Probe(const std::string& path, bool followPlaylist = true) {
        Filename.Set(ToText(Server.URL(path)));
        const bool found =
            Filename.SetFileTypeFromURLMimeType(followPlaylist, /*allowNetwork=*/true);
        const std::string type = ToBytes(Filename.GetProperty(VnFilename::kFileType));
        EXPECT_EQ(found, !type.empty()) << path;
        return found ? type : "-";
    }

    ScriptedServer Server;
    VnFilename Filename;
};

TEST_F(VnFilenameMimeType, MapsTheContentType) {
    Server.Set("/mp3", "Content-Type: audio/mpeg\r\n", "x");
    Server.Set("/flac.mp3", "Content-Type: audio/flac; q=1\r\n", "x");
    Server.Set("/none", "", "");
    Server.Set("/unknown", "Content-Type: made/up\r\n", "x");
    Server.Set("/inside", "", "icy\nCONTENT-Type:  audio/flac \r\nrest");
    Server.Start();
    EXPECT_EQ(Probe("/mp3"), "mp3");
    EXPECT_EQ(Probe("/flac.mp3"), "flac");
    EXPECT_EQ(Probe("/none"), "mp3");
    EXPECT_EQ(Probe("/inside"), "flac");
    EXPECT_EQ(Probe("/unknown"), "-");
    EXPECT_EQ(Probe("/missing"), "-");
}

TEST_F(VnFilenameMimeType, LooksIntoWhatMayBeAPlaylist) {
    const std::string asf = "Content-Type: video/x-ms-asf\r\n";
    Server.Set("/asx", asf, "<?x?>\n<AsX version=\"3\">");
    Server.Set("/asf", asf, "\x30\x26\xB2\x75");
    Server.Set("/empty", asf, "");
    Server.Set("/large", asf + "Content-Length: 65536\r\n", "<asx>" + std::string(65531, ' '));
    Server.Set("/edge", asf + "Content-Length: 65535\r\n", "<asx>" + std::string(65530, ' '));
    Server.Set("/mms", asf, "mms://h/stream\r\nmore");
    Server.Set("/two", asf, "http://h/a\r\nhttp://h/b\r\n");
    Server.Set("/hop", asf, Server.URL("/target") + " \r\n");
    Server.Set("/target", "Content-Type: audio/flac\r\n", "x");
    Server.Set("/self", asf, Server.URL("/SELF"));
    Server.Set("/a", asf, Server.URL("/b"));
    Server.Set("/b", asf, Server.URL("/a"));
    Server.Start();
    EXPECT_EQ(Probe("/asx"), "asx");
    EXPECT_EQ(Probe("/asf"), "asf");
    EXPECT_EQ(Probe("/empty"), "asf");
    EXPECT_EQ(Probe("/large"), "asf");
    EXPECT_EQ(Probe("/edge"), "asx");
    EXPECT_EQ(Probe("/two"), "asf");
    EXPECT_EQ(Probe("/self"), "asf");

    EXPECT_EQ(Probe("/mms", /*followPlaylist=*/false), "asf");
    EXPECT_EQ(ToBytes(Filename.Filename), Server.URL("/mms"));
    EXPECT_EQ(Probe("/mms"), "asf");
    EXPECT_EQ(ToBytes(Filename.Filename), "mms://h/stream");
    EXPECT_EQ(Probe("/hop"), "flac");
    EXPECT_EQ(ToBytes(Filename.Filename), Server.URL("/target"));

    Server.Requests = 0;
    EXPECT_EQ(Probe("/a"), "asf");
    EXPECT_LE(Server.Requests, 20);
}

TEST_F(VnFilenameMimeType, TakesTheSchemeOfARedirectThatCannotBeOpened) {
    Server.SetRaw("/moved", "HTTP/1.0 302 Found\r\nLocation: rtmp://h/live\r\n\r\n");
    Server.SetRaw("/nowhere", "HTTP/1.0 302 Found\r\nLocation: gopher://h/x\r\n\r\n");
    Server.Start();
    EXPECT_EQ(Probe("/moved"), "rtmp");
    EXPECT_EQ(Probe("/nowhere"), "-");
}

TEST_F(VnFilenameMimeType, AsksAServerForASize) {
    Server.SetRaw("/sized", "HTTP/1.0 200 OK\r\nContent-Length: 1234\r\n\r\n");
    Server.Start();
    EXPECT_EQ(VnFilename(ToText(Server.URL("/sized"))).GetFileSize(/*allowRemote=*/true), 1234);
    EXPECT_EQ(VnFilename(ToText(Server.URL("/missing"))).GetFileSize(/*allowRemote=*/true), -1);
}

} // namespace
