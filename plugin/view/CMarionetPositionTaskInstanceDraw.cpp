// SPDX-License-Identifier: MIT
// A position task shows nothing: its goal item, or the joint, does.
#include "rig/RigInstances.h"

zxresult CMarionetPositionTaskInstance::draw(ZxObject*, ZxObject*, const float*)
{
    if (!m_Item)
        return kZxFailure;
    return m_Item.channel("ikptMatrix") >= 1 ? kZxOk : kZxNotFound;
}
