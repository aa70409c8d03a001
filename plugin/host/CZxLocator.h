// SPDX-License-Identifier: MIT
// An item with transforms, as the plug-in asks it and poses it.
#pragma once

#include "host/CZxScene.h"

/// Kinds of transform items.
enum class TransformKind : uint32_t { Scale = 0, Rotation = 1, Position = 2 };

class CZxUser_Locator : public CZxLocalize<ZxLocatorTable> {
public:
    explicit CZxUser_Locator(const CZxUser_Item& item)
    {
        query(item.object(), kZxIdLocator);
        m_Pose.query(item.object(), kZxIdLocatorPose);
    }

    zxresult worldTransform(const CZxUser_ChannelRead& read, double* nine, double* three) const
    {
        return call<&ZxLocatorTable::worldTransform>(read, nine, three);
    }
    zxresult transformItem(TransformKind kind, CZxUser_Item* item) const
    {
        ZxObject* found = nullptr;
        const zxresult result = call<&ZxLocatorTable::transformItem>(static_cast<uint32_t>(kind), &found);
        item->adopt(found);
        return result;
    }
    zxresult addTransformItem(TransformKind kind, CZxUser_Item* item) const
    {
        ZxObject* made = nullptr;
        const zxresult result =
            m_Pose.call<&ZxLocatorPoseTable::addTransformItem>(static_cast<uint32_t>(kind), &made);
        item->adopt(made);
        return result;
    }
    /// The rotation that the rotation channels must show for the rotation `nine` relative to the parent.
    zxresult rotationForChannels(const CZxUser_ChannelRead& read, const double* nine, double* result) const
    {
        return m_Pose.call<&ZxLocatorPoseTable::rotationForChannels>(read, nine, result);
    }
    /// The position that the position channels must show for the position `three` relative to the parent.
    zxresult positionForChannels(const CZxUser_ChannelRead& read, const double* three, double* result) const
    {
        return m_Pose.call<&ZxLocatorPoseTable::positionForChannels>(read, three, result);
    }
    zxresult setWorldPosition(const CZxUser_ChannelRead& read, const CZxUser_ChannelWrite& write,
                              const double* three) const
    {
        return call<&ZxLocatorTable::setWorldPosition>(write, read, three);
    }
    zxresult setWorldRotation(const CZxUser_ChannelRead& read, const CZxUser_ChannelWrite& write,
                              const double* nine) const
    {
        return call<&ZxLocatorTable::setWorldRotation>(write, read, nine);
    }

private:
    CZxLocalize<ZxLocatorPoseTable> m_Pose;
};
