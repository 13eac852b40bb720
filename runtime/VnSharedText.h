#pragma once

class VnString;

/// A zero-terminated copy of `text` from the shared allocator of the tools module, for a caller on
/// the other side of a module boundary, which frees it with VnFreeSharedText. Null when the tools
/// module is missing.
wchar_t* VnCreateSharedText(const VnString& text);

/// Gives a buffer of the shared allocator back; null is ignored.
void VnFreeSharedText(wchar_t* text);

/// The text of a buffer of the shared allocator, which is freed; null gives the empty text.
VnString VnTakeSharedText(wchar_t* text);
