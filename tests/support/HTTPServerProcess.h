#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

extern char** environ;

/// The test server as a process of its own on the loopback device. It runs from construction to
/// destruction, and ends by itself when the test process dies. HTTPServer.cpp lists what it serves.
class HTTPServerProcess {
public:
    explicit HTTPServerProcess(std::string program = VN_BUILD_FOLDER "/tests/HTTPServer") {
        int in[2];
        int out[2];
        if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe for the test server");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        char* arguments[] = {program.data(), nullptr};
        const int failure =
            ::posix_spawn(&Process, program.c_str(), &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(in[0]);
        ::close(out[1]);
        KeepAlive = in[1];
        char digit = 0;
        while (failure == 0 && ::read(out[0], &digit, 1) == 1 && digit != '\n') {
            PortText += digit;
        }
        ::close(out[0]);
        if (PortText.empty()) {
            throw std::runtime_error("the test server did not start");
        }
    }

    ~HTTPServerProcess() {
        ::close(KeepAlive);
        ::waitpid(Process, nullptr, 0);
    }

    HTTPServerProcess(const HTTPServerProcess&) = delete;
    HTTPServerProcess& operator=(const HTTPServerProcess&) = delete;

    /// The address of `path`, which begins with "/".
    std::wstring URL(const std::wstring& path) const {
        return L"http://127.0.0.1:" + std::wstring(PortText.begin(), PortText.end()) + path;
    }

private:
    pid_t Process = -1;
    int KeepAlive = -1; ///< the server ends when this descriptor closes
    std::string PortText;
};
