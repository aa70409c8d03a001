// SPDX-License-Identifier: MIT
// Reads message files and finds sentences by table and number.
#include "refhost/Messages.h"

#include "commands/CommandText.h"
#include "refhost/Host.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <vector>

namespace refhost {
namespace {

using Json = nlohmann::json;

constexpr const char* kFormatName = "sinew-messages";
constexpr int kFormatVersion = 1;
constexpr std::size_t kMaximumBytes = std::size_t{16} << 20;
// The file has three levels; a parser that recurses must not be led into thousands.
constexpr int kMaximumLevels = 8;

/// The tree of a small JSON text, or a message with line and column.
ResultOf<Json> parse(std::string_view text)
{
    int levels = 0;
    bool deep = false;
    const auto count = [&](int, Json::parse_event_t event, Json&) {
        if (event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start)
            deep = ++levels > kMaximumLevels || deep;
        else if (event == Json::parse_event_t::object_end || event == Json::parse_event_t::array_end)
            --levels;
        return !deep;
    };
    try {
        Json tree = Json::parse(text, count);
        if (deep)
            return ResultOf<Json>::failure("brackets stand too deep inside each other");
        return {std::move(tree), {}};
    } catch (const Json::parse_error& error) {
        const std::size_t at = std::min(error.byte > 0 ? error.byte - 1 : 0, text.size());
        const auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 1;
        const std::size_t start = text.substr(0, at).rfind('\n');
        const std::size_t column = at - (start == std::string_view::npos ? 0 : start + 1) + 1;
        return ResultOf<Json>::failure("line " + std::to_string(line) + ", column " + std::to_string(column)
                                       + ": this is no JSON");
    }
}

std::optional<std::uint32_t> messageNumber(std::string_view text)
{
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

} // namespace

Messages& Messages::of(Host& host) { return host.attachments().require<Messages>(); }

Result Messages::loadText(std::string_view text, std::string_view source)
{
    const auto refuse = [&](const std::string& why) {
        return Result::failure(std::string(source) + ": " + why + ".");
    };
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    const ResultOf<Json> parsed = parse(text);
    if (!parsed.ok())
        return refuse(parsed.message);
    const Json& root = parsed.value;
    if (!root.is_object() || root.value("format", Json()) != kFormatName)
        return refuse("this is no message file; it has to say \"format\": \"" + std::string(kFormatName)
                      + "\"");
    if (root.value("version", Json()) != kFormatVersion)
        return refuse("/version is not " + std::to_string(kFormatVersion) + ", the one that this host reads");
    const auto tables = root.find("tables");
    if (tables == root.end() || !tables->is_object())
        return refuse("/tables has to be there, an object of tables by name");
    std::map<std::string, Table, std::less<>> read;
    for (const auto& [name, entries] : tables->items()) {
        const std::string place = "/tables/" + name;
        if (!entries.is_object())
            return refuse(place + " has to be an object of sentences by number");
        for (const auto& [number, sentence] : entries.items()) {
            const auto value = messageNumber(number);
            if (!value)
                return refuse(place + " has a message " + shown(number) + ", but messages have numbers");
            if (!sentence.is_string() || sentence.get_ref<const std::string&>().empty())
                return refuse(place + " has no text for the message " + shown(number));
            read[name][*value] = sentence.get<std::string>();
        }
    }
    for (auto& [name, table] : read) {
        for (auto& [number, sentence] : table)
            m_Tables[name][number] = std::move(sentence);
    }
    return {};
}

Result Messages::load(const std::string& path)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        return Result::failure(path + ": this message file cannot be read: " + error.message() + ".");
    if (size > kMaximumBytes)
        return Result::failure(path + ": no message file is larger than 16 MiB.");
    std::ifstream file(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(size), '\0');
    if (!file.read(text.data(), static_cast<std::streamsize>(text.size())))
        return Result::failure(path + ": this message file cannot be read.");
    return loadText(text, path);
}

Result Messages::loadFolder(const std::string& folder)
{
    std::vector<std::string> paths;
    std::error_code error;
    for (std::filesystem::directory_iterator i(folder, error), end; !error && i != end; i.increment(error)) {
        if (i->path().extension() == ".json")
            paths.push_back(i->path().string());
    }
    if (error && error != std::errc::no_such_file_or_directory)
        return Result::failure(folder + ": this folder of messages cannot be read: " + error.message() + ".");
    std::sort(paths.begin(), paths.end());
    std::string faults;
    for (const std::string& path : paths) {
        if (Result result = load(path); !result.ok())
            faults += (faults.empty() ? "" : "\n") + result.message;
    }
    return {std::move(faults)};
}

bool Messages::contains(std::string_view table, std::uint32_t number) const
{
    const auto found = m_Tables.find(table);
    return found != m_Tables.end() && found->second.contains(number);
}

std::string Messages::sentence(std::string_view table, std::uint32_t number) const
{
    if (contains(table, number))
        return m_Tables.find(table)->second.find(number)->second;
    return "table " + std::string(table) + ", message " + std::to_string(number);
}

} // namespace refhost
