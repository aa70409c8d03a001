// SPDX-License-Identifier: MIT
// Walks the tables of an ELF file: header, segments, sections. All of them must lie within the file.
#include "refhost/LibraryFile.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <optional>
#include <sys/stat.h>

namespace refhost {
namespace {

using Header = Elf64_Ehdr;
constexpr unsigned char kByteOrder = std::endian::native == std::endian::little ? ELFDATA2LSB : ELFDATA2MSB;
constexpr const char* kCutShort = "it is cut short or damaged; build or copy it again";
constexpr const char* kNoLibrary = "it is no shared library";

class LibraryFile {
public:
    LibraryFile(const std::string& path, std::uint64_t size) : m_Stream(path, std::ios::binary), m_Size(size)
    {
    }

    /// What is wrong with it; empty when nothing is.
    std::string fault()
    {
        const std::optional<Header> read = record<Header>(0);
        if (!read || std::memcmp(read->e_ident, ELFMAG, SELFMAG) != 0)
            return m_Size == 0 ? "it is empty" : isElf() ? kCutShort : kNoLibrary;
        const Header& header = *read;
        if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_ident[EI_DATA] != kByteOrder
            || header.e_machine != ownMachine())
            return "it is built for another kind of machine";
        if (header.e_type != ET_DYN || header.e_phnum == 0)
            return kNoLibrary;
        return segmentsAreWhole(header) && sectionsAreWhole(header) ? "" : kCutShort;
    }

private:
    template <class Record>
    std::optional<Record> record(std::uint64_t offset)
    {
        Record record{};
        if (!isInside(offset, sizeof record))
            return std::nullopt;
        m_Stream.seekg(static_cast<std::streamoff>(offset));
        return m_Stream.read(reinterpret_cast<char*>(&record), sizeof record) ? std::optional(record)
                                                                              : std::nullopt;
    }

    bool isInside(std::uint64_t offset, std::uint64_t size) const
    {
        return offset <= m_Size && size <= m_Size - offset;
    }

    bool isElf()
    {
        char mark[SELFMAG] = {};
        m_Stream.clear();
        m_Stream.seekg(0);
        m_Stream.read(mark, sizeof mark);
        return std::memcmp(mark, ELFMAG, static_cast<std::size_t>(m_Stream.gcount())) == 0;
    }

    /// Of the program that is running, which a module must match.
    static unsigned ownMachine()
    {
        Header own{};
        std::ifstream("/proc/self/exe", std::ios::binary).read(reinterpret_cast<char*>(&own), sizeof own);
        return own.e_machine;
    }

    bool segmentsAreWhole(const Header& header)
    {
        bool isLoaded = false, isDynamic = false;
        for (std::uint64_t i = 0; i < header.e_phnum; ++i) {
            const auto segment = record<Elf64_Phdr>(header.e_phoff + i * sizeof(Elf64_Phdr));
            if (!segment || !isInside(segment->p_offset, segment->p_filesz))
                return false;
            isLoaded = isLoaded || segment->p_type == PT_LOAD;
            isDynamic = isDynamic || segment->p_type == PT_DYNAMIC;
        }
        return isLoaded && isDynamic && header.e_phentsize == sizeof(Elf64_Phdr);
    }

    /// The table of sections stands at the end of a file: where it is there and makes sense, so does the
    /// rest.
    bool sectionsAreWhole(const Header& header)
    {
        if (header.e_shoff == 0)
            return true; // stripped of it
        for (std::uint64_t i = 0; i < header.e_shnum; ++i) {
            const auto section = record<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr));
            if (!section
                || (section->sh_type != SHT_NOBITS && !isInside(section->sh_offset, section->sh_size))
                || (i == header.e_shstrndx && i > 0 && section->sh_type != SHT_STRTAB))
                return false;
        }
        return header.e_shentsize == sizeof(Elf64_Shdr);
    }

    std::ifstream m_Stream;
    std::uint64_t m_Size;
};

} // namespace

Result checkLibraryFile(const std::string& path)
{
    struct stat status { };
    if (stat(path.c_str(), &status) != 0)
        return Result::failure("There is no module '" + path + "': " + std::strerror(errno)
                               + ". Give the path of a module, such as ik.zx.");
    if (!S_ISREG(status.st_mode))
        return Result::failure("'" + path + "' is " + (S_ISDIR(status.st_mode) ? "a folder" : "no file")
                               + ". Give the path of a module, such as ik.zx.");
    if (!std::ifstream(path, std::ios::binary))
        return Result::failure("The module '" + path + "' can't be read: " + std::strerror(errno) + ".");
    if (const std::string fault = LibraryFile(path, static_cast<std::uint64_t>(status.st_size)).fault();
        !fault.empty())
        return Result::failure("'" + path + "' is no module that can be loaded here: " + fault + ".");
    return {};
}

} // namespace refhost
