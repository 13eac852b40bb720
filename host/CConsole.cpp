#include "host/CConsole.h"

#include "host/HostText.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::chrono::milliseconds kBetweenDraws{100};
constexpr size_t kUsualWidth = 80;

size_t TerminalWidth() {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 10 ? size.ws_col
                                                                            : kUsualWidth;
}

/// `text` cut to a number of columns, counting each character as one; the end is what tells names
/// apart.
std::string CutToColumns(const std::string& text, size_t columns) {
    const std::wstring wide = HostWiden(text);
    return wide.size() <= columns
               ? text
               : "..."
                     + HostUTF8(wide.substr(wide.size() - columns + std::min<size_t>(columns, 3)));
}

/// Standard output as it was when the program began; null until it is claimed.
std::FILE* ClaimedOutput = nullptr;

std::FILE* Output() {
    return ClaimedOutput == nullptr ? stdout : ClaimedOutput;
}

/// Makes `target` another name of `/dev/null`, opened with `access`.
void PointAtNothing(int target, int access) {
    const int descriptor = open("/dev/null", access | O_CLOEXEC);
    if (descriptor >= 0 && descriptor != target) {
        dup2(descriptor, target);
        close(descriptor);
    }
}

} // namespace

void CConsole::ClaimOutput() {
    const int copy = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ClaimedOutput = copy < 0 ? nullptr : fdopen(copy, "w");
    if (ClaimedOutput == nullptr) {
        // The caller closed it. A file that is opened later must not get its number, and data must
        // fail to be written.
        PointAtNothing(STDOUT_FILENO, O_RDONLY);
        return;
    }
    if (dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        PointAtNothing(STDOUT_FILENO, O_WRONLY);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
}

CConsole::CConsole(bool quiet, bool json)
    : Quiet(quiet)
    , JSON(json)
    , HasProgress(!quiet && isatty(STDERR_FILENO) != 0)
    , HasColour(isatty(STDERR_FILENO) != 0) {
    const char* noColour = std::getenv("NO_COLOR");
    HasColour = HasColour && (noColour == nullptr || *noColour == '\0');
}

CConsole::~CConsole() {
    ClearProgress();
}

void CConsole::Message(const std::string& text) {
    if (!Quiet) {
        ClearProgress();
        std::fprintf(stderr, "%s\n", text.c_str());
    }
}

void CConsole::Error(const std::string& text) {
    ClearProgress();
    std::fprintf(stderr, HasColour ? "\x1B[31mtonehall: %s\x1B[0m\n" : "tonehall: %s\n",
                 text.c_str());
}

void CConsole::Write(std::string_view data) {
    ClearProgress();
    if (std::fwrite(data.data(), 1, data.size(), Output()) != data.size()) {
        WriteError = errno;
    }
}

void CConsole::ShowTransfer(
    const std::string& name, size_t file, size_t files, int64_t done, int64_t all) {
    if (TransferStart == Clock::time_point{}) {
        TransferStart = Clock::now();
    }
    if (!MayShow()) {
        return;
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - TransferStart).count();
    std::string state = "[" + std::to_string(file) + "/" + std::to_string(files) + "] "
                        + HostFormatBytes(done) + " of " + HostFormatBytes(all);
    if (seconds > 0.5 && done > 0) {
        const double rate = static_cast<double>(done) / seconds;
        state += ", " + HostFormatBytes(static_cast<int64_t>(rate)) + "/s, "
                 + HostFormatSeconds(static_cast<double>(all - done) / rate) + " left";
    }
    Draw(state + "  " + HostPrintable(std::string_view(name.substr(name.rfind('/') + 1))));
}

void CConsole::ShowSearch(const char* what, size_t done) {
    if (MayShow()) {
        Draw(std::string(what) + ": " + std::to_string(done));
    }
}

void CConsole::ClearProgress() {
    if (IsDrawn) {
        IsDrawn = false;
        std::fputs("\r\x1B[K", stderr);
    }
}

bool CConsole::Finish() {
    ClearProgress();
    if (std::fflush(Output()) != 0) {
        WriteError = errno;
    }
    // Whoever closed the other end of a pipe has read what it wanted.
    if (WriteError != 0 && WriteError != EPIPE) {
        Error("standard output could not be written: " + HostErrorText(WriteError));
    }
    return WriteError == 0;
}

bool CConsole::MayShow() {
    if (!HasProgress || Clock::now() - LastDrawn < kBetweenDraws) {
        return false;
    }
    LastDrawn = Clock::now();
    return true;
}

void CConsole::Draw(const std::string& line) {
    std::fprintf(stderr, "\r\x1B[K%s", CutToColumns(line, TerminalWidth() - 1).c_str());
    std::fflush(stderr);
    IsDrawn = true;
}
