#include "files/VnURL.h"

#include "fuzz/FuzzText.h"

namespace {

void CheckMarks(const VnString& text) {
    VnURLMarks marks;
    if (!ParseURLMarks(marks, text)) {
        return;
    }
    Require(marks.Start <= marks.SchemeEnd && marks.SchemeEnd <= marks.AuthorityStart);
    Require(marks.AuthorityStart <= marks.HostStart && marks.HostStart <= marks.HostEnd);
    Require(marks.HostEnd <= marks.AuthorityEnd && marks.AuthorityEnd <= marks.PathEnd);
    Require(marks.PathEnd <= marks.QueryEnd && marks.QueryEnd <= text.GetText() + text.GetLength());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString first = TakeLine(data, size);
    const VnString second = size > 0 ? TextOf(data, size) : VnString(L"http://h/x/y/a.m3u?q#f");
    CheckMarks(first);

    VnString reference(first);
    VnString base(second);
    if (ResolveRelativeURL(reference, base)) {
        // A reference with an authority of its own is not looked at, nor what a path that begins
        // with "//" is taken for behind a base without one.
        VnURLMarks marks;
        Require(first.StartsWith(L"//") || !ParseURLMarks(marks, base) || !marks.HasScheme()
                || !marks.HasAuthority() || (ParseURLMarks(marks, reference) && marks.HasScheme()));
    } else {
        Require(reference == first && base == second);
    }

    VnString absolute(first);
    Require(MakeAbsolute(absolute, second) || absolute == first);
    VnString relative(first);
    Require(GetRelativePath(relative, second, true, (size & 1) != 0) || relative == first);
    CombineWithBase(first, second);
    VnString scheme(first);
    Require(!ConvertPrivateScheme(scheme) || scheme.StartsWith(L"http"));
    IsValidURL(first);
    return 0;
}
