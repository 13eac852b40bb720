#pragma once

#include "core/VnBuffer.h"
#include "core/VnNumberArray.h"
#include "core/VnString.h"
#include "core/VnStringArray.h"
#include "runtime/IVnWaitMessageCallback.h"
#include "runtime/VnCriticalSection.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

class CHTMLTree;
class CParseJSON;
class IVnReader;
class IVnWaitDialog;
class VnFilename;
class VnFormData;
class VnOrderedPropertyMap;
class VnPropertyMap;
class VnXMLDocument;

/// Follows a load and may stop it. Called on the loading thread after every block.
class IFileLoaderProgress {
public:
    /// Slot 0. True cancels the load.
    virtual bool IsCancelled() = 0;
    /// Slot 1. The part of the resource that was read, 0 to 1. Called no more often than is useful
    /// for a progress bar.
    virtual void SetProgress(float fraction) = 0;

protected:
    ~IFileLoaderProgress() = default;
};

/// Looks at the first bytes of a resource before the rest is loaded.
class IFileLoaderContentCheck {
public:
    /// Slot 0. `buffer` holds what was read so far, `parameter` is what SetContentCheck was given.
    /// False fails the load.
    virtual bool CheckContent(const VnBuffer& buffer, int32_t parameter) = 0;

protected:
    ~IFileLoaderContentCheck() = default;
};

/// A cancel flag, with a way to tell whoever works under it that it was set. It may be shared by
/// several loaders, and any thread may set it.
class CCancelHelper {
public:
    CCancelHelper() = default;
    CCancelHelper(const CCancelHelper&) = delete;
    CCancelHelper& operator=(const CCancelHelper&) = delete;

    bool IsCancelled() const { return Cancelled.load(); }
    /// Stores the flag and tells every linked callback.
    void SetCancelled(bool cancelled);
    /// Adds and removes a callback; a callback must be unlinked before it dies.
    void Link(ICancelHelperCallback* callback);
    void Unlink(ICancelHelperCallback* callback);

private:
    friend class CFileLoader;

    std::atomic<bool> Cancelled{false};
    VnCriticalSection Lock;                        ///< guards Callbacks
    std::vector<ICancelHelperCallback*> Callbacks; ///< loads that run under this flag, not owned
};

/// Reads one resource, a local file or a URL, into memory, a text, a document or a file.
///
/// All network work is done by a reader of the reader module. Settings persist between loads; the
/// request (properties, headers and body) lasts for one load. Nothing throws: a failed load gives
/// false and leaves an empty buffer or no file, and GetStatusCode and GetLocation tell what the
/// server said. A load runs on the calling thread, one at a time per object; Cancel and
/// SetCancelled may come from any other thread.
class CFileLoader : public IVnWaitMessageCallback, public ICancelHelperCallback {
public:
    /// What LoadToFile does with its destination.
    enum FileMode : int32_t {
        LoadCreate = 0,     ///< make the file, replacing what is there
        LoadMakeUnique = 1, ///< take a free name first
        LoadResume = 2,     ///< continue a partial file
        LoadIfModified = 3, ///< use the file as a cache
        LoadResumeKeep = 4, ///< as LoadResume, and a failed load keeps the file
    };

    CFileLoader();

    /// Slot 0. Cancels a running load.
    void Cancel() override { SetCancelled(true); }
    /// Slots 1 and 2.
    ~CFileLoader() override;
    /// Slot 3. Sets or clears the cancel flag. Setting it closes the reader, so that a blocked read
    /// returns.
    void SetCancelled(bool cancelled) override;

    CFileLoader(const CFileLoader&) = delete;
    CFileLoader& operator=(const CFileLoader&) = delete;

    // Settings: CFileLoader.cpp. All pointers stay the caller's and must outlive the loads.

