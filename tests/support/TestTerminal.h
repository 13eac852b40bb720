#pragma once

#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>

/// Stands in for the user's terminal: while it lives, standard input and standard error of this
/// process are a terminal whose other end the test holds.
class TestTerminal {
public:
    TestTerminal() {
        int user = -1;
        if (::openpty(&Master, &user, nullptr, nullptr, nullptr) != 0) {
            throw std::runtime_error("no terminal for the test");
        }
        termios settings = {};
        ::tcgetattr(user, &settings);
        settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        ::tcsetattr(user, TCSANOW, &settings);
        std::fflush(stderr);
        Input = ::dup(STDIN_FILENO);
        Error = ::dup(STDERR_FILENO);
        ::dup2(user, STDIN_FILENO);
        ::dup2(user, STDERR_FILENO);
        ::close(user);
    }
    ~TestTerminal() {
        std::fflush(stderr);
        Restore(Input, STDIN_FILENO);
        Restore(Error, STDERR_FILENO);
        ::close(Master);
    }
    TestTerminal(const TestTerminal&) = delete;
    TestTerminal& operator=(const TestTerminal&) = delete;

    /// What the user types.
    void Type(const std::string& text) const {
        if (::write(Master, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("the terminal takes no more");
        }
    }
    /// What was shown since the last call.
    std::string TakeOutput() const {
        std::string text;
        char block[4096];
        pollfd ready = {Master, POLLIN, 0};
        while (::poll(&ready, 1, 50) == 1 && (ready.revents & POLLIN) != 0) {
            const ssize_t count = ::read(Master, block, sizeof(block));
            if (count <= 0) {
                break;
            }
            text.append(block, static_cast<size_t>(count));
        }
        return text;
    }

private:
    static void Restore(int kept, int descriptor) {
        if (kept >= 0) {
            ::dup2(kept, descriptor);
            ::close(kept);
        } else {
            ::close(descriptor);
        }
    }

    int Master = -1;
    int Input = -1; ///< what standard input was
    int Error = -1; ///< what standard error was
};
