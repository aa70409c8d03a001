// SPDX-License-Identifier: MIT
// From the bytes of a glTF file to its JSON document and its buffers.
#include "gltf/GltfContainer.h"

#include "bvh/BvhText.h"
#include "formats/Base64.h"
#include "formats/Files.h"
#include "gltf/GltfSupport.h"

#include <filesystem>
#include <map>

namespace formats {

namespace {

constexpr std::string_view kMagic = "glTF";
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinChunk = 0x004E4942;
constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kChunkHeaderSize = 8;
constexpr std::uint64_t kLargestBuffer = std::uint64_t{1} << 32;

std::string bytePlace(std::size_t byte) { return "byte " + std::to_string(byte); }

std::uint32_t wordAt(std::string_view bytes, std::size_t at)
{
    std::uint32_t word = 0;
    for (std::size_t i = 4; i-- > 0;)
        word = word << 8 | static_cast<unsigned char>(bytes[at + i]);
    return word;
}

struct Chunks {
    std::size_t jsonStart = 0;
    std::string_view json;
    std::optional<std::string_view> binary;
};

Chunks readChunks(std::string_view bytes, GltfSource& source, std::vector<GltfNote>& notes)
{
    if (bytes.size() < kHeaderSize)
        refuse(bytePlace(bytes.size()), "the file ends inside its header; get a whole copy");
    if (const std::uint32_t version = wordAt(bytes, 4); version != 2)
        refuse(bytePlace(4),
               "this is binary glTF version " + std::to_string(version)
                   + "; only version 2 is read: convert the file");
    const std::uint32_t length = wordAt(bytes, 8);
    if (length > bytes.size())
        refuse(bytePlace(8),
               "the file says it has " + std::to_string(length) + " bytes, but there are "
                   + std::to_string(bytes.size()) + "; it is cut off: get a whole copy");
    if (length < bytes.size())
        notes.push_back(
            {"", std::to_string(bytes.size() - length) + " bytes behind the end of the GLB are left out"});
    bytes = bytes.substr(0, length);

    Chunks chunks;
    for (std::size_t at = kHeaderSize, number = 0; at < bytes.size(); ++number) {
        if (bytes.size() - at < kChunkHeaderSize)
            refuse(bytePlace(at), "the file ends inside the header of a chunk; get a whole copy");
        const std::size_t size = wordAt(bytes, at);
        const std::uint32_t type = wordAt(bytes, at + 4);
        if (size > bytes.size() - at - kChunkHeaderSize)
            refuse(bytePlace(at),
                   "a chunk says it has " + std::to_string(size) + " bytes, but only "
                       + std::to_string(bytes.size() - at - kChunkHeaderSize) + " are left");
        const std::string_view content = bytes.substr(at + kChunkHeaderSize, size);
        if ((number == 0) != (type == kJsonChunk))
            refuse(bytePlace(at),
                   number == 0 ? "the first chunk must be JSON" : "a second chunk of JSON; remove one");
        if (type == kJsonChunk) {
            chunks.jsonStart = at + kChunkHeaderSize;
            chunks.json = content;
        } else if (type == kBinChunk && number == 1) {
            chunks.binary = content;
        } else {
            source.otherChunks.push_back({type, std::string(content)});
        }
        at += kChunkHeaderSize + size;
    }
    if (chunks.json.empty())
        refuse(bytePlace(kHeaderSize), "the file has no JSON");
    return chunks;
}

std::size_t schemeLength(std::string_view uri)
{
    const std::size_t colon = uri.find(':');
    if (colon == std::string_view::npos || colon == 0)
        return 0;
    for (std::size_t i = 0; i < colon; ++i) {
        const char c = uri[i];
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!letter && (i == 0 || !(isDigit(c) || c == '+' || c == '-' || c == '.')))
            return 0;
    }
    return colon;
}

int hexDigit(char c)
{
    if (isDigit(c))
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Codes that are none stay as they are: many exporters leave a percent sign of a name as it is.
std::string withoutPercentCodes(std::string_view uri)
{
    std::string text;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        const int high = uri[i] == '%' && i + 2 < uri.size() ? hexDigit(uri[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(uri[i + 2]) : -1;
        if (low >= 0) {
            text += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            text += uri[i];
        }
    }
    return text;
}

class BufferFinder {
public:
    BufferFinder(GltfSource& source, std::vector<GltfNote>& notes) : m_Source(source), m_Notes(notes) { }

    void findAll(const JsonView& root, std::optional<std::string_view> binary)
    {
        const std::optional<JsonView> buffers = root.find("buffers");
        for (std::size_t i = 0; buffers && i < buffers->size(); ++i)
            m_Source.buffers.push_back(find((*buffers)[i], i == 0 ? binary : std::nullopt));
    }

private:
    std::string_view find(const JsonView& buffer, std::optional<std::string_view> binary)
    {
        const JsonView lengthView = buffer.at("byteLength");
        const std::uint64_t length = lengthView.integer(kLargestBuffer);
        std::string_view bytes;
        if (const std::optional<JsonView> uri = buffer.find("uri"))
            bytes = isDataUri(uri->text()) ? fromData(*uri) : fromFile(*uri);
        else if (binary)
            bytes = *binary;
        else
            refuse(buffer.path(), "has no uri, and the file has no binary chunk for it");
        if (length > bytes.size())
            refuse(lengthView.path(),
                   "claims " + std::to_string(length) + " bytes, but there are "
                       + std::to_string(bytes.size()) + "; get a whole copy");
        if (bytes.size() - length > 3) // a chunk is padded to four
            m_Notes.push_back({lengthView.path(),
                               "only the first " + std::to_string(length) + " of "
                                   + std::to_string(bytes.size()) + " bytes belong to the buffer"});
        return bytes.substr(0, static_cast<std::size_t>(length));
    }

    std::string_view keep(std::string bytes)
    {
        m_Source.storage.push_back(std::make_shared<const std::string>(std::move(bytes)));
        return *m_Source.storage.back();
    }

    std::string_view fromData(const JsonView& uri)
    {
        std::optional<std::string> bytes = bytesOfDataUri(uri.text());
        if (!bytes)
            refuse(uri.path(), "is a data URI that is not valid base64");
        return keep(*std::move(bytes));
    }

    std::string_view fromFile(const JsonView& uri)
    {
        const UriPath target = pathOfUri(uri.text());
        if (!target.fault.empty())
            refuse(uri.path(), target.fault);
        if (m_Source.folder.empty())
            refuse(uri.path(),
                   "names a file (" + formats::quoted(target.path)
                       + "), but these bytes come without a folder");
        const auto [known, isNew] = m_Files.try_emplace(target.path);
        if (!isNew)
            return known->second;
        const std::string path = (std::filesystem::path(m_Source.folder) / target.path).string();
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(path, ignored))
            refuse(uri.path(),
                   "names " + formats::quoted(target.path)
                       + ", which is not there; put the file beside this one");
        std::variant<std::string, FileError> file = readWholeFile(path);
        if (const auto* error = std::get_if<FileError>(&file))
            refuse(uri.path(), error->reason);
        return known->second = keep(std::get<std::string>(std::move(file)));
    }

    GltfSource& m_Source;
    std::vector<GltfNote>& m_Notes;
    std::map<std::string, std::string_view> m_Files;
};

} // namespace

bool isDataUri(std::string_view uri)
{
    return schemeLength(uri) == 4 && equalsIgnoringCase(uri.substr(0, 4), "data");
}

std::optional<std::string> bytesOfDataUri(std::string_view uri)
{
    const std::size_t comma = uri.find(',');
    if (!isDataUri(uri) || comma == std::string_view::npos || !uri.substr(0, comma).ends_with(";base64"))
        return std::nullopt;
    std::string_view text = uri.substr(comma + 1);
    if (text.size() % 4 == 0)
        return base64Bytes(text);
    return base64Bytes(std::string(text) + std::string(4 - text.size() % 4, '=')); // padding may be left out
}

UriPath pathOfUri(std::string_view uri)
{
    if (const std::size_t scheme = schemeLength(uri); scheme > 0)
        return {"",
                "names another place (" + formats::quoted(uri.substr(0, scheme + 1))
                    + "); only files in the folder of this one are read"};
    UriPath result{withoutPercentCodes(uri), ""};
    const std::string& path = result.path;
    const std::string outside = formats::quoted(path) + " leaves the folder of this file; it is not opened";
    if (path.empty())
        result.fault = "is empty";
    else if (path.find('\0') != std::string::npos)
        result.fault = formats::quoted(path) + " has a zero byte in it";
    else if (path.find('\\') != std::string::npos || path.front() == '/' || schemeLength(path) > 0)
        result.fault = outside;
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        if (path.substr(start, end - start) == "..")
            result.fault = outside;
        start = end + 1;
    }
    return result;
}

