// SPDX-License-Identifier: MIT
// From roles to the tags that commands of a rig read.
#include "files/BoneNames.h"

#include "files/ImportFault.h"
#include "refhost/MotionImport.h"

namespace refhost {

bool setBoneNames(Scene& scene, const std::vector<formats::RoleJoint>& joints,
                  const std::vector<Item*>& items)
{
    constexpr const char* kTag = kBoneNameTag;
    constexpr TagCode kCode = tagCode(kTag[0], kTag[1], kTag[2], kTag[3]);
    const formats::HumanoidRoles roles = formats::findHumanoidRoles(joints);
    for (std::size_t i = 0; i < items.size(); ++i)
        if (const std::string name = formats::biovisionName(roles.joints[i]); items[i] && !name.empty())
            require(scene.setTag(*items[i], kCode, name.c_str()));
    return roles.recognised;
}

} // namespace refhost
