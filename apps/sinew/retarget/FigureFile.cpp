// SPDX-License-Identifier: MIT
// Reads either format and finds the roles of the joints.
#include "retarget/FigureFile.h"

#include "formats/FileKind.h"
#include "formats/RoleJoints.h"
#include "shared/Console.h"
#include "shared/GltfFile.h"
#include "shared/MotionFile.h"

namespace app {

FigureFile readFigure(const NamedFile& input, const std::vector<NamedFile>& outputs,
                      const std::string& offsets)
{
    FigureFile file;
    file.path = inputName(input.path);
    const std::string bytes = readMotionBytes(input, outputs);
    if (formats::isGltf(bytes)) {
        file.content = readGltfMotion(input.path, bytes);
        for (const formats::GltfNote& note : file.gltf().notes)
            file.warnings.push_back(atPlace(file.path, note.place, note.text));
        file.joints = formats::roleJoints(file.gltf());
    } else {
        file.content = readMotionText(input.path, bytes, offsets);
        for (const formats::BvhWarning& warning : file.bvh().warnings)
            file.warnings.push_back(atLine(file.path, warning.line, warning.text));
        file.joints = formats::roleJoints(file.bvh());
    }
    file.roles = formats::findHumanoidRoles(file.joints);
    return file;
}

} // namespace app
