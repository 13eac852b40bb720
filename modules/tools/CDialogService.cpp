#include "modules/tools/CDialogService.h"

#include "core/VnString.h"
#include "modules/tools/ToolsText.h"

#include <poll.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kRedrawStep(100);

struct Button {
    int32_t Id;
    char Key;
    const char* Name;
};

constexpr Button kButtons[] = {
    {IVnDialogService::kButtonOk, 'o', "OK"},
    {IVnDialogService::kButtonCancel, 'c', "Cancel"},
    {IVnDialogService::kButtonYes, 'y', "Yes"},
    {IVnDialogService::kButtonNo, 'n', "No"},
};

bool IsOffered(int32_t style, int32_t button) {
    switch (style) {
    case IVnDialogService::kStyleOkCancel:
        return button == IVnDialogService::kButtonOk || button == IVnDialogService::kButtonCancel;
    case IVnDialogService::kStyleYesNoCancel:
        return button != IVnDialogService::kButtonOk;
    case IVnDialogService::kStyleYesNo:
        return button == IVnDialogService::kButtonYes || button == IVnDialogService::kButtonNo;
    default:
        return button == IVnDialogService::kButtonOk;
    }
}

/// Texts for the terminal have plain line feeds and no other control characters.
std::string ToTerminal(const wchar_t* text) {
    std::string plain;
    for (const char byte : ToUTF8(text)) {
        if (byte == '\n' || static_cast<unsigned char>(byte) >= ' ') {
            plain += byte;
        }
    }
    return plain;
}

/// Writes to the terminal. A terminal that takes nothing is nobody to tell it to.
void Show(const std::string& text) {
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
    static_cast<void>(std::fflush(stderr));
}

/// A line of the user's; false when the time runs out or the input ends. `timeoutMS` -1 waits for
/// ever.
bool ReadLine(std::string& line, int32_t timeoutMS) {
    line.clear();
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(timeoutMS);
    for (;;) {
        int wait = -1;
        if (timeoutMS >= 0) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
            wait = left.count() < 0 ? 0 : static_cast<int>(left.count());
        }
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        const int ready = ::poll(&input, 1, wait);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        char byte = 0;
        if (ready <= 0 || ::read(STDIN_FILENO, &byte, 1) != 1) {
            return false;
        }
        if (byte == '\n') {
            return true;
        }
        line += byte;
    }
}

/// Asks until an offered key or an empty line comes.
int32_t AskButton(int32_t style, int32_t defaultButton, int32_t timeoutMS) {
    std::string choices;
    for (const Button& button : kButtons) {
        if (IsOffered(style, button.Id)) {
            choices += choices.empty() ? "" : " / ";
            choices += button.Name;
            choices += button.Id == defaultButton ? " (*)" : "";
        }
    }
    for (std::string line;;) {
        Show(choices + ": ");
        if (!ReadLine(line, timeoutMS) || line.empty()) {
            return defaultButton;
        }
        const int key = std::tolower(static_cast<unsigned char>(line[0]));
        for (const Button& button : kButtons) {
            if (button.Key == key && IsOffered(style, button.Id)) {
                return button.Id;
            }
        }
    }
}

/// A status line on the terminal's last line, drawn by a thread that sleeps until the delay is
/// over.
class CTerminalWaitDialog final : public IVnWaitDialog {
public:
    CTerminalWaitDialog(std::string title, int32_t delayMS, const std::atomic<bool>* cancelFlag)
        : Title(std::move(title))
        , CancelFlag(cancelFlag)
        , Drawer([this, delayMS] { Draw(std::chrono::milliseconds(delayMS)); }) {}

    void SetStatus(const wchar_t* text) override {
        std::string status = ToTerminal(text);
        const std::lock_guard<std::mutex> guard(Lock);
        Status = std::move(status);
    }

    void Close() override {
        {
            const std::lock_guard<std::mutex> guard(Lock);
            Closed = true;
        }
        Wake.notify_all();
        Drawer.join();
        delete this;
    }

private:
    void Draw(std::chrono::milliseconds delay) {
        std::unique_lock<std::mutex> guard(Lock);
        Wake.wait_for(guard, delay, [this] { return Closed; });
        const auto isCancelled = [this] { return CancelFlag != nullptr && CancelFlag->load(); };
        bool drawn = false;
        std::string last;
        while (!Closed && !isCancelled()) {
            const std::string& line = Status.empty() ? Title : Status;
            if (!drawn || line != last) {
                Show("\r\033[K" + line);
                drawn = true;
                last = line;
            }
            Wake.wait_for(guard, kRedrawStep, [this] { return Closed; });
        }
        if (drawn) {
            Show("\r\033[K");
        }
    }

    std::mutex Lock; ///< guards Status and Closed
    std::condition_variable Wake;
    const std::string Title;
    const std::atomic<bool>* const CancelFlag; ///< the caller's, may be null
    std::string Status;
    bool Closed = false;
    std::thread Drawer; ///< last: it starts when all else stands
};

/// Where nobody looks, nothing is shown.
class CSilentWaitDialog final : public IVnWaitDialog {
public:
    void SetStatus([[maybe_unused]] const wchar_t* text) override {}
    void Close() override { delete this; }
};

} // namespace

int32_t CDialogService::ShowMessage(const wchar_t* text,
                                    const wchar_t* caption,
                                    int32_t style,
                                    int32_t defaultButton,
                                    const wchar_t* checkBoxText,
                                    bool* checked,
                                    int32_t timeoutMS) {
    if (IVnDialogHandler* handler = Handler.load()) {
        return handler->ShowMessage(text, caption, style, defaultButton);
    }
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDERR_FILENO) == 0) {
        return defaultButton;
    }
    const std::lock_guard<std::mutex> guard(Terminal);
    Show(ToTerminal(caption) + "\n" + ToTerminal(text) + "\n");
    const int32_t pressed = AskButton(style, defaultButton, timeoutMS);
    if (checkBoxText != nullptr && *checkBoxText != 0 && checked != nullptr) {
        Show(ToTerminal(checkBoxText) + "\n");
        *checked =
            AskButton(kStyleYesNo, *checked ? kButtonYes : kButtonNo, timeoutMS) == kButtonYes;
    }
    return pressed;
}

IVnWaitDialog* CDialogService::OpenWaitDialog(const wchar_t* title,
                                              const wchar_t* text,
                                              int32_t delayMS,
                                              [[maybe_unused]] bool cancellable,
                                              const std::atomic<bool>* cancelFlag,
                                              [[maybe_unused]] IVnWaitMessageCallback* callback) {
    // The terminal offers no button: who wants to cancel there interrupts the program.
    if (::isatty(STDERR_FILENO) == 0) {
        return new CSilentWaitDialog;
    }
    std::string line = ToTerminal(title);
    const std::string detail = ToTerminal(text);
    line += detail.empty() ? "" : " " + detail;
    return new CTerminalWaitDialog(std::move(line), delayMS, cancelFlag);
}
