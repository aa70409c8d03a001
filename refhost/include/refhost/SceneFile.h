// SPDX-License-Identifier: MIT
// Scene files: a scene as one JSON text that people can read and compare, and back.
#pragma once

#include "refhost/Result.h"
#include "refhost/Scene.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace refhost {

// What a file holds: everything that Scene::dump shows, and nothing that has its default. The host's time,
// the selection, undo steps and values shown without a key are no part of it. The same document always gives
// the same text, and a text written here reads and writes as itself.
//
// Item types and packages are described in the file that uses them. Where one of them is not registered (its
// module is not loaded) it is made from that description as a stand-in that belongs to the scene: the item
// keeps its type name, place, channels, values and links, can be edited and is written back unchanged; only
// what the module would do is missing. A stand-in stays one until the scene is read again, so load modules
// before scenes. Keys that are unknown in the scene's object or an item's object, kinds of data without a
// reader, and values of channels that a registered package no longer has are kept as data (kUnknownDataKind)
// and written back. Unknown keys elsewhere are refused.

inline constexpr const char* kSceneFormatName = "sinew-scene";
inline constexpr int kSceneFormatVersion = 1;
/// By habit; any name will do.
inline constexpr const char* kSceneFileExtension = ".sinew.json";

/// Values beyond this are refused in both directions: squares of larger numbers leave the range of floats.
inline constexpr double kMaximumFileNumber = 1e30;
/// Levels of items below each other that a file may have.
inline constexpr int kMaximumItemLevels = 1024;
/// Levels of brackets in the text.
inline constexpr int kMaximumJsonLevels = 64;
/// Larger files are refused, in bytes.
inline constexpr std::size_t kMaximumSceneBytes = std::size_t{1} << 30;

/// The data under which an item or a scene keeps what the file said and this build does not know.
inline constexpr const char* kUnknownDataKind = "file.unknown";

/// What a file keeps of DocumentData: facts for people to read, and bytes (written as base64).
struct StoredData {
    std::vector<std::pair<std::string, std::string>>
        facts; ///< valid UTF-8, no two of one name, none named `data`
    std::string bytes;
};

/// How a kind of DocumentData goes into a file and comes back.
struct DataKind {
    std::function<StoredData(const DocumentData&)> write;
    /// A message refuses the file.
    std::function<ResultOf<std::shared_ptr<const DocumentData>>(const StoredData&)> read;
};

/// The kinds that a host can store.
class DataKinds {
public:
    static DataKinds& of(Host& host);
    /// With those of the host itself.
    DataKinds();

    /// Takes the place of an earlier one of the same name.
    void add(std::string_view name, DataKind kind);
    /// Null for a kind that is kept as it stood in the file.
    const DataKind* find(std::string_view name) const;

private:
    std::map<std::string, DataKind, std::less<>> m_Kinds;
};

/// Reads a file into a scene of its own that stands in no list yet (see Host::addScene); no other scene is
/// touched. The message of a refusal says the file, the place in it (line and column, or a path such as
/// `/items/17/parent`), the reason and what to do. Things that were mended or left out are told to the host
/// as warnings.
ResultOf<std::unique_ptr<Scene>> readSceneFile(Host& host, const std::string& path);
/// The same from a text; `name` is the new scene's.
ResultOf<std::unique_ptr<Scene>> readSceneText(Host& host, std::string_view text, std::string name);

/// Writes to a temporary file beside `path` and renames it, so that the old one stays whole when anything
/// fails. A scene that could not be read again (text that is no UTF-8, numbers beyond kMaximumFileNumber, too
/// many levels, data of a kind that nobody can store) is refused.
Result writeSceneFile(const Scene& scene, const std::string& path);
ResultOf<std::string> sceneText(const Scene& scene);

} // namespace refhost
