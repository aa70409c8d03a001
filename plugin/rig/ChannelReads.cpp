// SPDX-License-Identifier: MIT
// Channels of an item read by name.
#include "rig/ChannelReads.h"

#include "rig/RigMath.h"

#include "host/CZxEvaluation.h"

#include <algorithm>
#include <cmath>
#include <string>

using Sinew::Matrix4d;

namespace {

/// -1 when the item or the channel isn't there.
int32_t ChannelOf(const CZxUser_Item& item, const char* name)
{
    int32_t index = -1;
    return succeeded(item.call<&ZxItemTable::channelIndex>(name, &index)) ? index : -1;
}

} // namespace

bool ReadNumber(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel, double* value)
{
    double found = 0;
    const int32_t index = ChannelOf(item, channel);
    if (index < 0 || failed(read.number(item, index, &found)) || !std::isfinite(found))
        return false;
    *value = found;
    return true;
}

bool ReadInteger(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel,
                 int32_t* value)
{
    int32_t found = 0;
    const int32_t index = ChannelOf(item, channel);
    if (index < 0 || failed(read.integer(item, index, &found)))
        return false;
    *value = found;
    return true;
}

bool ReadVector(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* name, double* xyz)
{
    double found[3];
    std::string channel = std::string(name) + ".X";
    for (int a = 0; a < 3; ++a) {
        channel.back() = "XYZ"[a];
        if (!ReadNumber(read, item, channel.c_str(), found + a))
            return false;
    }
    std::copy_n(found, 3, xyz);
    return true;
}

bool ReadMatrix(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel, double* nine,
                double* three)
{
    const int32_t index = ChannelOf(item, channel);
    if (index < 0)
        return false;
    const auto matrix = read.fetch<&ZxChannelReadTable::value, CZxUser_Matrix>(item, index);
    double block[9] = {}, offset[3] = {};
    if (nine && (failed(matrix.get3x3(block)) || !AreFinite(block, 9)))
        return false;
    if (three && (failed(matrix.getOffset(offset)) || !AreFinite(offset, 3)))
        return false;
    if (nine)
        std::copy_n(block, 9, nine);
    if (three)
        std::copy_n(offset, 3, three);
    return true;
}

bool ReadMatrix(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel,
                Matrix4d& matrix)
{
    double nine[9], three[3];
    if (!ReadMatrix(read, item, channel, nine, three))
        return false;
    matrix.setIdentity();
    matrix.set3x3(nine);
    matrix.setTranslation(three[0], three[1], three[2]);
    return true;
}

bool IsOn(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel)
{
    int32_t value = 0;
    return ReadInteger(read, item, channel, &value) && value != 0;
}

bool HasChannel(const CZxUser_Item& item, const char* channel) { return ChannelOf(item, channel) >= 0; }
