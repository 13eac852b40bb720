#include "modules/tools/CTagStream.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

CTagStream::CTagStream(const std::string& path) : Path(path) {
    // Without O_NONBLOCK the open of a pipe would wait for its writer.
    Descriptor = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (Descriptor >= 0 && (::fstat(Descriptor, &State) != 0 || !S_ISREG(State.st_mode))) {
        ::close(Descriptor);
        Descriptor = -1;
        State = {};
    }
}

CTagStream::~CTagStream() {
    if (Descriptor >= 0) {
        ::close(Descriptor);
    }
}

long CTagStream::ReadAt(char* target, long count, long offset) const {
    long total = 0;
    while (total < count) {
        const ssize_t got =
            ::pread(Descriptor, target + total, static_cast<size_t>(count - total), offset + total);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        total += got;
    }
    return total;
}

TagLib::ByteVector CTagStream::readBlock(unsigned long length) {
    if (Descriptor < 0 || Offset < 0 || Offset >= State.st_size) {
        return TagLib::ByteVector();
    }
    // A damaged tag may claim any length: no more is allocated than the file holds.
    const long count = static_cast<long>(
        std::min<unsigned long>(length, static_cast<unsigned long>(State.st_size - Offset)));
    if (count > kWindowStep) {
        TagLib::ByteVector block(static_cast<unsigned int>(count), 0);
        const long got = ReadAt(block.data(), count, Offset);
        block.resize(static_cast<unsigned int>(got));
        Offset += got;
        return block;
    }
    if (Offset < WindowStart || Offset + count > WindowStart + WindowLength) {
        WindowStart = Offset - Offset % kWindowStep;
        WindowLength = ReadAt(Window, kWindowSize, WindowStart);
    }
    const long start = Offset - WindowStart;
    const long available = std::clamp(WindowLength - start, 0L, count);
    Offset += available;
    return TagLib::ByteVector(Window + start, static_cast<unsigned int>(available));
}

void CTagStream::seek(long offset, Position from) {
    const long base = from == Current ? Offset : from == End ? length() : 0;
    Offset = std::max(base + offset, 0L);
}

// Reading only: what would change the file does nothing. TagLib asks readOnly() first.

void CTagStream::writeBlock([[maybe_unused]] const TagLib::ByteVector& data) {
}

void CTagStream::insert([[maybe_unused]] const TagLib::ByteVector& data,
                        [[maybe_unused]] unsigned long start,
                        [[maybe_unused]] unsigned long replace) {
}

void CTagStream::removeBlock([[maybe_unused]] unsigned long start,
                             [[maybe_unused]] unsigned long length) {
}

void CTagStream::truncate([[maybe_unused]] long length) {
}
