// SPDX-License-Identifier: MIT
// Looks through the document for what other programs may stumble over.
#include "gltf/GltfFileOddities.h"

#include "bvh/BvhText.h"
#include "gltf/DataUri.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace formats {

namespace {

struct ImageRow {
    std::string_view mark; // that its bytes begin with
    std::string_view mediaType;
};
constexpr ImageRow kImages[] = {{"\x89PNG", "image/png"},
                                {"\xFF\xD8\xFF", "image/jpeg"},
                                {"RIFF", "image/webp"},
                                {"\xABKTX 20\xBB", "image/ktx2"}};

class FileOddities {
public:
    FileOddities(const GltfSource& source, std::vector<GltfNote>& notes)
        : m_Source(source), m_Notes(notes) { }

    void tellAll()
    {
        tellSharedBuffers();
        each("images", [&](const Json& image, const std::string& place) { tellImage(image, place); });
        for (const char* list : {"buffers", "bufferViews"})
            each(list, [&](const Json& one, const std::string& place) {
                if (unsignedOf(one, "byteLength") == 0)
                    tell(place + ".byteLength", "is 0; leave it out");
            });
        each("accessors", [&](const Json& accessor, const std::string& place) { tellGrid(accessor, place); });
        findEmpty(m_Source.json, "");
        for (const auto& [name, empty] : m_Empty)
            tell(empty.first,
                 "is an empty array, which glTF does not allow; leave it out"
                     + (empty.count > 1
                            ? "; so are " + std::to_string(empty.count - 1) + " more named '" + name + "'"
                            : std::string()));
    }

private:
    struct Empty {
        std::string first;
        std::size_t count = 0;
    };

    void tell(std::string place, std::string text) { m_Notes.push_back({std::move(place), std::move(text)}); }

    template <class Visit>
    void each(const char* list, const Visit& visit) const
    {
        const auto found = m_Source.json.find(list);
        for (std::size_t i = 0; found != m_Source.json.end() && found->is_array() && i < found->size(); ++i)
            if ((*found)[i].is_object())
                visit((*found)[i], std::string(list) + "[" + std::to_string(i) + "]");
    }

    static std::string_view textOf(const Json& object, const char* key)
    {
        const auto found = object.find(key);
        return found != object.end() && found->is_string()
            ? std::string_view(found->get_ref<const std::string&>())
            : std::string_view();
    }
    /// Nothing for what is missing, and for what the reader refuses.
    static std::optional<std::uint64_t> unsignedOf(const Json& object, const char* key)
    {
        const auto found = object.find(key);
        return found != object.end() && found->is_number_unsigned()
            ? std::optional(found->get<std::uint64_t>())
            : std::nullopt;
    }

    void tellSharedBuffers()
    {
        std::map<std::string, std::string> known;
        each("buffers", [&](const Json& one, const std::string& place) {
            const std::string_view uri = textOf(one, "uri");
            if (uri.empty())
                return;
            const bool isData = isDataUri(uri);
            const std::string target = isData
                ? std::string(uri)
                : std::filesystem::path(pathOfUri(uri).path).lexically_normal().string();
            const auto [first, isNew] = known.try_emplace(target, place);
            if (!isNew)
                tell(place + ".uri",
                     (isData ? "holds" : "names") + std::string(" the same bytes as ") + first->second
                         + "; one is enough");
        });
    }

    void tellImage(const Json& image, const std::string& place)
    {
        const std::string_view uri = textOf(image, "uri"), stated = textOf(image, "mimeType");
        std::string mediaType(stated);
        std::string_view bytes;
        std::optional<DataUri> data;
        if (isDataUri(uri)) {
            data = readDataUri(uri);
            if (!data)
                return tell(place + ".uri", "is a data URI that is not in base64");
            for (const std::string& oddity : data->oddities)
                tell(place + ".uri", oddity);
            if (!stated.empty() && stated != data->mediaType)
                tell(place + ".mimeType",
                     "says " + formats::quoted(stated) + ", but the data URI "
                         + formats::quoted(data->mediaType));
            mediaType = data->mediaType;
            bytes = data->bytes;
        } else if (const auto view = unsignedOf(image, "bufferView")) {
            bytes = bytesOfView(*view);
            if (stated.empty())
                tell(place, "has no mimeType, which says how its bytes are to be read");
        }
        const auto* real = std::find_if(std::begin(kImages), std::end(kImages),
                                        [&](const ImageRow& row) { return bytes.starts_with(row.mark); });
        if (!mediaType.empty() && !bytes.empty() && real != std::end(kImages) && mediaType != real->mediaType)
            tell(place + (data ? ".uri" : ".mimeType"),
                 "says that the image is " + formats::quoted(mediaType) + ", but it is "
                     + std::string(real->mediaType));
    }

    std::string_view bytesOfView(std::uint64_t index) const
    {
        const auto views = m_Source.json.find("bufferViews");
        if (views == m_Source.json.end() || !views->is_array() || index >= views->size()
            || !(*views)[index].is_object())
            return {};
        const Json& view = (*views)[index];
        const std::uint64_t buffer = unsignedOf(view, "buffer").value_or(m_Source.buffers.size());
        const std::uint64_t offset = unsignedOf(view, "byteOffset").value_or(0);
        return buffer < m_Source.buffers.size() && offset <= m_Source.buffers[buffer].size()
            ? m_Source.buffers[buffer].substr(offset, unsignedOf(view, "byteLength").value_or(0))
            : std::string_view();
    }

    /// Programs that read numbers where they lie need them at multiples of their size.
    void tellGrid(const Json& accessor, const std::string& place)
    {
        const std::uint64_t component = unsignedOf(accessor, "componentType").value_or(0);
        const std::uint64_t size = component == 5125 || component == 5126 ? 4
            : component == 5122 || component == 5123                      ? 2
                                                                          : 1;
        const auto view = unsignedOf(accessor, "bufferView");
        const auto views = m_Source.json.find("bufferViews");
        if (!view || views == m_Source.json.end() || !views->is_array() || *view >= views->size()
            || !(*views)[*view].is_object())
            return;
        const std::uint64_t start = unsignedOf(accessor, "byteOffset").value_or(0)
            + unsignedOf((*views)[*view], "byteOffset").value_or(0);
        if (start % size != 0)
            tell(place,
                 "begins at byte " + std::to_string(start) + " of its buffer, no multiple of the "
                     + std::to_string(size) + " bytes that its numbers have");
    }

    /// The document is no deeper than the parser allows.
    void findEmpty(const Json& json, const std::string& path)
    {
        if (json.is_object()) {
            for (const auto& [key, value] : json.items())
                if (value.is_structured() && key != "extras" && key != "extensions")
                    visit(value, path.empty() ? pathKey(key) : path + "." + pathKey(key), key);
        } else if (!json.empty() && json.front().is_structured()) {
            for (std::size_t i = 0; i < json.size(); ++i)
                findEmpty(json[i], path + "[" + std::to_string(i) + "]");
        }
    }
    void visit(const Json& value, const std::string& path, const std::string& key)
    {
        if (!value.is_array() || !value.empty())
            return findEmpty(value, path);
        Empty& empty = m_Empty[key];
        if (empty.count++ == 0)
            empty.first = path;
    }

    const GltfSource& m_Source;
    std::vector<GltfNote>& m_Notes;
    std::map<std::string, Empty> m_Empty; // by the array's name
};

} // namespace

void noteFileOddities(const GltfSource& source, std::vector<GltfNote>& notes)
{
    FileOddities(source, notes).tellAll();
}

} // namespace formats