std::shared_ptr<GltfSource> openContainer(std::string bytes, const std::string& folder,
                                          std::vector<GltfNote>& notes)
{
    auto source = std::make_shared<GltfSource>();
    source->folder = folder;
    source->storage.push_back(std::make_shared<const std::string>(std::move(bytes)));
    const std::string_view whole = *source->storage.front();
    Chunks chunks;
    if (whole.starts_with(kMagic)) {
        chunks = readChunks(whole, *source, notes);
        while (chunks.json.ends_with('\0')) // some writers pad with zeros where spaces are asked for
            chunks.json.remove_suffix(1);
    } else {
        const std::string_view text = whole.starts_with("\xEF\xBB\xBF") ? whole.substr(3) : whole;
        const std::size_t first = text.find_first_not_of(" \t\r\n");
        if (first == std::string_view::npos)
            refuse(bytePlace(0), "the file is empty");
        if (text[first] != '{')
            refuse(bytePlace(whole.size() - text.size() + first),
                   "this is no glTF file: it starts neither with 'glTF' nor with a JSON object");
        chunks.json = text;
        chunks.jsonStart = whole.size() - text.size();
    }
    source->json = parseGltfJson(chunks.json, chunks.jsonStart);
    const JsonView root(source->json, "");
    checkVersionAndExtensions(root);
    BufferFinder(*source, notes).findAll(root, chunks.binary);
    return source;
}

} // namespace formats
