#!/usr/bin/env python3
"""Checks what the compiler and the formatter do not: layers, circles of headers, sizes, lists, system headers.

Prints one line a finding and exits with 1 if there is any.
"""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
FOLDERS = ("core", "data", "runtime", "text", "files", "drive", "plugin", "modules", "host")
LONGEST_SOURCE = 700

# Layers of headers from the ground up; the first pattern that fits a header decides. A header includes nothing that
# stands in a later row.
LAYERS = [
    r"core/Vn(Result|FormatArg|HexDigits|TextEncoding)\.h|runtime/VnCriticalSection\.h|runtime/I[A-Z]\w*\.h",
    r"core/VnStringManager\.h",
    r"core/Vn(String|StringDetail|Buffer|DllString|DllBuffer|TextFolding|NumberText)\.h",
    r"core/Vn(ArrayBase|CoreArray|Array|NumberArray|OwnedPtrArray|OwnedChildren|StringArray)\.h",
    r"data/CBlockDataContainer\.h",
    r"core/.*\.h",
    r"runtime/Vn(Timer|Shared|LoadLibrary|SiblingModule|Translation|SettingsKey).*\.h",
    r"runtime/Vn(Log|Thread|QSort).*\.h",
    r"runtime/.*\.h",
    r"text/VnXML.*\.h",
    r"files/VnFilename\.h|files/VnURL\.h",
    r"data/Vn(Date|GUID|RegexCache).*\.h",
    r"files/Vn(File|FileInfo)\.h",
    r"files/.*\.h",
    r"data/.*\.h",
    r"text/.*\.h",
    r"plugin/IVn.*\.h",
    r"drive/.*\.h",
    r"plugin/.*\.h",
    r"(modules|host)/.*\.h",
]

# Headers of the operating system belong into files/ and runtime/ (modules, host and tests are free). The rest is named.
SYSTEM_HEADERS = re.compile(r"#include <(unistd|fcntl|dlfcn|pthread|sys/\w+|dirent|glob|poll|spawn)\.h>")
SYSTEM_HEADERS_ALLOWED = {
    "plugin/Registration.cpp",  # dladdr: the path of this very module
    "plugin/VnApp.cpp",  # the hang-up handler
    "plugin/VnDllApp.cpp",  # the abort signal
}


def layer_of(header):
    for number, pattern in enumerate(LAYERS):
        if re.fullmatch(pattern, header):
            return number
    return None


def includes_of(path):
    return re.findall(r'^#include "([^"]+)"', path.read_text(encoding="utf-8"), re.MULTILINE)


def tracked(*patterns):
    out = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "--", *patterns], cwd=ROOT, check=True,
                         capture_output=True, text=True).stdout
    return [line for line in out.splitlines() if (ROOT / line).exists()]


def check_layers(headers, complain):
    for header, included in headers.items():
        own = layer_of(header)
        if own is None:
            complain(header, "stands in no layer")
            continue
        for other in included:
            rank = layer_of(other)
            if rank is not None and rank > own:
                complain(header, f"includes the higher layer {other}")


def check_circles(headers, complain):
    done, path = set(), []

    def visit(header):
        if header in path:
            complain(header, "circle: " + " -> ".join(path[path.index(header):] + [header]))
            return
        if header in done or header not in headers:
            return
        path.append(header)
        for other in headers[header]:
            visit(other)
        path.pop()
        done.add(header)

    for header in headers:
        visit(header)


def check_lists(complain):
    lists = "\n".join((ROOT / name).read_text(encoding="utf-8") for name in tracked("*CMakeLists.txt", "*.cmake"))
    for source in tracked("*.cpp"):
        if source.startswith("fuzz/") and f"vn_add_fuzz({Path(source).stem})" in lists:
            continue
        if not re.search(r"(^|[\s/(])" + re.escape(Path(source).name) + r"\b", lists, re.MULTILINE):
            complain(source, "is in no list of sources")


def main():
    findings = []

    def complain(where, what):
        findings.append(f"{where}: {what}")

    files = [f for f in tracked("*.h", "*.cpp") if f.split("/")[0] in FOLDERS]
    headers = {f: includes_of(ROOT / f) for f in files if f.endswith(".h")}
    check_layers(headers, complain)
    check_circles(headers, complain)
    check_lists(complain)
    for name in files:
        text = (ROOT / name).read_text(encoding="utf-8")
        if text.count("\n") > LONGEST_SOURCE:
            complain(name, f"has more than {LONGEST_SOURCE} lines")
        if name.split("/")[0] not in ("files", "runtime", "modules", "host") and name not in SYSTEM_HEADERS_ALLOWED:
            for match in SYSTEM_HEADERS.finditer(text):
                complain(name, f"includes <{match.group(1)}.h>; such calls belong into files/ or runtime/")
        if name.endswith(".h") and "#pragma once" not in text:
            complain(name, "has no #pragma once")
    for line in findings:
        print(line)
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
