// SPDX-License-Identifier: MIT
// The host's global services, reached through the application context.
#pragma once

#include "host/CZxCommand.h"
#include "host/CZxEvent.h"
#include "host/CZxScene.h"

#include <string>
#include <vector>

/// Code of an item type by name; 0 when the host doesn't know it.
uint32_t TypeCode(const char* name);

/// Current time in seconds; 0 when the host doesn't tell.
double CurrentTime();

/// The scene that the user works in: the most recent packet of the selection type "cinema". False when there
/// is none.
bool CurrentScene(CZxUser_Scene& scene);

/// Items of the selection type "item", in selection order.
std::vector<CZxUser_Item> SelectedItems();
/// The first of them; empty when nothing is selected.
CZxUser_Item FirstSelectedItem();
bool IsSelected(const CZxUser_Item& item);
/// Throws the host's failure.
void SelectItem(const CZxUser_Item& item);
/// Unselects all items. Throws the host's failure.
void ClearItemSelection();

/// A command of the host's list; empty when there is none of that name.
CZxUser_Command SpawnCommand(const char* name);
/// Runs one line of text as a command; its failure is its own.
void ExecuteText(const std::string& line, uint32_t flags);

/// An empty vector type for tool packets; empty when the host has none.
CZxUser_VectorType NewToolVectorType();
/// Offset of a tool packet by name; -1 when the host has none such.
int32_t ToolPacketOffset(const char* packet);
