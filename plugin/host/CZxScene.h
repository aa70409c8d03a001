// SPDX-License-Identifier: MIT
// The host's scene, its graphs and channel reads, as the plug-in asks them.
#pragma once

#include "host/CZxItem.h"

#include <zx/ZxChannel.h>
#include <zx/ZxEdit.h>
#include <zx/ZxGraph.h>
#include <zx/ZxScene.h>

/// Failures of the host are thrown.
class CZxUser_ItemGraph : public CZxLocalize<ZxItemGraphTable> {
public:
    uint32_t forwardCount(const CZxUser_Item& item) const
    {
        uint32_t count = 0;
        check(call<&ZxItemGraphTable::forwardCount>(item, &count));
        return count;
    }
    uint32_t reverseCount(const CZxUser_Item& item) const
    {
        uint32_t count = 0;
        check(call<&ZxItemGraphTable::reverseCount>(item, &count));
        return count;
    }
    CZxUser_Item forward(const CZxUser_Item& item, uint32_t index) const
    {
        return fetchIfAny<&ZxItemGraphTable::forwardByIndex, CZxUser_Item>(item, index);
    }
    CZxUser_Item reverse(const CZxUser_Item& item, uint32_t index) const
    {
        return fetchIfAny<&ZxItemGraphTable::reverseByIndex, CZxUser_Item>(item, index);
    }
};

/// Links of an item graph as something to change. Each throws the host's failure.
inline void AddLink(const CZxUser_ItemGraph& graph, const CZxUser_Item& from, const CZxUser_Item& to)
{
    CZxLocalize<ZxItemGraphEditTable> edit;
    edit.query(graph.object(), kZxIdItemGraphEdit);
    check(edit.call<&ZxItemGraphEditTable::addLink>(from, to));
}
/// A link that is not there changes nothing.
inline void DeleteLink(const CZxUser_ItemGraph& graph, const CZxUser_Item& from, const CZxUser_Item& to)
{
    CZxLocalize<ZxItemGraphEditTable> edit;
    edit.query(graph.object(), kZxIdItemGraphEdit);
    if (const zxresult result = edit.call<&ZxItemGraphEditTable::deleteLink>(from, to); result != kZxNotFound)
        check(result);
}

class CZxUser_ChannelGraph : public CZxLocalize<ZxChannelGraphTable> {
public:
    zxresult reverseCount(const CZxUser_Item& item, int32_t channel, uint32_t* count) const
    {
        return call<&ZxChannelGraphTable::reverseCount>(item, channel, count);
    }
    /// Whether anything feeds the channel; a failing count says no.
    bool isFed(const CZxUser_Item& item, int32_t channel) const
    {
        uint32_t count = 0;
        return succeeded(reverseCount(item, channel, &count)) && count > 0;
    }
    /// Item that feeds the channel by its first link; empty when there is none.
    CZxUser_Item source(const CZxUser_Item& item, int32_t channel) const
    {
        CZxUser_Item source;
        ZxObject* found = nullptr;
        int32_t sourceChannel = -1;
        if (succeeded(call<&ZxChannelGraphTable::reverseByIndex>(item, channel, 0u, &found, &sourceChannel)))
            source.adopt(found);
        return source;
    }
    /// Throws the host's failure.
    void addLink(const CZxUser_Item& from, int32_t fromChannel, const CZxUser_Item& to,
                 int32_t toChannel) const
    {
        CZxLocalize<ZxChannelGraphEditTable> edit;
        edit.query(object(), kZxIdChannelGraphEdit);
        check(edit.call<&ZxChannelGraphEditTable::addLink>(from, fromChannel, to, toChannel));
    }
};

class CZxUser_ChannelRead : public CZxLocalize<ZxChannelReadTable> {
public:
    zxresult integer(const CZxUser_Item& item, int32_t channel, int32_t* value) const
    {
        return call<&ZxChannelReadTable::integer>(item, channel, value);
    }
    zxresult number(const CZxUser_Item& item, int32_t channel, double* value) const
    {
        return call<&ZxChannelReadTable::number>(item, channel, value);
    }
};

class CZxUser_ChannelWrite : public CZxLocalize<ZxChannelWriteTable> {
public:
    // Each skips a channel index below 0 and throws the host's failure.

    void integer(const CZxUser_Item& item, int32_t channel, int32_t value) const
    {
        if (channel >= 0)
            check(call<&ZxChannelWriteTable::integer>(item, channel, value));
    }
    void number(const CZxUser_Item& item, int32_t channel, double value) const
    {
        if (channel >= 0)
            check(call<&ZxChannelWriteTable::number>(item, channel, value));
    }
    /// As a key at the write's time if one stands there or the channel is keyed; else the plain value. Skips
    /// a channel index below 0; the failure is the caller's.
    zxresult changeKey(const CZxUser_Item& item, int32_t channel, double value) const
    {
        return channel < 0 ? kZxNotFound : call<&ZxChannelWriteTable::key>(item, channel, value, 0u);
    }
    /// As a key at the write's time, which is made if it isn't there.
    void createKey(const CZxUser_Item& item, int32_t channel, double value) const
    {
        if (channel >= 0)
            check(call<&ZxChannelWriteTable::key>(item, channel, value, 1u));
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

    /// Throws the host's failure.
    CZxUser_Item newItem(uint32_t typeCode) const
    {
        CZxUser_Item item;
        ZxObject* made = nullptr;
        check(edit().call<&ZxSceneEditTable::newItem>(typeCode, &made));
        item.adopt(made);
        return item;
    }
    CZxUser_ChannelWrite channelWrite(const char* action, double time) const
    {
        return edit().fetch<&ZxSceneEditTable::channelWrite, CZxUser_ChannelWrite>(action, time);
    }
    /// Throws the host's failure.
    void resetModifier(const char* name) const { check(edit().call<&ZxSceneEditTable::resetModifier>(name)); }

private:
    CZxLocalize<ZxSceneEditTable> edit() const
    {
        CZxLocalize<ZxSceneEditTable> edit;
        edit.query(object(), kZxIdSceneEdit);
        return edit;
    }
};

/// The scene that an item belongs to. Throws the host's failure.
inline CZxUser_Scene sceneOf(const CZxUser_Item& item)
{
    return item.fetchIfAny<&ZxItemTable::scene, CZxUser_Scene>();
}
