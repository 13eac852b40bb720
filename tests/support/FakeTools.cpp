#include "tests/support/FakeTools.h"

// The linker sends every call of VnGetToolsRoot from another object file here.
extern "C" IVnToolsRoot*
WrappedGetToolsRoot(bool load, const wchar_t* directory) asm("__wrap__Z14VnGetToolsRootbPKw");

extern "C" IVnToolsRoot* WrappedGetToolsRoot(bool /*load*/, const wchar_t* /*directory*/) {
    return FakeTools::Installed;
}
