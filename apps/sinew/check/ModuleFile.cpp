// SPDX-License-Identifier: MIT
// A module as a file and as raw tables.
#include "check/ModuleFile.h"

#include "shared/Console.h"

#include <fmt/format.h>
#include <refhost/LibraryFile.h>

#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace app {

namespace {

/// Reads a record at an offset of the file. Throws BadInput past the end.
template <class Record>
Record recordAt(const std::vector<char>& bytes, std::uint64_t offset, const std::string& path)
{
    if (offset > bytes.size() || bytes.size() - offset < sizeof(Record))
        throw BadInput(fmt::format("{}: the file is cut short or damaged; build the module again", path));
    Record record;
    std::memcpy(&record, bytes.data() + offset, sizeof record);
    return record;
}

std::string textAt(const std::vector<char>& bytes, std::uint64_t offset, const std::string& path)
{
    std::string text;
    for (;; ++offset) {
        const char c = recordAt<char>(bytes, offset, path);
        if (c == '\0')
            return text;
        text += c;
    }
}

} // namespace

std::vector<std::string> exportedSymbols(const std::string& path)
{
    if (const refhost::Result whole = refhost::checkLibraryFile(path); !whole.ok())
        throw BadInput(whole.message);
    std::ifstream stream(path, std::ios::binary);
    const std::vector<char> bytes(std::istreambuf_iterator<char>(stream), {});
    const auto header = recordAt<Elf64_Ehdr>(bytes, 0, path);
    std::vector<std::string> names;
    for (std::uint64_t s = 0; s < header.e_shnum; ++s) {
        const auto section = recordAt<Elf64_Shdr>(bytes, header.e_shoff + s * sizeof(Elf64_Shdr), path);
        if (section.sh_type != SHT_DYNSYM)
            continue;
        const auto strings =
            recordAt<Elf64_Shdr>(bytes, header.e_shoff + section.sh_link * sizeof(Elf64_Shdr), path);
        for (std::uint64_t i = 0; i < section.sh_size / sizeof(Elf64_Sym); ++i) {
            const auto symbol = recordAt<Elf64_Sym>(bytes, section.sh_offset + i * sizeof(Elf64_Sym), path);
            const unsigned char binding = ELF64_ST_BIND(symbol.st_info);
            if (symbol.st_shndx != SHN_UNDEF && (binding == STB_GLOBAL || binding == STB_WEAK))
                names.push_back(textAt(bytes, strings.sh_offset + symbol.st_name, path));
        }
    }
    return names;
}

ModuleFile::ModuleFile(const std::string& path)
{
    // A bare name would be searched for in the system's folders.
    m_Library = dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!m_Library)
        throw CheckFailure(fmt::format("it can't be loaded: {}", dlerror()));
    m_Entry = reinterpret_cast<ZxModuleEntry>(dlsym(m_Library, ZX_MODULE_ENTRY));
    if (!m_Entry)
        throw CheckFailure("it has no function " ZX_MODULE_ENTRY);
}

ModuleFile::~ModuleFile()
{
    if (m_Library)
        dlclose(m_Library);
}

ZxObject* ModuleFile::create() const
{
    ZxObject* module = m_Entry();
    if (!module)
        throw CheckFailure(ZX_MODULE_ENTRY " gives null");
    return module;
}

ZxObject* queryInterface(ZxObject* object, const ZxId& id, const char* name)
{
    ZxObject* found = nullptr;
    if (object->table->query(object, &id, &found) != kZxOk || !found)
        throw CheckFailure(fmt::format("it doesn't offer the interface {}", name));
    return found;
}

void releaseObject(ZxObject* object)
{
    if (object->table->release(object) != kZxOk)
        throw CheckFailure("releasing an object fails");
}

std::vector<ServerTag> tagsOf(ZxObject* module)
{
    ZxObject* description = queryInterface(module, kZxIdTagDescription, "TagDescription");
    const auto& table = tableOf<ZxTagDescriptionTable>(description);
    std::uint32_t count = 0;
    if (table.tagCount(description, &count) != kZxOk)
        throw CheckFailure("the count of tags fails");
    std::vector<ServerTag> tags;
    for (std::uint32_t i = 0; i < count; ++i) {
        const char *key = nullptr, *name = nullptr;
        const ZxId* id = nullptr;
        if (table.tag(description, i, &key, &name, &id) != kZxOk || !key || !name || !id)
            throw CheckFailure(fmt::format("tag {} of {} fails", i, count));
        tags.push_back({key, name, *id});
    }
    releaseObject(description);
    return tags;
}

std::string codeText(zxresult code) { return fmt::format("0x{:08x}", code); }

} // namespace app
