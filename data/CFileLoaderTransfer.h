#pragma once

#include "core/VnBuffer.h"
#include "core/VnDllString.h"
#include "data/CFileLoader.h"
#include "files/VnFilename.h"
#include "runtime/IVnReader.h"
#include "runtime/VnTimer.h"

/// The state of one load of a CFileLoader, shared by its sources.
struct CFileLoader::CTransfer {
    CTransfer(const VnFilename& source,
              VnBuffer* buffer,
              IVnReader* writer,
              const VnFilename* destination,
              bool& created,
              double date)
        : Source(source)
        , Buffer(buffer)
        , Writer(writer)
        , Destination(destination)
        , Created(created)
        , Date(date)
        , IsRemote(source.GetIsFileRemote()) {}

    void CloseWriter() const {
        if (Writer != nullptr) {
            Writer->Close();
        }
    }

    const VnFilename& Source;
    VnBuffer* const Buffer;              ///< null for a load into a writer
    IVnReader* const Writer;             ///< null for a load into a buffer
    const VnFilename* const Destination; ///< what the writer writes; may be null
    bool& Created;                       ///< the writer made its file
    const double Date;                   ///< 0.0: no condition
    const bool IsRemote;
    bool Create = false;  ///< the writer is still to be created
    int64_t Total = -1;   ///< bytes of the resource, -1 when unknown
    int64_t Amount = -1;  ///< bytes to read, -1 for all that come
    int64_t Done = 0;     ///< bytes read
    int32_t Block = 0;    ///< bytes to read at once
    VnBuffer Scratch;     ///< block on its way to the writer
    bool Checked = false; ///< the content check has run
    bool ProgressSent = false;
    float LastFraction = 0.0F; ///< last one sent
    VnTimer SinceProgress;
};
