#include "host/CSampleMedia.h"

#include <zlib.h>

#include <cstdint>
#include <initializer_list>

namespace {

void Big(std::string& out, uint64_t value, int bytes) {
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
        out += static_cast<char>(value >> shift & 0xFF);
    }
}

void Little(std::string& out, uint64_t value, int bytes) {
    for (int shift = 0; shift < bytes * 8; shift += 8) {
        out += static_cast<char>(value >> shift & 0xFF);
    }
}

/// A check sum that runs from the highest bit down, without reflection.
uint32_t CRC(std::string_view bytes, uint32_t polynomial, int bits) {
    const uint32_t top = 1U << (bits - 1);
    const uint32_t mask = bits == 32 ? 0xFFFFFFFFU : (1U << bits) - 1;
    uint32_t crc = 0;
    for (const char byte : bytes) {
        crc ^= static_cast<uint32_t>(static_cast<unsigned char>(byte)) << (bits - 8);
        for (int bit = 0; bit < 8; ++bit) {
            crc = ((crc & top) != 0 ? crc << 1 ^ polynomial : crc << 1) & mask;
        }
    }
    return crc;
}

// FLAC

constexpr int kFlacBlock = 4096;

std::string FlacFrame(int number) {
    // 4096 samples, 44.1 kHz, two channels, 16 bits.
    std::string frame = "\xFF\xF8\xC9\x18";
    frame += static_cast<char>(number & 0x7F);
    frame += static_cast<char>(CRC(frame, 0x07, 8));
    frame.append(6, '\0'); // two constant subframes of the value 0
    Big(frame, CRC(frame, 0x8005, 16), 2);
    return frame;
}

// Ogg

/// Writes values from their lowest bit up, as Vorbis packs them.
class BitWriter {
public:
    void Put(uint32_t value, int bits) {
        for (int bit = 0; bit < bits; ++bit) {
            if (Used % 8 == 0) {
                Bytes += '\0';
            }
            Bytes.back() = static_cast<char>(Bytes.back()
                                             | static_cast<char>((value >> bit & 1) << (Used % 8)));
            ++Used;
        }
    }
    const std::string& GetBytes() const { return Bytes; }

private:
    std::string Bytes;
    int Used = 0;
};

/// One page; a packet of 255 bytes or more goes on in further lacing values.
std::string OggPage(uint8_t flags,
                    uint64_t granule,
                    uint32_t sequence,
                    const std::vector<std::string>& packets) {
    std::string lacing;
    std::string body;
    for (const std::string& packet : packets) {
        lacing.append(packet.size() / 255, '\xFF');
        lacing += static_cast<char>(packet.size() % 255);
        body += packet;
    }
    std::string page("OggS\0", 5);
    page += static_cast<char>(flags);
    Little(page, granule, 8);
    Little(page, 0x746F6E65, 4); // serial number of the stream
    Little(page, sequence, 4);
    Little(page, 0, 4);
    page += static_cast<char>(lacing.size());
    page += lacing + body;
    std::string crc;
    Little(crc, CRC(page, 0x04C11DB7, 32), 4);
    return page.replace(22, 4, crc);
}

/// The smallest set-up there is: one codebook of two entries, one floor without partitions, one
/// residue without values, one mapping and one mode.
std::string VorbisSetup() {
    BitWriter bits;
    bits.Put(0, 8); // codebooks - 1
    bits.Put(0x564342, 24);
    bits.Put(1, 16);     // dimensions
    bits.Put(2, 24);     // entries
    bits.Put(0, 2);      // neither ordered nor sparse
    bits.Put(0, 10);     // two code words of one bit
    bits.Put(0, 4);      // no value table
    bits.Put(0, 6 + 16); // one time transform of type 0
    bits.Put(0, 6);      // floors - 1
    bits.Put(1, 16);     // floor type 1
    bits.Put(0, 5 + 2);  // no partitions, multiplier 1
    bits.Put(5, 4);      // range bits
    bits.Put(0, 6 + 16); // one residue of type 0
    bits.Put(0, 24);     // its begin, end, and partition size - 1
    bits.Put(0, 24);
    bits.Put(0, 24);
    bits.Put(0, 6 + 8);  // one classification, codebook 0
    bits.Put(0, 3 + 1);  // no cascade
    bits.Put(0, 6 + 16); // one mapping of type 0
    bits.Put(0, 1 + 1 + 2);
    bits.Put(0, 8 + 8 + 8);
    bits.Put(0, 6);      // modes - 1
    bits.Put(0, 1 + 16); // short blocks, window 0
    bits.Put(0, 16 + 8); // transform 0, mapping 0
    bits.Put(1, 1);      // framing
    return "\x05vorbis" + bits.GetBytes();
}

