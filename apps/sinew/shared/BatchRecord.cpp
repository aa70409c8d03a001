// SPDX-License-Identifier: MIT
// Reads a record that anything may have happened to, and writes it.
#include "shared/BatchRecord.h"

#include "formats/Files.h"
#include "shared/Console.h"

#include <fmt/format.h>

#include <filesystem>

namespace app {

namespace fs = std::filesystem;

namespace {

constexpr int kVersion = 2;

std::string digestOf(const std::string& bytes)
{
    Digest digest;
    digest.add(bytes);
    return digest.text();
}

std::string nameOf(const RecordedClip& clip) { return fs::path(clip.output).filename().string(); }

/// A text of an object; nothing for anything else.
std::optional<std::string> textOf(const Json& object, const char* name)
{
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? std::optional(found->get<std::string>())
                                                       : std::nullopt;
}

void sayMadeAgain(const std::string& what, const RecordedClip& clip)
{
    complain(fmt::format("{}; {} is made again", what, clip.source));
}

} // namespace

void Digest::add(std::string_view bytes)
{
    constexpr std::uint64_t kPrime = 0x100000001b3ULL;
    for (const char c : bytes) {
        m_Hash ^= static_cast<unsigned char>(c);
        m_Hash *= kPrime;
    }
    m_Hash ^= 0xff; // a border, so that parts can't run together
    m_Hash *= kPrime;
}

std::string Digest::text() const { return fmt::format("{:016x}", m_Hash); }

std::string bytesOrNone(const std::string& path)
{
    std::error_code ignored;
    if (!fs::is_regular_file(path, ignored))
        return {};
    std::variant<std::string, formats::FileError> read = formats::readWholeFile(path);
    return read.index() == 0 ? std::get<0>(std::move(read)) : std::string();
}

BatchRecord::BatchRecord(std::string path) : m_Path(std::move(path))
{
    std::error_code ignored;
    if (!fs::exists(m_Path, ignored))
        return;
    const Json read = parsedJson(bytesOrNone(m_Path));
    const auto version = read.is_object() ? read.find("version") : read.end();
    const auto clips = read.is_object() ? read.find("done") : read.end();
    if (version == read.end() || !version->is_number_integer() || clips == read.end() || !clips->is_object())
        complain(m_Path + ": the record is damaged; every clip is made again");
    else if (*version == kVersion)
        m_Clips = *clips;
}

std::optional<Json> BatchRecord::reportOf(const RecordedClip& clip) const
{
    const auto entry = m_Clips.find(nameOf(clip));
    if (entry == m_Clips.end())
        return std::nullopt;
    const auto key = textOf(*entry, "key"), output = textOf(*entry, "output"),
               report = textOf(*entry, "report");
    if (!key || !output || !report) {
        sayMadeAgain(fmt::format("{}: the entry {} is damaged", m_Path, nameOf(clip)), clip);
        return std::nullopt;
    }
    if (*key != clip.key)
        return std::nullopt;
    if (*output != digestOf(bytesOrNone(clip.output))) {
        sayMadeAgain(clip.output + " is gone or was changed", clip);
        return std::nullopt;
    }
    const std::string text = bytesOrNone(clip.report);
    Json read = parsedJson(text);
    if (*report != digestOf(text) || !read.is_object()) {
        sayMadeAgain(clip.report + " is gone or was changed", clip);
        return std::nullopt;
    }
    return read;
}

void BatchRecord::add(const RecordedClip& clip)
{
    m_Clips[nameOf(clip)] = {{"key", clip.key},
                             {"output", digestOf(bytesOrNone(clip.output))},
                             {"report", digestOf(bytesOrNone(clip.report))}};
    if (const auto failure =
            formats::writeFileAtomically(m_Path, jsonText({{"version", kVersion}, {"done", m_Clips}})))
        complain(*failure);
}

} // namespace app
