// SPDX-License-Identifier: MIT
// Header and chunks of a GLB: twelve bytes, then length, type and content of each chunk, all in steps of
// four.
#include "gltf/GlbChunks.h"

namespace formats {

namespace {

constexpr std::string_view kMagic = "glTF";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinChunk = 0x004E4942;
constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kChunkHeaderSize = 8;

std::string bytePlace(std::size_t byte) { return "byte " + std::to_string(byte); }

std::string bytesText(std::size_t count) { return std::to_string(count) + (count == 1 ? " byte" : " bytes"); }

std::uint32_t wordAt(std::string_view bytes, std::size_t at)
{
    std::uint32_t word = 0;
    for (std::size_t i = 4; i-- > 0;)
        word = word << 8 | static_cast<unsigned char>(bytes[at + i]);
    return word;
}

/// The four letters of a chunk's type.
std::string typeText(std::uint32_t type)
{
    std::string text;
    for (int i = 0; i < 4; ++i) {
        const char c = static_cast<char>(type >> (8 * i) & 0xFF);
        text += c > ' ' && c < 0x7F ? c : '?';
    }
    return "'" + text + "'";
}

class ChunkReader {
public:
    /// `first` is where the bytes begin in the file.
    ChunkReader(std::string_view bytes, std::size_t first, std::vector<GltfNote>& notes)
        : m_Bytes(bytes), m_First(first), m_Notes(notes)
    {
    }

    GlbChunks read()
    {
        header();
        std::size_t at = kHeaderSize;
        for (std::size_t number = 0; at < m_Bytes.size(); ++number)
            at = chunk(at, number);
        if (m_Out.json.empty())
            refuse(place(kHeaderSize), "the file has no JSON");
        trimJson();
        return std::move(m_Out);
    }

private:
    std::string place(std::size_t at) const { return bytePlace(m_First + at); }
    void note(std::size_t at, std::string text) { m_Notes.push_back({place(at), std::move(text)}); }

    void header()
    {
        if (m_Bytes.size() < kHeaderSize)
            refuse(place(m_Bytes.size()), "the file ends inside its header; get a whole copy");
        if (const std::uint32_t version = wordAt(m_Bytes, 4); version != 2)
            refuse(place(4),
                   "this is binary glTF version " + std::to_string(version)
                       + "; only version 2 is read: convert the file");
        const std::uint32_t length = wordAt(m_Bytes, 8);
        if (length > m_Bytes.size())
            refuse(place(8),
                   "the file says it has " + bytesText(length) + ", but there are "
                       + std::to_string(m_Bytes.size()) + "; it is cut off: get a whole copy");
        if (length < m_Bytes.size())
            note(length, bytesText(m_Bytes.size() - length) + " behind the end of the GLB are left out");
        m_Bytes = m_Bytes.substr(0, length);
    }

    /// Reads the chunk at `at`; where the next one begins.
    std::size_t chunk(std::size_t at, std::size_t number)
    {
        if (m_Bytes.size() - at < kChunkHeaderSize) {
            if (number == 0)
                refuse(place(at), "the file ends inside the header of a chunk; get a whole copy");
            note(at, "the last " + bytesText(m_Bytes.size() - at) + " are no chunk; they are left out");
            return m_Bytes.size();
        }
        const std::size_t size = wordAt(m_Bytes, at);
        const std::uint32_t type = wordAt(m_Bytes, at + 4);
        const std::size_t start = at + kChunkHeaderSize, left = m_Bytes.size() - start;
        if (size > left)
            refuse(place(at),
                   "a chunk says it has " + bytesText(size) + ", but only " + std::to_string(left)
                       + " are left");
        if ((number == 0) != (type == kJsonChunk))
            refuse(place(at),
                   number == 0 ? "the first chunk must be JSON" : "a second chunk of JSON; remove one");
        keep(at, number, type, m_Bytes.substr(start, size));
        return next(at, start + size);
    }

    void keep(std::size_t at, std::size_t number, std::uint32_t type, std::string_view content)
    {
        if (type == kJsonChunk) {
            m_Out.jsonStart = m_First + at + kChunkHeaderSize;
            m_Out.json = content;
            return;
        }
        if (type == kBinChunk && !m_Out.binary) {
            m_Out.binary = content;
            if (number != 1)
                note(at,
                     "the binary chunk is number " + std::to_string(number + 1)
                         + ", but has to be the second");
            if (content.empty())
                note(at, "the binary chunk is empty; leave it out");
            return;
        }
        note(at,
             type == kBinChunk ? "a second binary chunk, which nothing can use; remove it"
                               : "a chunk of the type " + typeText(type) + ", which is kept but not read");
        m_Out.others.push_back({type, std::string(content)});
    }

    /// Chunks begin at multiples of four. Of one that ends elsewhere the padding may stand within its length
    /// or behind it: the next chunk's type tells.
    std::size_t next(std::size_t at, std::size_t end)
    {
        const std::size_t size = end - at - kChunkHeaderSize, over = size % 4;
        if (over == 0)
            return end;
        note(at, "the chunk has " + bytesText(size) + ", no multiple of four; pad it");
        const std::size_t aligned = end + 4 - over;
        const auto isChunk = [&](std::size_t start) {
            return start + kChunkHeaderSize <= m_Bytes.size()
                && wordAt(m_Bytes, start) <= m_Bytes.size() - start - kChunkHeaderSize
                && wordAt(m_Bytes, start + 4) == kBinChunk;
        };
        const bool isPadded = isChunk(aligned) || (m_Bytes.size() - end < 4 && !isChunk(end));
        return isPadded ? std::min(aligned, m_Bytes.size()) : end;
    }

    void trimJson()
    {
        if (m_Out.json.starts_with(kByteOrderMark)) {
            m_Notes.push_back(
                {bytePlace(m_Out.jsonStart), "a byte order mark stands before the JSON; remove it"});
            m_Out.json.remove_prefix(kByteOrderMark.size());
            m_Out.jsonStart += kByteOrderMark.size();
        }
        const std::size_t whole = m_Out.json.size();
        while (m_Out.json.ends_with('\0'))
            m_Out.json.remove_suffix(1);
        if (m_Out.json.size() < whole)
            m_Notes.push_back({bytePlace(m_Out.jsonStart + m_Out.json.size()),
                               "the JSON is padded with zero bytes where spaces are due"});
    }

    std::string_view m_Bytes;
    std::size_t m_First;
    std::vector<GltfNote>& m_Notes;
    GlbChunks m_Out;
};

} // namespace

bool isGlb(std::string_view bytes)
{
    return bytes.starts_with(kMagic)
        || (bytes.starts_with(kByteOrderMark) && bytes.substr(kByteOrderMark.size()).starts_with(kMagic));
}

GlbChunks glbChunks(std::string_view bytes, std::vector<GltfNote>& notes)
{
    if (bytes.starts_with(kMagic))
        return ChunkReader(bytes, 0, notes).read();
    notes.push_back({bytePlace(0), "a byte order mark stands before the GLB; remove it"});
    return ChunkReader(bytes.substr(kByteOrderMark.size()), kByteOrderMark.size(), notes).read();
}

} // namespace formats
