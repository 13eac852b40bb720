#include "runtime/VnRunProgram.h"

#include "core/VnStringArray.h"
#include "files/VnFilename.h"
#include "runtime/VnLoadLibrary.h"
#include "runtime/VnLog.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kLogCategory = 1;

/// Bytes that one read takes from a program's output.
constexpr int kPieceSize = 1024;

void SetCode(int32_t* code, int32_t value) {
    if (code != nullptr) {
        *code = value;
    }
}

/// Argument vector for execvp, complete before the fork: the child of a process with threads may
/// not allocate.
class ArgumentVector {
public:
    ArgumentVector(const VnString& program, const VnStringArray* arguments) {
        Add(VnFilename(program).GetNameAndExtension());
        for (int32_t index = 0; arguments != nullptr && index < arguments->GetCount(); ++index) {
            Add((*arguments)[index]);
        }
        for (std::string& text : Texts) {
            Pointers.push_back(text.data());
        }
        Pointers.push_back(nullptr);
    }

    char* const* GetPointers() { return Pointers.data(); }

private:
    void Add(const VnString& text) { Texts.emplace_back(VnStringUTF8(text).GetBytes()); }

    std::vector<std::string> Texts;
    std::vector<char*> Pointers;
};

bool RunDetached(const VnLogScope& scope,
                 const VnString& program,
                 const VnStringArray* arguments,
                 const VnString& joined,
                 int32_t* code) {
    const VnStringUTF8 file(program);
    ArgumentVector vector(program, arguments);
    const pid_t process = fork();
    if (process < 0) {
        scope.Write("Failed to fork!");
        return false;
    }
    if (process == 0) {
        execvp(file, vector.GetPointers());
        _exit(1);
    }
    // Written on this side: the log's locks may be held by a thread that the child does not have.
    scope.Write("Running non-blocking command: %s / Parameters: %s", program, joined);
    SetCode(code, process);
    return true;
}

/// Appends everything that comes out of a stream up to its end to `bytes`; false when it breaks
/// off.
bool ReadAll(FILE* stream, std::string& bytes) {
    char piece[kPieceSize];
    while (feof(stream) == 0) {
        if (fgets(piece, sizeof(piece), stream) != nullptr) {
            bytes += piece;
        } else if (ferror(stream) != 0) {
            if (errno != EINTR) {
                return false;
            }
            clearerr(stream);
        }
    }
    return true;
}

bool RunBlocking(const VnLogScope& scope,
                 const VnString& command,
                 int32_t* code,
                 VnString* output) {
    scope.Write("Running blocking command via popen: %s", command);
    FILE* stream = popen(VnStringUTF8(command), "re");
    if (stream == nullptr) {
        return false;
    }
    // Decoded in one go, so that no character is torn at the border of two pieces, and without a
    // loss, since a program may well print a path.
    std::string bytes;
    const bool isWhole = ReadAll(stream, bytes);
    if (output != nullptr) {
        *output += VnString::FromFileSystemText(bytes.c_str());
    }
    const int status = pclose(stream);
    SetCode(code, status);
    return status == 0 && isWhole;
}

/// Returns to the directory that was the current one when the object was made.
class DirectoryRestorer {
public:
    DirectoryRestorer() : Descriptor(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)) {}
    DirectoryRestorer(const DirectoryRestorer&) = delete;
    DirectoryRestorer(DirectoryRestorer&&) = delete;
    DirectoryRestorer& operator=(const DirectoryRestorer&) = delete;
    DirectoryRestorer& operator=(DirectoryRestorer&&) = delete;
    ~DirectoryRestorer() {
        if (Descriptor >= 0) {
            if (fchdir(Descriptor) != 0) {
                VnLog(kLogCategory, L"RegisterModule", L"Can't restore the current directory");
            }
            close(Descriptor);
        }
    }

    /// False when the current directory could not be kept: then there is no way back to it.
    bool CanRestore() const { return Descriptor >= 0; }

private:
    int Descriptor;
};

} // namespace

bool RunProgram(const VnString& program,
                VnStringArray* arguments,
                bool blocking,
                int32_t* code,
                VnString* output,
                bool quoteArguments,
                bool quoteProgram) {
    const VnLogScope scope(kLogCategory, "RunProgram");
    VnString joined = arguments == nullptr ? VnString() : arguments->Join(L" ");
    SetCode(code, -1);
    if (program.IsEmpty()) {
        return false;
    }
    if (!blocking) {
        return RunDetached(scope, program, arguments, joined, code);
    }
    VnString command = quoteProgram ? program.QuoteForShell() : program; // it may be an argument
    if (quoteArguments && arguments != nullptr) {
        for (VnString& argument : *arguments) {
            argument = argument.QuoteForShell();
        }
        joined = arguments->Join(L" ");
    }
    if (!joined.IsEmpty()) {
        command.Append(L" ", 1, joined, joined.GetLength());
    }
    return RunBlocking(scope, command, code, output);
}

bool RunProgramWithText(const VnString& program,
                        const VnString& arguments,
                        int32_t* code,
                        VnString* output,
                        bool quoteArguments,
                        bool quoteProgram) {
    VnStringArray list;
    list.Add(arguments);
    return RunProgram(program, &list, /*blocking=*/true, code, output, quoteArguments,
                      quoteProgram);
}

bool OpenWith(const VnString& application, const VnString& target, int32_t* code) {
    SetCode(code, -1);
    const VnString command = application.IsEmpty() ? L"open \"" + target + L'"'
                                                   : L"open -a \"" + application + L"\" " + target;
    const int status = system(VnStringUTF8(command));
    SetCode(code, status);
    return status == 0;
}

void SplitCommandLine(const VnString& text, VnString& program, VnString& arguments) {
    // Built aside, since the outputs may be the input.
    VnString head = text;
    VnString rest;
    if (text.StartsWith(L'"')) {
        head.RemoveLeft(1);
        const int32_t quote = head.Find(L'"');
        if (quote >= 0) {
            rest = head.Mid(quote + 1);
            rest.TrimLeft(L' ');
            head = head.Left(quote);
        }
    } else if (const int32_t blank = text.Find(L' '); blank >= 0) {
        head = text.Left(blank);
        rest = text.Mid(blank + 1);
    }
    program = head;
    arguments = rest;
}

bool RegisterModule(const VnString& path, bool registerIt) {
    const DirectoryRestorer restorer;
    const VnString directory = VnFilename::GetPathOnly(path);
    if (!restorer.CanRestore() || chdir(VnStringUTF8(directory)) != 0) {
        VnLog(kLogCategory, L"RegisterModule", L"Can't change into %s", directory);
    }
    VnLoadLibrary library;
    if (!library.Load(path)) {
        return false;
    }
    auto* entry =
        library.GetFunction<int32_t()>(registerIt ? "DllRegisterServer" : "DllUnregisterServer");
    return entry != nullptr && entry() >= 0;
}

bool IsModuleFile(const VnString& text) {
    return text.Contains(L".dll") || text.Contains(L".ocx") || text.Contains(L".ax");
}
