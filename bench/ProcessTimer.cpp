#include "bench/ProcessTimer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

namespace {

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// This process's environment with some entries in place of its own.
std::vector<std::string> MakeEnvironment(const std::vector<std::string>& own) {
    std::vector<std::string> entries = own;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('=') + 1);
        if (std::none_of(own.begin(), own.end(),
                         [&](const std::string& other) { return other.starts_with(name); })) {
            entries.push_back(text);
        }
    }
    return entries;
}

std::vector<char*> MakePointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

ProcessCost RunTimed(const std::vector<std::string>& command,
                     const std::string& output,
                     const std::vector<std::string>& environment) {
    std::vector<std::string> arguments = command;
    std::vector<std::string> entries = MakeEnvironment(environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ProcessCost cost;
    pid_t process = 0;
    const auto start = std::chrono::steady_clock::now();
    const int failure = posix_spawnp(&process, arguments[0].c_str(), &actions, nullptr,
                                     MakePointers(arguments).data(), MakePointers(entries).data());
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        return cost;
    }
    int status = 0;
    rusage usage = {};
    while (wait4(process, &status, 0, &usage) < 0) {
        if (errno != EINTR) {
            return cost;
        }
    }
    cost.Wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    cost.CPU = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
    cost.PeakBytes = static_cast<int64_t>(usage.ru_maxrss) * 1024;
    cost.ExitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return cost;
}
