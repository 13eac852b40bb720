#pragma once

#include <utility>

/// A text result of the host's interfaces: one pointer to zero-terminated wide characters from the
/// shared allocator of the tools module, null for no text. Returned by value; the receiver frees
/// the buffer through that allocator.
struct VnHandheldText {
    wchar_t* Characters = nullptr;
};

static_assert(sizeof(VnHandheldText) == sizeof(void*));
