// SPDX-License-Identifier: MIT
// Reading a whole file and replacing one safely, shared by every reader and writer of this library.
#include "formats/Files.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <system_error>

namespace formats {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLargestFile = std::size_t{1} << 30;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Place for the name of an unfinished file. A signal handler reads it, so it is never allocated or freed.
struct NamePlace {
    std::atomic<bool> taken = false, named = false;
    char path[PATH_MAX] = {};
};
std::array<NamePlace, 64> namePlaces;

std::string lastError() { return std::generic_category().message(errno); }

/// Closing is part of writing: a full disk may only show then.
bool writeAll(File file, std::string_view text)
{
    const bool written =
        std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() && std::fflush(file.get()) == 0;
    const int error = errno;
    const bool closed = std::fclose(file.release()) == 0;
    if (!written)
        errno = error;
    return written && closed;
}

} // namespace

std::variant<std::string, FileError> readWholeFile(const std::string& path)
{
    std::error_code ignored;
    if (fs::is_directory(path, ignored))
        return FileError{path + " is a folder; name a file in it"};
    const File file(std::fopen(path.c_str(), "rb"));
    if (!file)
        return FileError{path + " cannot be opened: " + lastError()};
    std::string text;
    if (const auto size = fs::file_size(path, ignored); !ignored && size <= kLargestFile)
        text.reserve(static_cast<std::size_t>(size) + 1);
    // Read to the end rather than by the size: pipes have none, and files grow.
    constexpr std::size_t kStep = 1 << 18;
    for (std::size_t got = kStep; got == kStep;) {
        const std::size_t before = text.size();
        text.resize(before + kStep);
        got = std::fread(text.data() + before, 1, kStep, file.get());
        text.resize(before + got);
        if (text.size() > kLargestFile)
            return FileError{path + " is larger than 1 GiB; split the motion into shorter files"};
    }
    if (std::ferror(file.get()) != 0)
        return FileError{path + " cannot be read: " + lastError()};
    return text;
}

UnfinishedFile::UnfinishedFile(const std::string& path) : m_Slot(0)
{
    if (path.size() >= PATH_MAX)
        m_Slot = namePlaces.size(); // no system opens it
    while (m_Slot < namePlaces.size() && namePlaces[m_Slot].taken.exchange(true))
        ++m_Slot;
    if (m_Slot == namePlaces.size())
        return; // more files at once than places: this one is not looked after
    std::memcpy(namePlaces[m_Slot].path, path.c_str(), path.size() + 1);
    namePlaces[m_Slot].named = true;
}

UnfinishedFile::~UnfinishedFile()
{
    if (m_Slot == namePlaces.size())
        return;
    namePlaces[m_Slot].named = false;
    namePlaces[m_Slot].taken = false;
}

void removeUnfinishedFiles() noexcept
{
    for (const NamePlace& place : namePlaces) {
        if (place.named)
            ::unlink(place.path);
    }
}

std::optional<std::string> writeFileAtomically(const std::string& path, std::string_view text)
{
    std::error_code code;
    const fs::file_status status = fs::status(path, code);
    if (fs::is_directory(status))
        return path + " cannot be written: it is a folder; name a file";
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        File device(std::fopen(path.c_str(), "wb"));
        if (!device || !writeAll(std::move(device), text))
            return path + " cannot be written: " + lastError();
        return std::nullopt;
    }
    fs::path target = fs::weakly_canonical(path, code); // through links, so that they stay links
    if (code)
        target = path;
    if (const fs::path folder = target.parent_path(); !folder.empty() && !fs::is_directory(folder, code))
        return path + " cannot be written: there is no folder " + folder.string() + "; make it first";

    fs::path temporary = target;
    temporary += ".part-" + std::to_string(std::random_device{}());
    const UnfinishedFile unfinished(temporary.string());
    File file(std::fopen(temporary.c_str(), "wbx"));
    if (!file)
        return path + " cannot be written: " + lastError();
    if (!writeAll(std::move(file), text)) {
        const std::string reason = lastError();
        fs::remove(temporary, code);
        return path + " cannot be written: " + reason + "; what was there before is unchanged";
    }
    if (fs::exists(status))
        fs::permissions(temporary, status.permissions(), code);
    fs::rename(temporary, target, code);
    if (code) {
        const std::string reason = code.message();
        fs::remove(temporary, code);
        return path + " cannot be replaced: " + reason + "; what was there before is unchanged";
    }
    return std::nullopt;
}

} // namespace formats
