#pragma once

/// The user's wish to stop, as a signal brings it: Ctrl-C, a termination, or the end of the
/// terminal. The first signal is noted and the program finishes in good order; the second one ends
/// it as if there were no handler. Writing to a closed pipe is turned from a signal into an error.
class CInterrupt {
public:
    /// Installs the handlers, once a process.
    static void Install();

    static bool IsRequested() { return GetSignal() != 0; }
    /// The number of the signal that came, 0 before that.
    static int GetSignal();
};
