#pragma once

/// Applies WORK to the name of each factory that the tests call without arguments.
#define VN_FOR_EACH_PLAIN_FACTORY(WORK)                                                            \
    WORK(CreateLocalReaderDLL)                                                                     \
    WORK(CreateFromMemoryReaderDLL)                                                                \
    WORK(CreateMemoryReaderDLL)                                                                    \
    WORK(CreateStringReaderDLL)                                                                    \
    WORK(CreateMergingReaderDLL)                                                                   \
    WORK(CreateBufferedReaderDLL)                                                                  \
    WORK(CreateSharedBufferingReaderDLL)                                                           \
    WORK(CreateCirclingReaderDLL)                                                                  \
    WORK(CreateTLSSocketReaderDLL)                                                                 \
    WORK(CreateSplitterReaderDLL)                                                                  \
    WORK(CreateSplitterLocalBufferReaderDLL)                                                       \
    WORK(CreateDVDReaderDLL)                                                                       \
    WORK(CreateBufferedInternetReaderDLL)                                                          \
    WORK(CreateBufferedInternetReaderWithCachingDLL)                                               \
    WORK(CreateRTMPReaderDLL)                                                                      \
    WORK(CreateBufferedHLSReaderDLL)                                                               \
    WORK(CreateLocalIndexedHLSReaderDLL)                                                           \
    WORK(CreateLibServerIndexedHLSReaderDLL)                                                       \
    WORK(CreateBufferedRTSPReaderDLL)                                                              \
    WORK(CreateTranscodingReaderDLL)                                                               \
    WORK(CreateWakeOnLanDLL)                                                                       \
    WORK(CreateFTPTransferDLL)                                                                     \
    WORK(CreateVTVDataFileReaderDLL)                                                               \
    WORK(CreateTVFormatFileReaderDLL)                                                              \
    WORK(CreateVnTransportStreamVTVReaderDLL)                                                      \
    WORK(CreateNetworkStreamingReaderDLL)                                                          \
    WORK(CreateSSLCertificateManagerDLL)                                                           \
    WORK(GetDiscManagerDLL)                                                                        \
    WORK(CreateDiscWriterDLL)                                                                      \
    WORK(CreateCDRipperDLL)                                                                        \
    WORK(CreateCDManagerDLL)                                                                       \
    WORK(CreateVnWMFactory)
