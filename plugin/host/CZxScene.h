// SPDX-License-Identifier: MIT
// The host's scene, its graphs and channel reads, as the plug-in asks them.
#pragma once

#include "host/CZxItem.h"

#include <zx/ZxChannel.h>
#include <zx/ZxGraph.h>
#include <zx/ZxScene.h>

/// Failures of the host are thrown.
class CZxUser_ItemGraph : public CZxLocalize<ZxItemGraphTable> {
public:
    uint32_t forwardCount(const CZxUser_Item& item) const
    {
        uint32_t count = 0;
        check(call<&ZxItemGraphTable::forwardCount>(item.object(), &count));
        return count;
    }
    uint32_t reverseCount(const CZxUser_Item& item) const
    {
        uint32_t count = 0;
        check(call<&ZxItemGraphTable::reverseCount>(item.object(), &count));
        return count;
    }
    CZxUser_Item forward(const CZxUser_Item& item, uint32_t index) const
    {
        return fetchIfAny<&ZxItemGraphTable::forwardByIndex, CZxUser_Item>(item.object(), index);
    }
    CZxUser_Item reverse(const CZxUser_Item& item, uint32_t index) const
    {
        return fetchIfAny<&ZxItemGraphTable::reverseByIndex, CZxUser_Item>(item.object(), index);
    }
};

class CZxUser_ChannelGraph : public CZxLocalize<ZxChannelGraphTable> {
public:
    zxresult reverseCount(const CZxUser_Item& item, int32_t channel, uint32_t* count) const
    {
        return call<&ZxChannelGraphTable::reverseCount>(item.object(), channel, count);
    }
};

class CZxUser_ChannelRead : public CZxLocalize<ZxChannelReadTable> {
public:
    zxresult integer(const CZxUser_Item& item, int32_t channel, int32_t* value) const
    {
        return call<&ZxChannelReadTable::integer>(item.object(), channel, value);
    }
    zxresult number(const CZxUser_Item& item, int32_t channel, double* value) const
    {
        return call<&ZxChannelReadTable::number>(item.object(), channel, value);
    }
};

class CZxUser_Scene : public CZxLocalize<ZxSceneTable> {
public:
    zxresult itemCount(uint32_t typeCode, uint32_t* count) const
    {
        return call<&ZxSceneTable::itemCount>(typeCode, count);
    }
    zxresult item(uint32_t typeCode, uint32_t index, CZxUser_Item* item) const
    {
        ZxObject* found = nullptr;
        const zxresult result = call<&ZxSceneTable::itemByIndex>(typeCode, index, &found);
        item->adopt(found);
        return result;
    }
    CZxUser_ItemGraph itemGraph(const char* name) const
    {
        CZxUser_ItemGraph graph;
        if (const auto found = fetchIfAny<&ZxSceneTable::graph, CZxLocalizedObject>(name))
            check(graph.query(found.object(), kZxIdItemGraph));
        return graph;
    }
    CZxUser_ChannelGraph channelGraph(const char* name) const
    {
        CZxUser_ChannelGraph graph;
        if (const auto found = fetchIfAny<&ZxSceneTable::graph, CZxLocalizedObject>(name))
            check(graph.query(found.object(), kZxIdChannelGraph));
        return graph;
    }
    /// `action` null reads evaluated values.
    CZxUser_ChannelRead channelRead(const char* action, double time) const
    {
        return fetchIfAny<&ZxSceneTable::channelRead, CZxUser_ChannelRead>(action, time);
    }
    bool isSetupMode() const { return isTrue(call<&ZxSceneTable::isSetupMode>()); }
};

/// The scene that an item belongs to. Throws the host's failure.
inline CZxUser_Scene sceneOf(const CZxUser_Item& item)
{
    return item.fetchIfAny<&ZxItemTable::scene, CZxUser_Scene>();
}
