// SPDX-License-Identifier: MIT
// Parts of reading a scene file: checked access to JSON, descriptions of types and packages, values.
#pragma once

#include "files/JsonText.h"
#include "files/SceneFileParts.h"
#include "refhost/Host.h"

#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace refhost {

/// Access to a JSON text; whatever is not as expected is refused with its path.
class JsonAccess {
public:
    using Index = JsonDocument::Index;

    explicit JsonAccess(const JsonDocument& document) : doc(document) { }

    const JsonDocument& doc;

    [[noreturn]] void refuse(Index node, const std::string& why) const
    {
        throw SceneFileFault{doc.pathOf(node) + ": " + why};
    }
    void expect(Index node, JsonKind kind, const char* what) const;
    std::string string(Index node) const;
    bool boolean(Index node) const;
    double number(Index node, double limit) const;
    std::int64_t integer(Index node, std::int64_t low, std::int64_t high) const;

    /// The members of an object by their place in `names`; 0 for those that it lacks. An unknown one is
    /// refused, or handed to `unknown` when that is given.
    template <std::size_t N>
    std::array<Index, N> members(Index object, const std::array<const char*, N>& names,
                                 UnknownContent* unknown = nullptr) const
    {
        expect(object, JsonKind::Object, "an object");
        std::array<Index, N> found{};
        std::string_view before;
        for (Index key = doc.first(object); key != doc.next(object); key = doc.next(key + 1)) {
            const std::string_view name = doc.text(key);
            std::size_t i = 0;
            while (i < N && name != names[i])
                ++i;
            if (i < N)
                found[i] = key + 1;
            else
                addUnknown(unknown, before, key);
            before = name;
        }
        return found;
    }

private:
    void addUnknown(UnknownContent* unknown, std::string_view before, Index key) const;
};

/// What a file says about a type or a package.
struct Description {
    JsonDocument::Index node = 0;
    std::string base, origin;
    std::vector<ChannelDefinition> channels;

    bool hasChannel(std::string_view name) const;
};

/// Types and packages as the file's items name them: registered ones, or stand-ins made from descriptions.
class Descriptions {
public:
    Descriptions(const JsonAccess& json, Host& host, StandIns& standIns)
        : m_Json(json), m_Host(host), m_StandIns(standIns)
    {
    }

    void readTypes(JsonDocument::Index node) { read(node, m_Types, true); }
    void readPackages(JsonDocument::Index node) { read(node, m_Packages, false); }
    /// `node` is where the name stands.
    const ItemType& type(const std::string& name, JsonDocument::Index node);
    const Package& package(const std::string& name, JsonDocument::Index node);
    /// Null when the file describes no such type or package.
    const Description* ofType(std::string_view name) const { return find(m_Types, name); }
    const Description* ofPackage(std::string_view name) const { return find(m_Packages, name); }

private:
    using Map = std::map<std::string, Description, std::less<>>;
    static const Description* find(const Map& map, std::string_view name);
    void read(JsonDocument::Index node, Map& map, bool types);
    ChannelDefinition definition(JsonDocument::Index node) const;
    const ItemType& typeAtLevel(const std::string& name, JsonDocument::Index node, int level);

    const JsonAccess& m_Json;
    Host& m_Host;
    StandIns& m_StandIns;
    Map m_Types, m_Packages;
    std::map<std::string, const ItemType*, std::less<>> m_StandInTypes;
    std::map<std::string, const Package*, std::less<>> m_StandInPackages;
    std::size_t m_DefinitionCount = 0;
};

/// Reads what an object such as `{"setup": 1, "anim": {"keys": [...]}}` says about a channel.
void readChannelValues(const JsonAccess& json, JsonDocument::Index node, Channel& channel);

} // namespace refhost
