#pragma once

#include <map>
#include <string>

/// Makes one system call of the program under test fail, for the length of a scope.
///
/// The calls are those of the objects in the program itself: what the C library, another module or
/// a started program calls goes on as ever. The program is linked with vn_fail_calls, which lists
/// the calls that can fail. One object at a time, on one thread.
class FailingCall {
public:
    /// An "error" that no call gives: a read or write moves half of the bytes it was asked for.
    static constexpr int kHalf = -1;

    /// From the `nth` next call of `name` on, 1 for the very next, `times` calls give `error`.
    FailingCall(const std::string& name, int error, int nth = 1, int times = 1);
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;
    ~FailingCall();

    /// Whether any call has failed so far.
    bool HasFailed() const;

    /// How often each call was made so far, failed or not.
    const std::map<std::string, int>& GetCounts() const;
};

/// How many descriptors the program has open.
int CountDescriptors();
