// SPDX-License-Identifier: MIT
// A module as a file and as raw tables: loaded by hand, without the host.
#pragma once

#include <zx/ZxModule.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace app {

/// What a check found wrong.
class CheckFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Names of the symbols that a shared object exports. Throws BadInput when the file can't be read or is none.
std::vector<std::string> exportedSymbols(const std::string& path);

/// One tag of a module: a server.
struct ServerTag {
    std::string key, name;
    ZxId interfaceId{};

    bool operator==(const ServerTag& other) const
    {
        return key == other.key && name == other.name && interfaceId.high == other.interfaceId.high
            && interfaceId.low == other.interfaceId.low;
    }
};

/// An open module. Every operation throws CheckFailure when the module doesn't answer as it must.
class ModuleFile {
public:
    explicit ModuleFile(const std::string& path);
    ~ModuleFile();
    ModuleFile(const ModuleFile&) = delete;
    ModuleFile& operator=(const ModuleFile&) = delete;

    /// A module object by the entry function; the caller releases it.
    ZxObject* create() const;

private:
    void* m_Library = nullptr;
    ZxModuleEntry m_Entry = nullptr;
};

/// The object's table of this interface. The object must have the interface; the reference that the query
/// adds is released by `releaseObject` of the returned object.
ZxObject* queryInterface(ZxObject* object, const ZxId& id, const char* name);
void releaseObject(ZxObject* object);
template <class Table>
const Table& tableOf(const ZxObject* object)
{
    return *reinterpret_cast<const Table*>(object->table);
}

/// All tags of a module object.
std::vector<ServerTag> tagsOf(ZxObject* module);

/// `0x80000017`, for messages.
std::string codeText(zxresult code);

} // namespace app
