#include "tests/support/ProgramRun.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

std::string MakeFile() {
    std::string name = "/tmp/vn-run-XXXXXX";
    const int descriptor = mkstemp(name.data());
    if (descriptor >= 0) {
        close(descriptor);
    }
    return name;
}

std::string TakeFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    std::remove(name.c_str());
    return bytes.str();
}

void Redirect(const char* name, int flags, int target) {
    const int descriptor = open(name, flags, 0600);
    if (descriptor < 0 || dup2(descriptor, target) < 0) {
        _exit(126);
    }
    close(descriptor);
}

} // namespace

ProgramRun::ProgramRun(const std::string& program, const std::vector<std::string>& arguments)
    : OutFile(MakeFile())
    , ErrFile(MakeFile()) {
    std::vector<char*> list{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        list.push_back(const_cast<char*>(argument.c_str()));
    }
    list.push_back(nullptr);
    Process = fork();
    if (Process == 0) {
        Redirect("/dev/null", O_RDONLY, STDIN_FILENO);
        Redirect(OutFile.c_str(), O_WRONLY | O_TRUNC, STDOUT_FILENO);
        Redirect(ErrFile.c_str(), O_WRONLY | O_TRUNC, STDERR_FILENO);
        execv(program.c_str(), list.data());
        _exit(127);
    }
}

ProgramRun::~ProgramRun() {
    if (Process > 0) {
        kill(Process, SIGKILL);
        Wait();
    }
}

void ProgramRun::Signal(int number) const {
    if (Process > 0) {
        kill(Process, number);
    }
}

int ProgramRun::Wait() {
    if (Process > 0) {
        int status = 0;
        while (waitpid(Process, &status, 0) < 0 && errno == EINTR) {
        }
        Process = -1;
        Code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        Out = TakeFile(OutFile);
        Err = TakeFile(ErrFile);
    }
    return Code;
}
