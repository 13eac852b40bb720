#pragma once

#include <taglib/tiostream.h>

#include <sys/stat.h>

#include <cstdint>
#include <string>

/// A file as TagLib reads it: one descriptor, and a small window of the file in memory, since tags
/// are taken apart in many short reads close to each other. Reading only.
class CTagStream final : public TagLib::IOStream {
public:
    /// `path` in the bytes of the file system. What is no regular file does not open.
    explicit CTagStream(const std::string& path);
    ~CTagStream() override;
    CTagStream(const CTagStream&) = delete;
    CTagStream& operator=(const CTagStream&) = delete;

    /// The file's state when it was opened.
    const struct stat& GetState() const { return State; }

    TagLib::FileName name() const override { return Path.c_str(); }
    TagLib::ByteVector readBlock(unsigned long length) override;
    void writeBlock(const TagLib::ByteVector& data) override;
    void
    insert(const TagLib::ByteVector& data, unsigned long start, unsigned long replace) override;
    void removeBlock(unsigned long start, unsigned long length) override;
    bool readOnly() const override { return true; }
    bool isOpen() const override { return Descriptor >= 0; }
    void seek(long offset, Position from) override;
    long tell() const override { return Offset; }
    long length() override { return static_cast<long>(State.st_size); }
    void truncate(long length) override;

private:
    static constexpr long kWindowSize = 8192;
    static constexpr long kWindowStep = 4096; ///< windows begin at multiples of this

    long ReadAt(char* target, long count, long offset) const;

    const std::string Path;
    int Descriptor = -1;
    struct stat State = {};
    long Offset = 0;
    long WindowStart = 0;
    long WindowLength = 0;
    char Window[kWindowSize];
};
