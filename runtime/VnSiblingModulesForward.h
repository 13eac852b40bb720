#pragma once

#include "runtime/VnSiblingModule.h"

#include <cstdint>
#include <type_traits>

class IVnReader;

// Forwarding functions to the factories that the sibling modules export, each under the name of its
// export. A call loads the module when need be, passes its arguments on unchanged and gives the
// module's new object, or null when the module or the export is missing. The object goes back to
// the module by the operation that its interface names for that.

/// An exported symbol of `module`, which is loaded for it; null when the module or the symbol is
/// missing.
void* VnGetModuleSymbol(VnSiblingModule module, const char* name);

/// Calls the export `name` of `module`, which gives a pointer to OBJECT. Only plain values may
/// cross the module boundary, and each crosses in exactly the type that the caller hands in.
template<typename OBJECT, typename... ARGUMENTS>
OBJECT* VnCallModuleFactory(VnSiblingModule module, const char* name, ARGUMENTS... arguments) {
    static_assert((std::is_scalar_v<ARGUMENTS> && ...),
                  "only plain values cross a module boundary");
    using Factory = OBJECT*(ARGUMENTS...);
    auto* factory = reinterpret_cast<Factory*>(VnGetModuleSymbol(module, name));
    return factory == nullptr ? nullptr : factory(arguments...);
}

// Reader module: the factories that this system calls.

/// A reader for anything that can be opened: a local path, a URL, or the XML form of a filename.
IVnReader* CreateGenericReaderDLL(const wchar_t* source);

/// A reader for a URL.
IVnReader* CreateInternetReaderDLL(const wchar_t* url);

/// A socket under a name for the log; `flag` 1 makes a datagram socket.
IVnReader* CreateSocketReaderDLL(const wchar_t* name, int32_t flag);

// Reader module: factories whose argument lists only the module knows.

template<typename... ARGUMENTS>
IVnReader* CreateLocalReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateLocalReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateFromMemoryReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateFromMemoryReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateMemoryReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateMemoryReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateStringReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateStringReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateMergingReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateMergingReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateTruncatingReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateTruncatingReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateBufferedReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateBufferedReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateSharedBufferingReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateSharedBufferingReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateCirclingReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateCirclingReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateTLSSocketReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateTLSSocketReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateSplitterReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateSplitterReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateSplitterLocalBufferReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader,
                                          "CreateSplitterLocalBufferReaderDLL", arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateDVDReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateDVDReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateBufferedInternetReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader,
                                          "CreateBufferedInternetReaderDLL", arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateBufferedInternetReaderWithCachingDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(
        VnSiblingModule::Reader, "CreateBufferedInternetReaderWithCachingDLL", arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateRTMPReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateRTMPReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateBufferedHLSReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateBufferedHLSReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateLocalIndexedHLSReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateLocalIndexedHLSReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateLibServerIndexedHLSReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader,
                                          "CreateLibServerIndexedHLSReaderDLL", arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateBufferedRTSPReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateBufferedRTSPReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateTranscodingReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateTranscodingReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
void* CreateWakeOnLanDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::Reader, "CreateWakeOnLanDLL", arguments...);
}

template<typename... ARGUMENTS>
void* CreateFTPTransferDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::Reader, "CreateFTPTransferDLL", arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateVTVDataFileReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateVTVDataFileReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateTVFormatFileReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateTVFormatFileReaderDLL",
                                          arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateVnTransportStreamVTVReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader,
                                          "CreateVnTransportStreamVTVReaderDLL", arguments...);
}

template<typename... ARGUMENTS>
IVnReader* CreateNetworkStreamingReaderDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader,
                                          "CreateNetworkStreamingReaderDLL", arguments...);
}

template<typename... ARGUMENTS>
void* CreateSSLCertificateManagerDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::Reader, "CreateSSLCertificateManagerDLL",
                                     arguments...);
}

// Disc module.

template<typename... ARGUMENTS>
void* GetDiscManagerDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::Disc, "GetDiscManagerDLL", arguments...);
}

template<typename... ARGUMENTS>
void* CreateDiscWriterDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::Disc, "CreateDiscWriterDLL", arguments...);
}

template<typename... ARGUMENTS>
void* CreateCDRipperDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::Disc, "CreateCDRipperDLL", arguments...);
}

template<typename... ARGUMENTS>
void* CreateCDManagerDLL(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::Disc, "CreateCDManagerDLL", arguments...);
}

// WM factory module.

template<typename... ARGUMENTS>
void* CreateVnWMFactory(ARGUMENTS... arguments) {
    return VnCallModuleFactory<void>(VnSiblingModule::WMFactory, "CreateVnWMFactory", arguments...);
}
