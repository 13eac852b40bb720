#pragma once

#include "core/VnString.h"

namespace VnFileSystem {

/// Runs a shell line, for the sources of this namespace only. `format` has a "%s" for each path;
/// the paths go in quoted, and below the current directory when they are relative, so that no
/// program takes one for an option. True when the line ended by itself with exit status 0; false,
/// and nothing is run, when the first path is empty.
bool RunShellLine(const wchar_t* format,
                  const VnString& first,
                  const VnString& second = VnString());

} // namespace VnFileSystem
