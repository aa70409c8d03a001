// SPDX-License-Identifier: MIT
// Channel set-up of a module's package.
#pragma once

#include "module/HostObject.h"
#include "refhost/ChannelDefinition.h"
#include "refhost/Result.h"

#include <zx/ZxPackage.h>

#include <optional>
#include <string>
#include <vector>

namespace refhost {

/// Takes down what a package declares.
class AddChannelObject final : public HostObject {
public:
    explicit AddChannelObject(HostBinding& binding);

    zxresult add(const char* name, const char* type);
    zxresult setStorage(const char* storage);
    zxresult setVector(const char* components);
    zxresult setDefault(double number, int32_t integer);
    zxresult setDefaultVector(double x, double y, double z);
    zxresult setHint(const ZxHint* hints);
    zxresult index(uint32_t* index);
    zxresult markSetupSwitch();

    /// What was declared; the message names a channel whose declaration is not complete.
    ResultOf<std::vector<ChannelDefinition>> definitions() const;

    static const ZxAddChannelTable kTable;

private:
    bool isTaken(const std::string& name) const;
    bool hasNumber() const;
    static std::vector<std::string> namesOf(const std::string& name, const std::string& letters);

    struct Declared {
        ChannelDefinition channel;
        bool needsStorage = false;
        std::string letters; ///< of a vector
        double components[3] = {};
        uint32_t index = 0;
    };
    std::vector<Declared> m_Declared;
    uint32_t m_Count = 0; // vectors counted in full
};

} // namespace refhost
