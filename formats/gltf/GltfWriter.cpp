// SPDX-License-Identifier: MIT
// A file that was read, written as a GLB with new motion.
#include "formats/GltfWriter.h"

#include "formats/Files.h"
#include "gltf/ClipWriter.h"

#include <filesystem>

namespace formats {

namespace {

struct ImageRow {
    std::string_view start;
    const char* mimeType;
};

constexpr ImageRow kImages[] = {{"\x89PNG", "image/png"}, {"\xFF\xD8\xFF", "image/jpeg"}};

class MotionWriter {
public:
    explicit MotionWriter(const Gltf& gltf) : m_Gltf(gltf), m_Source(*gltf.source)
    {
        m_Glb.json = m_Source.json;
    }

    std::string write(const GltfClip& clip, const GltfWriteOptions& options)
    {
        joinBuffers();
        takeImagesIn();
        for (const GltfTrack& track : clip.tracks)
            freeFromMatrix(track.node);
        addClip(m_Glb, clip, m_Gltf.nodes.size(), options, &m_Source);
        return m_Glb.finish(m_Source.otherChunks);
    }

private:
    /// A GLB has one buffer of its own: all are put behind each other, and the views moved along.
    void joinBuffers()
    {
        std::vector<std::size_t> starts;
        for (const std::string_view buffer : m_Source.buffers) {
            m_Glb.binary.resize((m_Glb.binary.size() + 3) / 4 * 4);
            starts.push_back(m_Glb.binary.size());
            m_Glb.binary += buffer;
        }
        if (starts.size() < 2)
            return;
        m_Glb.json["buffers"] = Json::array();
        for (Json& view : m_Glb.json["bufferViews"]) {
            move(view, starts);
            const auto extensions = view.find("extensions");
            if (extensions == view.end())
                continue;
            for (const char* name : {"EXT_meshopt_compression", "KHR_meshopt_compression"})
                if (const auto extension = extensions->find(name); extension != extensions->end())
                    move(*extension, starts);
        }
    }

    static void move(Json& view, const std::vector<std::size_t>& starts)
    {
        const JsonView checked(view, "bufferViews");
        const std::size_t buffer = checked.at("buffer").index(starts.size(), "buffers");
        const std::uint64_t offset = checked.integerOr("byteOffset", 0, std::uint64_t{1} << 40);
        view["buffer"] = 0;
        view["byteOffset"] = starts[buffer] + offset;
    }

    /// Images beside the input would be lost where the output goes to another folder.
    void takeImagesIn()
    {
        const auto images = m_Glb.json.find("images");
        if (images == m_Glb.json.end() || m_Source.folder.empty() || !images->is_array())
            return;
        for (Json& image : *images) {
            const auto uri = image.is_object() ? image.find("uri") : image.end();
            if (!image.is_object() || uri == image.end() || !uri->is_string())
                continue;
            const UriPath target = fileOfUri(uri->get_ref<const std::string&>(), m_Source.folder);
            std::error_code ignored;
            if (!target.fault.empty() || !std::filesystem::is_regular_file(target.path, ignored))
                continue;
            const std::variant<std::string, FileError> bytes = readWholeFile(target.path);
            if (const auto* content = std::get_if<std::string>(&bytes))
                takeImageIn(image, *content);
        }
    }

    void takeImageIn(Json& image, std::string_view bytes)
    {
        for (const ImageRow& row : kImages) {
            if (!bytes.starts_with(row.start))
                continue;
            image.erase("uri");
            image["bufferView"] = m_Glb.addView(bytes);
            image["mimeType"] = row.mimeType;
            return;
        }
    }

    /// Only translation, rotation and scale can have keys, and beside them a node cannot have a matrix.
    void freeFromMatrix(int index)
    {
        if (index < 0 || static_cast<std::size_t>(index) >= m_Gltf.nodes.size())
            return; // refused with the keys
        const GltfNode& node = m_Gltf.nodes[static_cast<std::size_t>(index)];
        Json& json = m_Glb.json["nodes"][static_cast<std::size_t>(index)];
        if (!json.contains("matrix"))
            return;
        if (node.sheared)
            refuse("nodes[" + std::to_string(index) + "].matrix",
                   "has shear, so that the node cannot have keys; leave it out of the motion");
        json.erase("matrix");
        json["translation"] = node.transform.translation;
        json["rotation"] = node.transform.rotation;
        json["scale"] = node.transform.scale;
    }

    const Gltf& m_Gltf;
    const GltfSource& m_Source;
    GlbBuilder m_Glb;
};

} // namespace

GltfWriteResult writeGlb(const Gltf& gltf, const GltfClip& clip, const GltfWriteOptions& options)
{
    if (!gltf.source)
        return GltfError{"", "the figure was not read from a file; write it as a skeleton"};
    try {
        return MotionWriter(gltf).write(clip, options);
    } catch (GltfRefusal& refusal) {
        return GltfError{std::move(refusal.place), std::move(refusal.reason)};
    }
}

} // namespace formats
