#pragma once

#include "core/VnString.h"

#include <pthread.h>

#include <cstdint>
#include <memory>

class VnSharedMemory;
struct VnProcessBlock;

/// What the modules of one process share: a block of shared memory named after the process id, with
/// the process-wide paths, the main thread and the attach counter.
///
/// Every module has one object of this class. The first to open the block fills it, the others read
/// what stands there. Without a block every text is empty, every number and flag 0, and the value
/// at 83016 is -1. Paths end in "/", and are cut to 4095 characters when they are stored. A block
/// that belongs to another user, or that is left from an earlier process with the same id, is never
/// used: it is made anew.
///
/// The block has no lock: its fields are written at start-up, except the atomic attach counter.
class CProcessInfo {
public:
    ~CProcessInfo();
    CProcessInfo(const CProcessInfo&) = delete;
    CProcessInfo& operator=(const CProcessInfo&) = delete;

    /// The object of this module; made at the first call with `create`, null before that without
    /// it. It lives as long as the module; its block is closed at exit.
    static CProcessInfo* GetInstance(bool create = true);

    VnString GetProgramPath() const;
    VnString GetInstallDirectory() const;
    VnString GetDataPath() const;
    /// The directory that sibling modules are loaded from; empty when they are found by the run
    /// path alone.
    VnString GetModuleDirectory() const;
    VnString GetApplicationDataPath() const;
    /// Name of the product, at most 255 characters.
    VnString GetProductName() const;

    void SetDataPath(const VnString& path);
    void SetModuleDirectory(const VnString& path);
    void SetApplicationDataPath(const VnString& path);
    /// Cut to 255 characters.
    void SetProductName(const VnString& name);

    /// Stores the install directory and, with `all`, the data path and the module directory as
    /// well. With `onlyIfFilledHere` nothing happens unless this module has filled the block. A
    /// loaded tools module is told of the change.
    void SetPaths(const VnString& installDirectory, bool all, bool onlyIfFilledHere);

    /// Whether user data lies below the install directory. Setting it computes the application-data
    /// path anew.
    bool GetPortableData() const;
    void SetPortableData(bool portable);

    /// A flag at offset 81944 that this code gives no meaning to.
    bool GetFlag() const;
    void SetFlag(bool flag);

    /// Values at the offsets 81960 (never read here), 83008 and 83016.
    void SetValue81960(int64_t value);
    int64_t GetValue83008() const;
    int64_t GetValue83016() const;

    /// The thread that filled the block, 0 without a block.
    pthread_t GetMainThread() const;

    /// Raises the attach counter and gives the new value: 100 for the first module. 0 without a
    /// block.
    int32_t NextAttachNumber();

    /// True when this module has run the first fill.
    bool IsFilledHere() const { return FilledHere; }

private:
    friend class CProcessInfoTestAccess;
    friend struct CProcessInfoHolder;

    CProcessInfo();
    explicit CProcessInfo(const VnString& blockName);
    void Open(const VnString& blockName);
    void FirstFill();
    VnProcessBlock* GetBlock() const;

    std::unique_ptr<VnSharedMemory> Block;
    bool FilledHere = false; ///< this module has run the first fill
};

/// True when the calling thread is the process's main thread, the one that filled the block.
bool VnIsMainThread();
