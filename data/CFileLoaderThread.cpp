#include "data/CFileLoaderThread.h"

namespace {

constexpr int32_t kStopWaitMS = 10000;

} // namespace

bool CFileLoaderThreadBase::SetStopFlag(bool stop) {
    if (stop && Loader != nullptr) {
        Loader->SetCancelled(true);
    }
    return VnThread::SetStopFlag(stop);
}

CFileLoaderThread::CFileLoaderThread(const VnFilename& source,
                                     IFileLoaderThreadCallback* callback,
                                     bool startNow)
    : CFileLoaderThreadBase(nullptr)
    , Source(source)
    , Callback(callback) {
    OwnLoader.SetCancelFlag(&StopCancel);
    Loader = &OwnLoader;
    if (startNow) {
        Start();
    }
}

CFileLoaderThread::~CFileLoaderThread() {
    Stop(kStopWaitMS);
    Loader = nullptr; // the base's destructor stops once more, when the loader is gone
}

bool CFileLoaderThread::SetStopFlag(bool stop) {
    if (!stop) {
        StopCancel.SetCancelled(false); // a new start
    }
    return CFileLoaderThreadBase::SetStopFlag(stop);
}

bool CFileLoaderThread::Run() {
    ResultFilename = OwnLoader.LoadToTempFile(Source, L"dat");
    const bool loaded = !ResultFilename.Filename.IsEmpty();
    PostMainThreadMessage(kLoaded, loaded ? 1 : 0);
    return loaded;
}

int64_t CFileLoaderThread::HandleMainThreadMessage(int32_t message, int64_t parameter) {
    if (message == kLoaded && Callback != nullptr && !IsStopRequested()) {
        Callback->OnFileLoaded(*this, message, parameter);
    }
    return 0;
}
