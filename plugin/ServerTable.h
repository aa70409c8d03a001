// SPDX-License-Identifier: MIT
// Start-up of the module: its servers and spawners.
#pragma once

#include "host/CZxThisModule.h"

/// Registers all servers in their order, and the spawners. Throws on failure.
void initialize(CZxThisModule& module);
/// Drops the spawners and the servers.
void tearDown(CZxThisModule& module);
