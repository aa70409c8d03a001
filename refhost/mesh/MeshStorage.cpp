// SPDX-License-Identifier: MIT
// Geometry as bytes and back: exact, checked, and without an allocation that the bytes don't cover.
#include "mesh/MeshStorage.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>
#include <type_traits>

namespace refhost {
namespace {

static_assert(std::endian::native == std::endian::little, "files are little-endian; swap bytes here");

constexpr std::string_view kHead = "sinew mesh 1\n";

// Written as they lie in memory, so they may have no gaps.
static_assert(sizeof(Triangle) == 12 && sizeof(Vector3f) == 12 && sizeof(PointWeight) == 8
              && sizeof(Matrix34) == 96);

class Writer {
public:
    template <class T>
    void value(const T& content)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        m_Bytes.append(reinterpret_cast<const char*>(&content), sizeof content);
    }
    template <class T>
    void list(const std::vector<T>& content)
    {
        value(static_cast<std::uint64_t>(content.size()));
        if (!content.empty())
            m_Bytes.append(reinterpret_cast<const char*>(content.data()), content.size() * sizeof(T));
    }
    void text(const std::string& content)
    {
        value(static_cast<std::uint64_t>(content.size()));
        m_Bytes += content;
    }
    std::string m_Bytes{kHead};
};

/// Every read answers false where the bytes end too early.
class Reader {
public:
    explicit Reader(std::string_view bytes) : m_Rest(bytes) { }

    template <class T>
    bool value(T& content)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        return take(&content, sizeof content);
    }
    template <class T>
    bool list(std::vector<T>& content)
    {
        std::uint64_t count = 0;
        if (!value(count) || count > m_Rest.size() / sizeof(T))
            return false;
        content.resize(count);
        return take(content.data(), count * sizeof(T));
    }
    bool text(std::string& content)
    {
        std::uint64_t count = 0;
        if (!value(count) || count > m_Rest.size())
            return false;
        content.assign(m_Rest.substr(0, count));
        m_Rest.remove_prefix(count);
        return true;
    }
    bool head(std::string_view expected)
    {
        const bool is = m_Rest.substr(0, expected.size()) == expected;
        m_Rest.remove_prefix(is ? expected.size() : 0);
        return is;
    }
    bool isAtEnd() const { return m_Rest.empty(); }

private:
    bool take(void* out, std::size_t size)
    {
        if (size > m_Rest.size())
            return false;
        if (size > 0)
            std::memcpy(out, m_Rest.data(), size);
        m_Rest.remove_prefix(size);
        return true;
    }
    std::string_view m_Rest;
};

bool readMaps(Reader& in, std::vector<WeightMap>& maps)
{
    // Each takes more bytes than this, so a claimed count is not believed beyond them.
    std::uint64_t count = 0;
    if (!in.value(count) || count > kMaximumMeshElements)
        return false;
    for (std::uint64_t i = 0; i < count; ++i) {
        WeightMap map;
        if (!in.text(map.name) || !in.value(map.joint) || !in.value(map.inverseBind))
            return false;
        maps.push_back(std::move(map));
    }
    return true;
}

bool readBytes(std::string_view bytes, MeshData& out)
{
    Reader in(bytes);
    return in.head(kHead) && in.list(out.points) && in.list(out.triangles) && in.list(out.normals)
        && in.list(out.colours) && in.value(out.colour) && readMaps(in, out.maps) && in.list(out.weightStarts)
        && in.list(out.weights) && in.isAtEnd();
}

StoredData write(const DocumentData& data) { return storedMesh(static_cast<const Mesh&>(data).data()); }

ResultOf<std::shared_ptr<const DocumentData>> read(const StoredData& stored)
{
    using Answer = ResultOf<std::shared_ptr<const DocumentData>>;
    MeshData data;
    if (!readBytes(stored.bytes, data))
        return Answer::failure("the bytes are no mesh; the file was changed or cut");
    auto mesh = Mesh::make(std::move(data));
    if (!mesh.ok())
        return Answer::failure(mesh.message);
    const std::vector<std::pair<std::string, std::string>> facts = storedMesh(mesh.value->data()).facts;
    for (const auto& fact : stored.facts) {
        if (std::find(facts.begin(), facts.end(), fact) == facts.end())
            return Answer::failure("'" + fact.first + "' is not what the bytes say; leave it out");
    }
    return {std::move(mesh.value), {}};
}

} // namespace

StoredData storedMesh(const MeshData& data)
{
    Writer out;
    out.list(data.points);
    out.list(data.triangles);
    out.list(data.normals);
    out.list(data.colours);
    out.value(data.colour);
    out.value(static_cast<std::uint64_t>(data.maps.size()));
    for (const WeightMap& map : data.maps) {
        out.text(map.name);
        out.value(map.joint);
        out.value(map.inverseBind);
    }
    out.list(data.weightStarts);
    out.list(data.weights);
    return {{{"points", std::to_string(data.points.size())},
             {"triangles", std::to_string(data.triangles.size())},
             {"maps", std::to_string(data.maps.size())}},
            std::move(out.m_Bytes)};
}

DataKind meshDataKind() { return {write, read}; }

} // namespace refhost
