// SPDX-License-Identifier: MIT
// Which versions and extensions of glTF the reader can take.
#include "gltf/GltfSupport.h"

#include "bvh/BvhText.h"

#include <algorithm>

namespace formats {

namespace {

// Required by a file, and yet nothing that nodes, meshes, skins or their motion depend on; or read here.
constexpr std::string_view kKnownExtensions[] = {
    "KHR_mesh_quantization", // integer attributes are read as they stand
    "KHR_texture_transform",
    "KHR_texture_basisu",
    "KHR_lights_punctual",
    "KHR_xmp_json_ld",
    "KHR_node_visibility",
    "EXT_texture_webp",
    "EXT_texture_avif",
    "EXT_lights_image_based",
    "MSFT_texture_dds",
    "VRM",
    "VRMC_vrm",
    "VRMC_vrm_animation",
    "VRMC_springBone",
    "VRMC_springBone_extended_collider",
    "VRMC_node_constraint",
    "VRMC_materials_mtoon",
    "VRMC_materials_hdr_emissiveMultiplier",
};

struct CompressionRow {
    std::string_view extension;
    std::string_view what;
};

constexpr CompressionRow kCompressions[] = {
    {"KHR_draco_mesh_compression", "Draco-compressed meshes"},
    {"EXT_meshopt_compression", "meshopt-compressed buffers"},
    {"KHR_meshopt_compression", "meshopt-compressed buffers"},
};

void checkRequired(const JsonView& extension)
{
    const std::string& name = extension.text();
    for (const CompressionRow& row : kCompressions)
        if (name == row.extension)
            refuse(extension.path(),
                   "the file needs " + name + ", and " + std::string(row.what)
                       + " are not read; export it again without compression");
    const auto* known = std::find(std::begin(kKnownExtensions), std::end(kKnownExtensions), name);
    if (known == std::end(kKnownExtensions) && !name.starts_with("KHR_materials_"))
        refuse(extension.path(),
               "the file cannot be read right without the extension " + formats::quoted(name)
                   + ", which is not known here; export it again without that");
}

} // namespace

void checkVersionAndExtensions(const JsonView& root)
{
    const JsonView asset = root.at("asset");
    const JsonView version = asset.at("version");
    if (!version.text().starts_with("2."))
        refuse(version.path(),
               "is " + formats::quoted(version.text()) + "; only glTF 2.0 is read: convert the file");
    if (const std::optional<JsonView> least = asset.find("minVersion"); least && least->text() != "2.0")
        refuse(least->path(),
               "is " + formats::quoted(least->text()) + "; only glTF 2.0 is read: convert the file");
    const std::optional<JsonView> required = root.find("extensionsRequired");
    for (std::size_t i = 0; required && i < required->size(); ++i)
        checkRequired((*required)[i]);
}

} // namespace formats
