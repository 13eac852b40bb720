#include "host/CInterrupt.h"

#include <signal.h>

#include <atomic>

namespace {

std::atomic<int> ReceivedSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a handler may only touch what needs no lock");

extern "C" void NoteSignal(int number) {
    ReceivedSignal.store(number, std::memory_order_relaxed);
}

} // namespace

void CInterrupt::Install() {
    struct sigaction action {};
    action.sa_handler = NoteSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaction(number, &action, nullptr);
    }
    signal(SIGPIPE, SIG_IGN);
}

int CInterrupt::GetSignal() {
    return ReceivedSignal.load(std::memory_order_relaxed);
}
