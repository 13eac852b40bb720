#pragma once

#include "core/VnString.h"

#include <cstdint>

class VnStringArray;

// Starting other programs. All texts go to the system as UTF-8. `code` and `output` are out values
// that may be null.

/// Starts a program; every start of the system goes through here.
///
/// Not `blocking`: the program, found along PATH, runs detached with `arguments` (may be null) as
/// they are. `code` receives its process id, nobody waits for it, and the result is true once a
/// process was made, also when that then finds no such program.
///
/// `blocking`: the shell runs the program and its arguments, joined with blanks, and the call
/// returns when its standard output ends, which is appended to `output`. `quoteArguments` quotes
/// each argument for the shell, in the caller's array; `quoteProgram` quotes the program. `code`
/// receives the wait status, and the result is whether that is 0 and the output came to its end.
///
/// An empty program and a failed start give false and a `code` of -1.
bool RunProgram(const VnString& program,
                VnStringArray* arguments,
                bool blocking,
                int32_t* code = nullptr,
                VnString* output = nullptr,
                bool quoteArguments = false,
                bool quoteProgram = false);

/// A blocking RunProgram with one argument text, which the shell takes apart unless
/// `quoteArguments`.
bool RunProgramWithText(const VnString& program,
                        const VnString& arguments,
                        int32_t* code = nullptr,
                        VnString* output = nullptr,
                        bool quoteArguments = false,
                        bool quoteProgram = false);

/// Hands `target` to the desktop's "open" command, with an application or, when that is empty, with
/// the usual one for it. The shell sees the application in double quotes and then the target as it
/// stands; only without an application is the target in double quotes. `code` receives the result
/// of system(3), and the operation is true when that is 0.
bool OpenWith(const VnString& application, const VnString& target, int32_t* code = nullptr);

/// Divides a command line into the program, which may stand in double quotes, and the rest. Without
/// quotes the first blank divides, and the rest is not trimmed.
void SplitCommandLine(const VnString& text, VnString& program, VnString& arguments);

/// Calls a module's export `DllRegisterServer`, or `DllUnregisterServer` without `registerIt`, with
/// the module's directory as the current one, which is restored on every way out. True when the
/// export is there and gives no negative value.
bool RegisterModule(const VnString& path, bool registerIt);

/// Whether the text holds ".dll", ".ocx" or ".ax" in exact case.
bool IsModuleFile(const VnString& text);