    /// Takes the caller's flag in the place of the own one; null goes back to that. A flag that is
    /// set already refuses every load.
    void SetCancelFlag(CCancelHelper* source);
    void SetProgress(IFileLoaderProgress* progress) { Progress = progress; }
    /// Bytes to read at most, no limit below 1. A resource whose size is known to be above it fails
    /// with `failWhenLarger`, otherwise its start is read. The limit holds for what a packed body
    /// becomes, too; a packed body that goes into a file fails when it becomes larger.
    void SetMaximumSize(int64_t maximumSize, bool failWhenLarger = false);
    /// Has a load into a buffer looked at once, when `afterBytes` bytes are there or, with `atEnd`,
    /// when it ends before: by `check` (may be null), which gets `parameter`, and by a search for
    /// `requiredText` (may be empty) as 8-bit or wide text.
    void SetContentCheck(IFileLoaderContentCheck* check,
                         int32_t parameter,
                         int32_t afterBytes,
                         bool atEnd = true,
                         const VnString& requiredText = VnString());
    /// Shows a dialog while a load runs longer than `delayMS`. An empty `title` is made from the
    /// kind of the resource; with `titleOnly` the status line shows it in the place of the verb.
    void SetWaitDialog(bool show,
                       int32_t delayMS = 4000,
                       bool cancellable = true,
                       bool titleOnly = false,
                       const VnString& title = L"Working...",
                       const VnString& text = VnString());
    /// A URL fails when not allowed.
    void SetAllowInternet(bool allow) { AllowInternet = allow; }
    /// Off reads a local file directly and in one call.
    void SetUseReaderForLocal(bool useReader) { UseReaderForLocal = useReader; }
    /// Milliseconds for connecting and for each wait for data.
    void SetTimeout(int32_t milliseconds) { Timeout = milliseconds; }

    // Request: CFileLoaderRequest.cpp. All are true on success, and all last for one load. Without
    // `copyData` the bytes must outlive that load.

    /// Sets a property for the reader; both texts must have characters. Keys are compared in any
    /// case.
    bool SetProperty(const VnString& key, const VnString& value);
    /// The value of a request property, or empty.
    VnString GetProperty(const VnString& key) const;
    /// Replaces the request: `properties` (null for none) hold keys and values in turn. With a body
    /// the verb is POST unless they say otherwise, and without header lines the usual ones are set.
    bool SetRequest(const VnStringArray* properties, const void* data, int64_t size, bool copyData);
    /// Sets the request's header lines; empty lines and duplicates are dropped.
    bool SetHeaders(const VnStringArray& headers, bool addAcceptEncoding);
    bool AddInfoHeader(const VnString& name, const VnString& value);
    bool SetPostData(const void* data, int64_t size, bool copyData);
    bool SendData(const void* data,
                  int64_t size,
                  const VnString& contentType,
                  const VnString& verb,
                  bool copyData);
    /// A document as UTF-8 with the type "text/xml".
    bool SendXML(const VnString& text, const VnString& verb);
    bool PutData(const void* data, int64_t size);
    bool PutXML(const VnString& text);
    bool PostXML(const VnString& text);
    bool PostJSON(const VnString& text);
    bool SetRequestProperties(const VnOrderedPropertyMap& list);
    /// Makes a form the body of a POST. A multipart form gets its closing boundary; a URL-encoded
    /// one, with `finish`, a zero byte, which counts in the length.
    bool PostForm(VnFormData& form, bool finish, bool copyData);
    /// Posts the entries of a map, in their order, as a URL-encoded form.
    bool PostProperties(const VnOrderedPropertyMap& list);
    /// Posts a form and gives the answer as a text, empty on failure. With `succeedOnError` also
    /// the body that comes with an error status.
    static VnString SubmitForm(VnFormData& form,
                               const VnFilename& url,
                               int32_t timeoutMS,
                               bool succeedOnError = false);

    // Loading: CFileLoaderLoad.cpp, CFileLoaderFile.cpp

    /// The general entry. The bytes go into `buffer`, or into `writer` when that is null. With
    /// `created` set the writer is created once the source has opened; on return `created` tells
    /// whether that happened. A `date` other than 0.0 (local time) makes a URL that is no newer,
    /// and as large as `destination`, fail with the status "304". `destination` (may be null) names
    /// the file that the writer stands for.
    bool Load(const VnFilename& source,
              VnBuffer* buffer,
              IVnReader* writer,
              const VnFilename* destination,
              bool& created,
              double date);
    bool LoadToBuffer(const VnFilename& source, VnBuffer& buffer);
    /// `encoding` and `dropZeros` as for VnString::SetFromBuffer.
    bool LoadToString(const VnFilename& source,
                      VnString& text,
                      int32_t encoding = kEncodingDetect,
                      bool dropZeros = false);
    /// Every "<br>" becomes a blank before the text is parsed. On failure the document is empty.
    bool LoadToXML(const VnFilename& source,
                   VnXMLDocument& document,
                   int32_t encoding = kEncodingDetect);
    /// JSON and HTML texts as they come. On failure the tree is empty.
    bool
    LoadToJSON(const VnFilename& source, CParseJSON& document, int32_t encoding = kEncodingDetect);
    bool LoadToHTML(const VnFilename& source, CHTMLTree& tree, int32_t encoding = kEncodingDetect);
    /// The destination may get another name; its text is empty after a failure.
    bool LoadToFile(const VnFilename& source, VnFilename& destination, FileMode mode);
    /// A file in the temp directory; its text is empty on failure. The caller deletes it.
    VnFilename LoadToTempFile(const VnFilename& source, const VnString& extension);
    /// A fresh loader with no dialog. `maximumSize` below 1 is no limit.
    static bool
    LoadFile(VnBuffer& buffer, const VnFilename& path, int64_t maximumSize, bool useReader);

