#pragma once

#include <cstdint>

class VnString;

/// One loaded shared module: the handle of `dlopen`, closed with the object.
///
/// A module of the family may export `Attach` and `Detach`. Loading calls the first with the next
/// number of the process-wide attach counter, unloading calls the second ahead of `dlclose`. A
/// module's code stays mapped after it was closed, so that code addresses of it never dangle. One
/// thread at a time.
class VnLoadLibrary {
public:
    VnLoadLibrary() = default;
    ~VnLoadLibrary() { Unload(); }
    VnLoadLibrary(const VnLoadLibrary&) = delete;
    VnLoadLibrary& operator=(const VnLoadLibrary&) = delete;

    /// Drops what the object held and loads the module at `path`; a bare file name is searched
    /// along the run path. `mode` has no meaning on this platform. On failure the object is empty,
    /// the standard output gets a line with the loader's error text and the path, and the result is
    /// false.
    bool Load(const VnString& path, int32_t mode = 0);

    /// Calls the module's `Detach`, if there is one, and closes it. Nothing happens without a
    /// module.
    void Unload();

    /// Forgets the module without a call into it and without closing it: it stays until the process
    /// ends.
    void Abandon() { Handle = nullptr; }

    bool IsLoaded() const { return Handle != nullptr; }

    /// Address of an exported symbol; null when the module does not export it or none is loaded.
    void* GetSymbol(const char* name) const;
    void* GetSymbol(const wchar_t* name) const;

    /// The symbol as a pointer to a function of type FUNCTION. The caller answers for the type.
    template<typename FUNCTION>
    FUNCTION* GetFunction(const char* name) const {
        return reinterpret_cast<FUNCTION*>(GetSymbol(name));
    }

private:
    void* Handle = nullptr; ///< of dlopen; null when no module is loaded
};

static_assert(sizeof(VnLoadLibrary) == sizeof(void*));
