// SPDX-License-Identifier: MIT
// Reads either format and finds the roles of the joints.
#include "retarget/FigureFile.h"

#include "formats/FileKind.h"
#include "formats/RoleJoints.h"
#include "shared/Console.h"
#include "shared/MotionFile.h"

#include <fmt/format.h>

#include <filesystem>

namespace app {

namespace {

formats::Gltf readGltfBytes(const std::string& path, std::string_view bytes)
{
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    formats::GltfReadResult read = formats::readGltf(bytes, folder.empty() ? "." : folder.string());
    if (const auto* error = std::get_if<formats::GltfError>(&read))
        throw BadInput(
            fmt::format("{}: {}{}{}", path, error->place, error->place.empty() ? "" : ": ", error->reason));
    return std::get<formats::Gltf>(std::move(read));
}

} // namespace

FigureFile readFigure(const std::string& path, const FigureOptions& options)
{
    FigureFile file;
    file.path = path;
    const std::variant<std::string, formats::FileError> read = formats::readWholeFile(path);
    if (const auto* error = std::get_if<formats::FileError>(&read))
        throw BadInput(error->reason);
    const std::string& bytes = std::get<std::string>(read);
    if (formats::isGltf(bytes)) {
        file.content = readGltfBytes(path, bytes);
        for (const formats::GltfNote& note : file.gltf().notes)
            file.warnings.push_back(
                fmt::format("{}: {}{}{}", path, note.place, note.place.empty() ? "" : ": ", note.text));
        file.joints = formats::roleJoints(file.gltf());
    } else {
        file.content = readMotionText(path, bytes, options.offsets);
        for (const formats::BvhWarning& warning : file.bvh().warnings)
            file.warnings.push_back(atLine(path, warning.line, warning.text));
        file.joints = formats::roleJoints(file.bvh());
    }
    file.roles = formats::findHumanoidRoles(file.joints);
    return file;
}

} // namespace app
