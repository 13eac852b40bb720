#pragma once

#include "core/VnStringArray.h"

#include <cstdint>

/// Receives the texts that tell how far a long operation has come.
class IVnProgressText {
public:
    virtual void ShowProgress(const VnString& text) = 0;

protected:
    ~IVnProgressText() = default;
};

/// A list of filenames, which knows its own text form and can gather whole trees.
class VnFilenameArray : public VnStringArray {
public:
    /// Replaces the list by the names in `text`; null gives an empty list. Names are separated by
    /// "|", or each is enclosed in double quotes and the next follows behind one blank. Quotes and
    /// then blanks at the ends of a name are dropped, and so is a name that leaves nothing. Inside
    /// the XML form of a filename neither separator counts. The result is the number of names.
    int32_t SetFromText(const wchar_t* text);

    /// The names joined with "|".
    VnString GetAsText() const;

    /// Removes all names.
    void Clear();

    /// Appends the names in `files`, and in place of each directory among them all files below it,
    /// hidden ones excepted.
    ///
    /// `relativeDirectories` (may be null) receives one text for each name appended: the directory
    /// of the file counted from the parent of the directory it was found through, with a "/" at
    /// its end, or empty for a file that was named itself. `directories` (may be null) receives
    /// every directory below those named, in the same form. `progress` (may be null) hears after
    /// each file found and each entry of `files` how many names there are. A directory that is its
    /// own ancestor through a link is entered once. Always true.
    bool AddWithDirectories(const VnStringArray& files,
                            IVnProgressText* progress,
                            VnStringArray* directories = nullptr,
                            VnStringArray* relativeDirectories = nullptr);

    /// Removes each name under which there is no file; a directory is none.
    void RemoveMissing();
};