    // Results of the last load: CFileLoader.cpp

    /// Address that answered in the end, after redirects.
    const VnString& GetLocation() const { return Location; }
    const VnString& GetAllHeaders() const { return AllHeaders; }
    const VnString& GetStatusCode() const { return StatusCode; }
    /// The value of a response header, found in any letter case; empty when it is missing.
    VnString GetResponseHeader(const VnString& name) const;

private:
    struct CTransfer;
    class CTurn;

    bool RunLoad(CTransfer& transfer);
    bool LoadDirectly(CTransfer& transfer);
    bool LoadThroughReader(CTransfer& transfer);
    bool MakeReader(const CTransfer& transfer);
    bool OpenReader(CTransfer& transfer);
    bool IsUnmodified(const CTransfer& transfer);
    bool PrepareTarget(CTransfer& transfer);
    bool TransferBlocks(CTransfer& transfer);
    bool ReadBlock(CTransfer& transfer, int32_t wanted, int32_t& count);
    bool AfterBlock(CTransfer& transfer, bool ended);
    bool LimitAmount(CTransfer& transfer) const;
    static void ReserveOnce(const CTransfer& transfer);
    bool PassesContentCheck(CTransfer& transfer, bool ended) const;
    bool HasContentCheck(const CTransfer& transfer) const;
    bool CheckContent(const CTransfer& transfer) const;
    void ShowStatus(const CTransfer& transfer);
    void FeedProgress(CTransfer& transfer);
    bool Decode(CTransfer& transfer);
    bool DecodeBuffer(VnBuffer& buffer);
    bool DecodeFile(const VnFilename& file);
    int64_t GetDecodedLimit() const;
    bool TakeTurn(const CTransfer& transfer);
    bool IsTarget(const void* target) const;
    void BeginLoad();
    void EndLoad();
    void OpenDialog(const VnFilename& source);
    void CloseDialog();
    VnString ReaderProperty(const wchar_t* name) const;
    std::unique_ptr<IVnReader>
    OpenForResume(const VnFilename& source, const VnFilename& destination, bool& complete);
    void DropAcceptEncoding();
    double PrepareConditional(const VnFilename& destination);

    CCancelHelper OwnCancel;
    CCancelHelper* CancelSource = &OwnCancel;
    IFileLoaderProgress* Progress = nullptr;
    int64_t MaximumSize = -1;
    bool FailWhenLarger = false;
    IFileLoaderContentCheck* Check = nullptr;
    int32_t CheckParameter = 0;
    int32_t CheckAfterBytes = 0;
    bool CheckAtEnd = true;
    VnString RequiredText;
    bool ShowWaitDialog = false;
    int32_t WaitDelay = 4000; ///< milliseconds
    bool DialogCancellable = true;
    bool TitleOnly = false;
    VnString Title = L"Working...";
    VnString DialogText;
    bool AllowInternet = true;
    bool UseReaderForLocal = true;
    VnStringArray RequestProperties; ///< keys and values in turn
    const void* PostData = nullptr;  ///< the body: in OwnPostData, or the caller's
    int64_t PostSize = 0;
    VnBuffer OwnPostData;
    int32_t Timeout = 20000; ///< milliseconds

    VnString Location;
    VnString AllHeaders;
    VnString StatusCode;

    mutable VnCriticalSection Lock;    ///< guards Reader, Current and the link to the cancel source
    std::unique_ptr<IVnReader> Reader; ///< of the running load
    const CTransfer* Current = nullptr; ///< the running load; null when there is none
    VnString ShownTitle;                ///< of the dialog of the running load
    IVnWaitDialog* Dialog = nullptr;    ///< of the running load; ends with its Close
    std::atomic<bool> Running{false};
};
