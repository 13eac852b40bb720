#pragma once

#include "modules/reader/CReader.h"

/// A socket that tells about the machine's network hardware: its property "AddressList" holds the
/// hardware addresses of the interfaces but the loopback one, six pairs of lower-case hexadecimal
/// digits joined with
/// "-", with "|" between them. It connects to nothing.
class CSocketReader final : public CReader {
public:
    CSocketReader() = default;

    void GetProperty(const wchar_t* name, IVnDllString& value) override;
};