// MP4

std::string Box(const char* type, const std::string& content) {
    std::string box;
    Big(box, content.size() + 8, 4);
    return box + type + content;
}

std::string Values(std::initializer_list<uint32_t> values) {
    std::string out;
    for (const uint32_t value : values) {
        Big(out, value, 4);
    }
    return out;
}

constexpr uint32_t kAACRate = 44100;
constexpr uint32_t kAACFrame = 1024;

/// The unity matrix of a track or a movie.
std::string Matrix() {
    return Values({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
}

/// Describes AAC LC, 44.1 kHz, mono (ISO 14496-1, 7.2.6).
std::string SampleDescription() {
    const std::string specific("\x05\x02\x12\x08", 4);
    const std::string decoder =
        std::string("\x04\x11\x40\x15\0\0\0", 7) + Values({64000, 64000}) + specific;
    const std::string descriptor =
        std::string("\x03\x19\0\1\0", 5) + decoder + std::string("\x06\x01\x02", 3);
    const std::string esds = Box("esds", Values({0}) + descriptor);
    std::string entry(6, '\0');
    Big(entry, 1, 2);
    entry += Values({0, 0});
    Big(entry, 1, 2);
    Big(entry, 16, 2);
    entry += Values({0, kAACRate << 16});
    return Box("stsd", Values({0, 1}) + Box("mp4a", entry + esds));
}

std::string Movie(uint32_t frames, uint32_t frameSize, uint32_t dataOffset) {
    const uint32_t duration = frames * kAACFrame;
    // One size for all would do, but there are readers that want the table.
    std::string sizes = Values({0, 0, frames});
    for (uint32_t frame = 0; frame < frames; ++frame) {
        Big(sizes, frameSize, 4);
    }
    const std::string table = SampleDescription() + Box("stts", Values({0, 1, frames, kAACFrame}))
                              + Box("stsc", Values({0, 1, 1, frames, 1})) + Box("stsz", sizes)
                              + Box("stco", Values({0, 1, dataOffset}));
    const std::string data = Box("dinf", Box("dref", Values({0, 1}) + Box("url ", Values({1}))));
    const std::string media =
        Box("mdhd", Values({0, 0, 0, kAACRate, duration, 0x55C40000}))
        + Box("hdlr", Values({0, 0}) + "soun" + Values({0, 0, 0}) + std::string(1, '\0'))
        + Box("minf", Box("smhd", Values({0, 0})) + data + Box("stbl", table));
    const std::string track = Box("tkhd", Values({7, 0, 0, 1, 0, duration, 0, 0, 0, 0x01000000})
                                              + Matrix() + Values({0, 0}))
                              + Box("mdia", media);
    const std::string header =
        Box("mvhd", Values({0, 0, 0, kAACRate, duration, 0x10000, 0x01000000, 0, 0}) + Matrix()
                        + Values({0, 0, 0, 0, 0, 0, 2}));
    return Box("moov", header + Box("trak", track));
}

std::string PNGChunk(const std::string& typeAndData) {
    std::string chunk;
    Big(chunk, typeAndData.size() - 4, 4);
    chunk += typeAndData;
    Big(chunk,
        crc32(0, reinterpret_cast<const Bytef*>(typeAndData.data()),
              static_cast<uInt>(typeAndData.size())),
        4);
    return chunk;
}

} // namespace

std::string CSampleMedia::MakeMP3(int frames) {
    constexpr size_t kFrameSize = 144 * 128000 / 44100;
    std::string out;
    for (int frame = 0; frame < frames; ++frame) {
        // Mono; side information of zeros says that nothing is coded, which is silence.
        out += "\xFF\xFB\x90\xC4" + std::string(kFrameSize - 4, '\0');
    }
    return out;
}

std::string CSampleMedia::MakeFLAC(int frames) {
    const size_t frameSize = FlacFrame(0).size();
    std::string out = "fLaC";
    Big(out, 0x80000022, 4); // the last metadata block: STREAMINFO, 34 bytes
    Big(out, kFlacBlock, 2);
    Big(out, kFlacBlock, 2);
    Big(out, frameSize, 3);
    Big(out, frameSize, 3);
    const uint64_t samples = static_cast<uint64_t>(frames) * kFlacBlock;
    Big(out, uint64_t{44100} << 44 | uint64_t{1} << 41 | uint64_t{15} << 36 | samples, 8);
    out.append(16, '\0'); // no MD5
    for (int frame = 0; frame < frames; ++frame) {
        out += FlacFrame(frame);
    }
    return out;
}

std::string CSampleMedia::MakeOgg(int packets) {
    constexpr int kPerPage = 200;
    constexpr int kSamplesPerPacket = 32;
    std::string head("\x01vorbis\0\0\0\0\x01", 12);
    Little(head, 8000, 4);
    Little(head, 0, 4);
    Little(head, 64000, 4);
    Little(head, 0, 4);
    head += "\x66\x01"; // both block sizes 64
    std::string comment = "\x03vorbis";
    Little(comment, 8, 4);
    comment += "tonehall";
    Little(comment, 0, 4);
    comment += '\x01';
    std::string out = OggPage(2, 0, 0, {head}) + OggPage(0, 0, 1, {comment, VorbisSetup()});
    for (int done = 0, page = 2; done < packets; ++page) {
        const int count = packets - done < kPerPage ? packets - done : kPerPage;
        done += count;
        const auto granule = static_cast<uint64_t>(done - 1) * kSamplesPerPacket;
        const uint8_t flags = done == packets ? 4 : 0;
        out += OggPage(flags, granule, static_cast<uint32_t>(page),
                       std::vector<std::string>(static_cast<size_t>(count), std::string(1, '\0')));
    }
    return out;
}

std::string CSampleMedia::MakeM4A(int frames) {
    const std::string silence("\x00\xC8\x00\x80\x23\x80",
                              6); // one coded frame without any spectral data
    const std::string type = Box("ftyp", std::string("M4A \0\0\2\0isomM4A mp42", 20));
    const auto count = static_cast<uint32_t>(frames);
    const auto frameSize = static_cast<uint32_t>(silence.size());
    const size_t movieSize = Movie(count, frameSize, 0).size();
    std::string data;
    for (int frame = 0; frame < frames; ++frame) {
        data += silence;
    }
    return type + Movie(count, frameSize, static_cast<uint32_t>(type.size() + movieSize + 8))
           + Box("mdat", data);
}

std::string CSampleMedia::MakeWAV(int samples) {
    const auto dataSize = static_cast<uint32_t>(samples) * 2;
    std::string out = "RIFF";
    Little(out, dataSize + 36, 4);
    out += "WAVEfmt ";
    Little(out, 16, 4);
    Little(out, 1, 2);     // PCM
    Little(out, 1, 2);     // one channel
    Little(out, 8000, 4);  // samples a second
    Little(out, 16000, 4); // bytes a second
    Little(out, 2, 2);
    Little(out, 16, 2);
    out += "data";
    Little(out, dataSize, 4);
    return out.append(dataSize, '\0');
}

std::string CSampleMedia::MakeJPEG() {
    // One block of one component; each Huffman table has the single code word "0", for the value 0.
    std::string out("\xFF\xD8\xFF\xDB\x00\x43\x00", 7);
    out.append(64, '\x01');
    out += std::string("\xFF\xC0\x00\x0B\x08\x00\x08\x00\x08\x01\x01\x11\x00", 13);
    for (const char tableClass : {'\x00', '\x10'}) {
        out += std::string("\xFF\xC4\x00\x14", 4) + tableClass + '\x01' + std::string(16, '\0');
    }
    return out + std::string("\xFF\xDA\x00\x08\x01\x01\x00\x00\x3F\x00\x3F\xFF\xD9", 13);
}

std::string CSampleMedia::MakePNG(unsigned colour, int size) {
    std::string rows;
    for (int row = 0; row < size; ++row) {
        rows += '\0'; // no filter
        for (int column = 0; column < size; ++column) {
            Big(rows, colour, 3);
        }
    }
    uLongf length = compressBound(static_cast<uLong>(rows.size()));
    std::string packed(length, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &length,
             reinterpret_cast<const Bytef*>(rows.data()), static_cast<uLong>(rows.size()));
    packed.resize(length);
    std::string head = "IHDR";
    Big(head, static_cast<uint64_t>(size), 4);
    Big(head, static_cast<uint64_t>(size), 4);
    head += std::string("\x08\x02\x00\x00\x00", 5); // 8 bits, true colour
    return "\x89PNG\r\n\x1A\n" + PNGChunk(head) + PNGChunk("IDAT" + packed) + PNGChunk("IEND");
}
