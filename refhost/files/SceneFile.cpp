// SPDX-License-Identifier: MIT
// Scene files on disk, kinds of stored data, and the small parts that reading and writing share.
#include "refhost/SceneFile.h"

#include "files/MotionSource.h"
#include "files/SceneFileParts.h"
#include "formats/Files.h"
#include "mesh/MeshStorage.h"
#include "refhost/Host.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <variant>

namespace refhost {
namespace {

std::string quotedList(const std::vector<std::string>& parts)
{
    std::string out;
    for (const std::string& part : parts)
        out += std::to_string(part.size()) + ':' + part; // with lengths two lists never look the same
    return out;
}

/// Length of the UTF-8 sequence at the start of the text, 0 when it is none.
std::size_t sequenceLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xc2 && lead < 0xe0 ? 2 : lead >= 0xe0 && lead < 0xf0 ? 3 : 4;
    if (lead < 0xc2 || lead > 0xf4 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0) != 0x80)
            return 0;
    }
    // Overlong forms, surrogates, and what lies beyond the last character.
    const unsigned char second = byte(1);
    if ((lead == 0xe0 && second < 0xa0) || (lead == 0xed && second > 0x9f) || (lead == 0xf0 && second < 0x90)
        || (lead == 0xf4 && second > 0x8f))
        return 0;
    return length;
}

} // namespace

bool isStorableText(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = sequenceLength(text);
        if (length == 0 || text[0] == '\0')
            return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string tagKey(TagCode code)
{
    std::string plain;
    bool printable = true;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto c = static_cast<unsigned char>(code >> shift & 0xff);
        printable = printable && c >= 0x20 && c < 0x7f;
        plain += static_cast<char>(c);
    }
    if (printable)
        return plain;
    std::string digits = "0x";
    for (int shift = 28; shift >= 0; shift -= 4)
        digits += "0123456789abcdef"[code >> shift & 15];
    return digits;
}

bool readTagKey(std::string_view text, TagCode& code)
{
    if (text.size() == 4)
        code = tagCode(text[0], text[1], text[2], text[3]);
    else if (text.size() != 10 || !text.starts_with("0x")
             || std::from_chars(text.data() + 2, text.data() + 10, code, 16).ptr != text.data() + 10)
        return false;
    return tagKey(code) == text; // one key for every code
}

// Sorted and without places: where a file has its keys is no part of the document.
std::string UnknownContent::digest() const
{
    std::vector<std::string> parts;
    for (const UnknownMember& member : members)
        parts.push_back(quotedList({member.key, member.json}));
    for (const LeftoverValue& value : values)
        parts.push_back(quotedList({value.package, value.channel, value.json}));
    std::sort(parts.begin(), parts.end());
    return quotedList(parts);
}

DataKinds& DataKinds::of(Host& host) { return host.attachments().require<DataKinds>(); }

DataKinds::DataKinds()
{
    add(kMotionSourceKind, motionSourceKind());
    add(kMeshDataKind, meshDataKind());
}

void DataKinds::add(std::string_view name, DataKind kind)
{
    m_Kinds.insert_or_assign(std::string(name), std::move(kind));
}

const DataKind* DataKinds::find(std::string_view name) const
{
    const auto found = m_Kinds.find(name);
    return found == m_Kinds.end() ? nullptr : &found->second;
}

ResultOf<std::unique_ptr<Scene>> readSceneFile(Host& host, const std::string& path)
{
    using Answer = ResultOf<std::unique_ptr<Scene>>;
    std::error_code none;
    if (const auto size = std::filesystem::file_size(path, none); !none && size > kMaximumSceneBytes)
        return Answer::failure(path + " is larger than 1 GiB; a scene file can't be");
    std::variant<std::string, formats::FileError> text = formats::readWholeFile(path);
    if (const auto* error = std::get_if<formats::FileError>(&text))
        return Answer::failure(error->reason);
    std::string name = std::filesystem::path(path).filename().string();
    if (name.ends_with(kSceneFileExtension))
        name.resize(name.size() - std::string_view(kSceneFileExtension).size());
    Answer answer = readSceneText(host, std::get<std::string>(text), std::move(name));
    if (!answer.ok())
        answer.message = path + ": " + answer.message;
    return answer;
}

Result writeSceneFile(const Scene& scene, const std::string& path)
{
    const ResultOf<std::string> text = sceneText(scene);
    if (!text.ok())
        return Result::failure(path + " is not written: " + text.message);
    if (const auto failure = formats::writeFileAtomically(path, text.value))
        return Result::failure(*failure);
    return {};
}

} // namespace refhost
