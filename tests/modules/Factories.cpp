// The factories of the reader, disc and WM factory modules. Each gives its own name as its object.

#include "tests/modules/Journal.h"

#include <cstdint>

extern "C" {

[[gnu::visibility("default")]] const char* CreateGenericReaderDLL(const wchar_t* source) {
    Note("CreateGenericReaderDLL %ls", source);
    return "CreateGenericReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateInternetReaderDLL(const wchar_t* url) {
    Note("CreateInternetReaderDLL %ls", url);
    return "CreateInternetReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateSocketReaderDLL(const wchar_t* name,
                                                                 int32_t flag) {
    Note("CreateSocketReaderDLL %ls %d", name, flag);
    return "CreateSocketReaderDLL";
}

[[gnu::visibility("default")]] const char*
CreateTruncatingReaderDLL(const char* text, int64_t number, double real, bool flag) {
    Note("CreateTruncatingReaderDLL %s %ld %g %d", text, static_cast<long>(number), real,
         flag ? 1 : 0);
    return "CreateTruncatingReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateLocalReaderDLL() {
    return "CreateLocalReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateFromMemoryReaderDLL() {
    return "CreateFromMemoryReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateMemoryReaderDLL() {
    return "CreateMemoryReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateStringReaderDLL() {
    return "CreateStringReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateMergingReaderDLL() {
    return "CreateMergingReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateBufferedReaderDLL() {
    return "CreateBufferedReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateSharedBufferingReaderDLL() {
    return "CreateSharedBufferingReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateCirclingReaderDLL() {
    return "CreateCirclingReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateTLSSocketReaderDLL() {
    return "CreateTLSSocketReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateSplitterReaderDLL() {
    return "CreateSplitterReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateSplitterLocalBufferReaderDLL() {
    return "CreateSplitterLocalBufferReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateDVDReaderDLL() {
    return "CreateDVDReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateBufferedInternetReaderDLL() {
    return "CreateBufferedInternetReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateBufferedInternetReaderWithCachingDLL() {
    return "CreateBufferedInternetReaderWithCachingDLL";
}

[[gnu::visibility("default")]] const char* CreateRTMPReaderDLL() {
    return "CreateRTMPReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateBufferedHLSReaderDLL() {
    return "CreateBufferedHLSReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateLocalIndexedHLSReaderDLL() {
    return "CreateLocalIndexedHLSReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateLibServerIndexedHLSReaderDLL() {
    return "CreateLibServerIndexedHLSReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateBufferedRTSPReaderDLL() {
    return "CreateBufferedRTSPReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateTranscodingReaderDLL() {
    return "CreateTranscodingReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateWakeOnLanDLL() {
    return "CreateWakeOnLanDLL";
}

[[gnu::visibility("default")]] const char* CreateFTPTransferDLL() {
    return "CreateFTPTransferDLL";
}

[[gnu::visibility("default")]] const char* CreateVTVDataFileReaderDLL() {
    return "CreateVTVDataFileReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateTVFormatFileReaderDLL() {
    return "CreateTVFormatFileReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateVnTransportStreamVTVReaderDLL() {
    return "CreateVnTransportStreamVTVReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateNetworkStreamingReaderDLL() {
    return "CreateNetworkStreamingReaderDLL";
}

[[gnu::visibility("default")]] const char* CreateSSLCertificateManagerDLL() {
    return "CreateSSLCertificateManagerDLL";
}

[[gnu::visibility("default")]] const char* GetDiscManagerDLL() {
    return "GetDiscManagerDLL";
}

[[gnu::visibility("default")]] const char* CreateDiscWriterDLL() {
    return "CreateDiscWriterDLL";
}

[[gnu::visibility("default")]] const char* CreateCDRipperDLL() {
    return "CreateCDRipperDLL";
}

[[gnu::visibility("default")]] const char* CreateCDManagerDLL() {
    return "CreateCDManagerDLL";
}

[[gnu::visibility("default")]] const char* CreateVnWMFactory() {
    return "CreateVnWMFactory";
}

} // extern "C"
