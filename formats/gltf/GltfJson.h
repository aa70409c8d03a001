// SPDX-License-Identifier: MIT
// The JSON of a glTF file: parsing it within limits, and reading values from it with every check and a path.
#pragma once

#include <nlohmann/json.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace formats {

using Json = nlohmann::json;

/// Thrown inside the reader and writer where a file is of no use; becomes a GltfError at their doors.
struct GltfRefusal {
    std::string place;
    std::string reason;
};

[[noreturn]] void refuse(std::string place, std::string reason);

/// Parses a text whose first byte stands at `firstByte` of the file. Depth and number of values are limited,
/// so that what it makes can be copied, written and dropped, and doubled keys are refused.
Json parseGltfJson(std::string_view text, std::size_t firstByte);

/// A key of the file as part of a path: what is too long for a message is cut.
std::string pathKey(std::string_view key);

/// A value of the document and the path that leads to it. The library's own conversions wrap and round in
/// silence; these refuse.
class JsonView {
public:
    JsonView(const Json& json, std::string path) : m_Json(&json), m_Path(std::move(path)) { }

    const Json& json() const { return *m_Json; }
    const std::string& path() const { return m_Path; }

    /// The value of a key of an object, or nothing.
    std::optional<JsonView> find(const char* key) const;
    /// The value of a key that must be there.
    JsonView at(const char* key) const;
    /// An element of an array.
    JsonView operator[](std::size_t index) const;
    /// The number of elements; refuses what is no array.
    std::size_t size() const;

    /// Refuses what is no object.
    const JsonView& object() const;
    const std::string& text() const;
    bool boolean() const;
    double number() const;
    /// A whole number from 0 to `most`.
    std::uint64_t integer(std::uint64_t most) const;
    /// An index below `count` of the top-level array `of`.
    std::size_t index(std::size_t count, const char* of) const;
    /// An array of exactly that many numbers.
    void numbers(std::span<double> out) const;

    /// Elements under a key, none where the key is missing.
    std::size_t countOf(const char* key) const;
    std::uint64_t integerOr(const char* key, std::uint64_t fallback, std::uint64_t most) const;
    std::string textOr(const char* key, std::string fallback) const;

private:
    std::string childPath(std::string_view key) const;

    const Json* m_Json;
    std::string m_Path;
};

} // namespace formats
