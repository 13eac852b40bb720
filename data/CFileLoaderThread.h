#pragma once

#include "data/CFileLoader.h"
#include "files/VnFilename.h"
#include "runtime/VnThread.h"

class CFileLoaderThread;

/// Told on the main thread that a CFileLoaderThread has finished.
class IFileLoaderThreadCallback {
public:
    /// Slot 0. `message` is CFileLoaderThread::kLoaded, `parameter` 1 for success and 0 for
    /// failure. The thread object may be destroyed from here.
    virtual void OnFileLoaded(CFileLoaderThread& thread, int32_t message, int64_t parameter) = 0;

protected:
    ~IFileLoaderThreadCallback() = default;
};

/// A thread that works with a file loader: asking the thread to stop also cancels the load.
class CFileLoaderThreadBase : public VnThread {
public:
    /// `loader` may be null and stays the caller's; it must outlive the thread.
    explicit CFileLoaderThreadBase(CFileLoader* loader) : Loader(loader) {}

    /// Asks the thread to stop, which also cancels what the loader is at.
    bool SetStopFlag(bool stop) override;

protected:
    CFileLoader* Loader;
};

/// Loads a resource into a temp file on a thread of its own and reports on the main thread.
class CFileLoaderThread : public CFileLoaderThreadBase {
public:
    /// Id of the message that ends a load.
    static constexpr int32_t kLoaded = 1;

    /// `callback` (may be null) stays the caller's and must outlive this object. With `startNow`
    /// the load begins at once.
    CFileLoaderThread(const VnFilename& source, IFileLoaderThreadCallback* callback, bool startNow);
    /// Stops the load, waiting for up to ten seconds. The file that was loaded stays.
    ~CFileLoaderThread() override;

    /// The temp file, to be read once the load has ended; its text is empty after a failure. The
    /// caller deletes the file.
    const VnFilename& GetResultFilename() const { return ResultFilename; }
    const VnFilename& GetSource() const { return Source; }
    /// The loader, for settings before the start and results after the end.
    CFileLoader& GetLoader() { return OwnLoader; }

    /// Asks the thread to stop, which also cancels a load that has not begun yet.
    bool SetStopFlag(bool stop) override;

protected:
    bool Run() override;
    int64_t HandleMainThreadMessage(int32_t message, int64_t parameter) override;

private:
    CCancelHelper StopCancel; ///< unlike the loader's own flag, it outlives the begin of a load
    CFileLoader OwnLoader;
    VnFilename Source;
    VnFilename ResultFilename;
    IFileLoaderThreadCallback* Callback;
};
