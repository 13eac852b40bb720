#pragma once

#include <cstdint>
#include <functional>

/// Runs `work` where it may use `stackBytes` of stack, for library code whose depth of recursion
/// grows with its input: on the calling thread when every thread of ours has that much, otherwise
/// on a thread that lives for this call, while the caller waits. Only pages that are touched take
/// memory. False, and `work` did not run, when the system gives no such stack. `work` must not
/// throw.
bool VnRunWithStack(int64_t stackBytes, const std::function<void()>& work);
