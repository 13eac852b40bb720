#pragma once

#include "core/VnArray.h"

/// Array of numbers, or of other raw values that need no release.
template<typename T>
class VnNumberArray : public VnArray<T, T, true> {};

/// Array of pointers that it does not own.
template<typename T>
class VnPointerArray : public VnNumberArray<T*> {};
