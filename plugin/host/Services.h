// SPDX-License-Identifier: MIT
// The host's global services, reached through the application context.
#pragma once

#include "host/CZxScene.h"

/// Code of an item type by name; 0 when the host doesn't know it.
uint32_t TypeCode(const char* name);

/// The scene that the user works in: the most recent packet of the selection type "cinema". False when there
/// is none.
bool CurrentScene(CZxUser_Scene& scene);
