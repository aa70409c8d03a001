// SPDX-License-Identifier: MIT
// Bases of commands: their arguments, and the two interfaces in one.
#pragma once

#include "host/CZxDynamicAttributes.h"

/// Arguments, with how they are shown.
class CZxDynamicArguments : public CZxDynamicAttributes, public CZxImpl_AttributesUI {
protected:
    using CZxDynamicAttributes::CZxDynamicAttributes;
    ~CZxDynamicArguments() = default;
};

/// A command with arguments.
class CZxBasicCommand : public CZxImpl_Command, public CZxDynamicArguments {
protected:
    using CZxDynamicArguments::CZxDynamicArguments;
};
