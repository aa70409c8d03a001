// SPDX-License-Identifier: MIT
// Channels of an item read by name, where nothing there and nothing usable are one answer.
#pragma once

#include "host/CZxScene.h"

#include <sinew/Matrix4d.h>

// Each answers false, and changes nothing, when the item or the channel is not there, the read fails, or a
// number is not finite.

bool ReadNumber(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel,
                double* value);
bool ReadInteger(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel,
                 int32_t* value);
/// `name`.X, .Y and .Z.
bool ReadVector(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* name, double* xyz);
/// 3x3 part of a matrix channel, nine doubles, and offset, three; either pointer may be null.
bool ReadMatrix(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel, double* nine,
                double* three);
/// The same as a row-vector matrix.
bool ReadMatrix(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel,
                Sinew::Matrix4d& matrix);

/// Whether the channel is there and reads other than 0.
bool IsOn(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const char* channel);
/// Whether the item has the channel; no when the host doesn't tell.
bool HasChannel(const CZxUser_Item& item, const char* channel);
