// SPDX-License-Identifier: MIT
// From the bytes of a glTF file to its JSON document and its buffers.
#include "gltf/GltfContainer.h"

#include "bvh/BvhText.h"
#include "formats/FileKind.h"
#include "formats/Files.h"
#include "gltf/DataUri.h"
#include "gltf/GlbChunks.h"
#include "gltf/GltfFileOddities.h"
#include "gltf/GltfSupport.h"

#include <filesystem>
#include <map>

namespace formats {

namespace {

constexpr std::uint64_t kLargestBuffer = std::uint64_t{1} << 32;

std::string bytePlace(std::size_t byte) { return "byte " + std::to_string(byte); }

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

class BufferFinder {
public:
    BufferFinder(GltfSource& source, std::vector<GltfNote>& notes) : m_Source(source), m_Notes(notes) { }

    void findAll(const JsonView& root, std::optional<std::string_view> binary)
    {
        const std::optional<JsonView> buffers = root.find("buffers");
        for (std::size_t i = 0; buffers && i < buffers->size(); ++i)
            m_Source.buffers.push_back(find((*buffers)[i], i == 0 ? binary : std::nullopt));
        if (binary && (!buffers || buffers->size() == 0 || (*buffers)[0].find("uri")))
            m_Notes.push_back(
                {"buffers", "the binary chunk belongs to none; the first without a uri would have it"});
    }

private:
    std::string_view find(const JsonView& buffer, std::optional<std::string_view> binary)
    {
        const JsonView lengthView = buffer.at("byteLength");
        const std::uint64_t length = lengthView.integer(kLargestBuffer);
        std::string_view bytes;
        std::size_t padding = 0;
        if (const std::optional<JsonView> uri = buffer.find("uri")) {
            bytes = isDataUri(uri->text()) ? fromData(*uri, length) : fromFile(*uri);
        } else if (binary) {
            bytes = *binary;
            padding = 3; // a chunk ends at a multiple of four
        } else {
            refuse(buffer.path(), "has no uri, and the file has no binary chunk for it");
        }
        if (length > bytes.size())
            refuse(lengthView.path(),
                   "claims " + std::to_string(length) + " bytes, but there are "
                       + std::to_string(bytes.size()) + "; get a whole copy");
        if (bytes.size() - length > padding)
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

    std::string_view fromData(const JsonView& uri, std::uint64_t length)
    {
        std::optional<DataUri> data = readDataUri(uri.text());
        if (!data || (data->isCut && data->bytes.size() < length))
            refuse(uri.path(), "is a data URI that is not valid base64");
        if (data->mediaType != "application/octet-stream" && data->mediaType != "application/gltf-buffer")
            m_Notes.push_back(
                {uri.path(),
                 (data->mediaType.empty() ? "has no media type"
                                          : "has the media type " + formats::quoted(data->mediaType))
                     + "; that of a buffer is application/octet-stream"});
        for (std::string& oddity : data->oddities)
            m_Notes.push_back({uri.path(), std::move(oddity)});
        return keep(std::move(data->bytes));
    }

    std::string_view fromFile(const JsonView& uri)
    {
        const std::string name = formats::quoted(pathOfUri(uri.text()).path);
        const UriPath target = fileOfUri(uri.text(), m_Source.folder);
        if (!target.fault.empty())
            refuse(uri.path(), target.fault);
        const auto [known, isNew] = m_Files.try_emplace(target.path);
        if (!isNew)
            return known->second;
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(target.path, ignored))
            refuse(uri.path(), "names " + name + ", which is not there; put the file beside this one");
        std::variant<std::string, FileError> file = readWholeFile(target.path);
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

// Many exporters leave a percent sign of a name as it is.
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
    GlbChunks chunks;
    if (isGlb(whole)) {
        chunks = glbChunks(whole, notes);
        source->otherChunks = std::move(chunks.others);
    } else {
        const std::string_view text = whole.starts_with("\xEF\xBB\xBF") ? whole.substr(3) : whole;
        const std::size_t first = text.find_first_not_of(" \t\r\n");
        if (first == std::string_view::npos || text[first] != '{')
            refuse("", notReadText(whole));
        if (text.size() < whole.size())
            notes.push_back({bytePlace(0), "a byte order mark stands before the JSON; remove it"});
        chunks.json = text;
        chunks.jsonStart = whole.size() - text.size();
    }
    source->json = parseGltfJson(chunks.json, chunks.jsonStart);
    const JsonView root(source->json, "");
    if (const auto format = root.find("format"); format && !root.find("asset") && format->json().is_string())
        refuse("", "this is JSON of the format " + formats::quoted(format->text()) + ", not glTF");
    checkVersionAndExtensions(root);
    BufferFinder(*source, notes).findAll(root, chunks.binary);
    noteFileOddities(*source, notes);
    return source;
}

} // namespace formats
