// SPDX-License-Identifier: MIT
// Nodes, hierarchy, scenes and names of a glTF file.
#include "gltf/GltfReader.h"

#include "bvh/BvhText.h"
#include "bvh/Rotation.h"
#include "formats/Files.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <new>

namespace formats {

namespace {

constexpr std::size_t kMostNodes = 200'000;
constexpr std::size_t kMostLevels = 1024;
constexpr std::size_t kMostNotes = 100;
constexpr double kFarthest = 1e15;

} // namespace

GltfReader::GltfReader(std::string bytes, const std::string& folder)
    : m_Source(openContainer(std::move(bytes), folder, m_Gltf.notes)),
      m_Root(m_Source->json, ""),
      m_Accessors(m_Root, *m_Source)
{
    m_Gltf.source = m_Source;
    m_Gltf.generator = m_Root.at("asset").textOr("generator", "");
    readNodes();
    orderNodes();
    readScenes();
    nameNodes();
    checkWorld();
    readSkins();
    readMeshes();
    readAnimations();
    readVrm();
    findSkeleton();
    settleRestPose(m_Gltf);
    noteOddities(m_Gltf);
    if (m_Gltf.notes.size() > kMostNotes) {
        const std::size_t more = m_Gltf.notes.size() - kMostNotes;
        m_Gltf.notes.resize(kMostNotes);
        note("", "and " + std::to_string(more) + " more");
    }
}

void GltfReader::note(std::string place, std::string text)
{
    m_Gltf.notes.push_back({std::move(place), std::move(text)});
}

void GltfReader::readNodes()
{
    const std::size_t count = m_Root.countOf("nodes");
    if (count > kMostNodes)
        refuse("nodes", "are " + std::to_string(count) + "; up to 200,000 are read");
    m_Gltf.nodes.resize(count);
    m_HasMatrix.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        readNode(element("nodes", i), m_Gltf.nodes[i]);
    for (std::size_t i = 0; i < count; ++i)
        readChildren(element("nodes", i), static_cast<int>(i));
}

void GltfReader::readNode(const JsonView& view, GltfNode& node)
{
    node.givenName = view.textOr("name", "");
    if (view.find("matrix"))
        readMatrix(view, node);
    else
        readTransform(view, node);
    node.rest = node.transform;
    if (const auto mesh = view.find("mesh"))
        node.mesh = static_cast<int>(mesh->index(m_Root.countOf("meshes"), "meshes"));
    if (const auto skin = view.find("skin"))
        node.skin = static_cast<int>(skin->index(m_Root.countOf("skins"), "skins"));
}

void GltfReader::readMatrix(const JsonView& view, GltfNode& node)
{
    const JsonView matrix = view.at("matrix");
    matrix.numbers(node.matrix);
    constexpr std::array<double, 4> kLastRow{0, 0, 0, 1};
    for (std::size_t c = 0; c < 4; ++c)
        if (std::abs(node.matrix[c * 4 + 3] - kLastRow[c]) > 1e-6)
            refuse(matrix.path(),
                   "is no affine matrix: its last row must be 0, 0, 0, 1; write it column by column");
    m_HasMatrix[static_cast<std::size_t>(&node - m_Gltf.nodes.data())] = true;
    node.transform = decompose(node.matrix, &node.sheared);
    if (node.sheared)
        note(matrix.path(),
             "has shear, which no translation, rotation and scale can say; it is kept as it is");
    for (const char* key : {"translation", "rotation", "scale"})
        if (view.find(key))
            note(view.path(), std::string("has a matrix and a ") + key + " too; the matrix counts");
}

void GltfReader::readTransform(const JsonView& view, GltfNode& node)
{
    if (const auto translation = view.find("translation"))
        translation->numbers(node.transform.translation);
    if (const auto scale = view.find("scale"))
        scale->numbers(node.transform.scale);
    const auto rotation = view.find("rotation");
    if (!rotation)
        return;
    rotation->numbers(node.transform.rotation);
    double square = 0;
    for (const double c : node.transform.rotation)
        square += c * c;
    if (!(square > 1e-12))
        refuse(rotation->path(), "is a quaternion of length 0, which is no rotation; 0, 0, 0, 1 is none");
    if (std::abs(square - 1) > 2e-3)
        note(rotation->path(), "is no unit quaternion; it is scaled to length 1");
    node.transform.rotation = normalised(node.transform.rotation);
}

void GltfReader::readChildren(const JsonView& view, int index)
{
    const auto children = view.find("children");
    for (std::size_t c = 0; children && c < children->size(); ++c) {
        const JsonView childView = (*children)[c];
        const int child = static_cast<int>(childView.index(nodeCount(), "nodes"));
        if (node(child).parent >= 0)
            refuse(childView.path(),
                   "is node " + std::to_string(child) + ", which is a child of node "
                       + std::to_string(node(child).parent) + " already; a node has one parent at most");
        node(child).parent = index;
        node(index).children.push_back(child);
    }
}

void GltfReader::orderNodes()
{
    std::vector<std::size_t> level(nodeCount());
    std::vector<int> open;
    for (int root = 0; root < static_cast<int>(nodeCount()); ++root) {
        if (node(root).parent >= 0)
            continue;
        open.assign(1, root);
        while (!open.empty()) {
            const int index = open.back();
            open.pop_back();
            m_Gltf.order.push_back(index);
            const std::vector<int>& children = node(index).children;
            for (auto child = children.rbegin(); child != children.rend(); ++child) {
                level[static_cast<std::size_t>(*child)] = level[static_cast<std::size_t>(index)] + 1;
                if (level[static_cast<std::size_t>(*child)] >= kMostLevels)
                    refuse("nodes[" + std::to_string(*child) + "]",
                           "stands below more than 1,024 levels of nodes; no figure needs as many");
                open.push_back(*child);
            }
        }
    }
    if (m_Gltf.order.size() == nodeCount())
        return;
    // Every node has one parent at most: what no root reaches hangs from a ring.
    std::vector<bool> reached(nodeCount());
    for (const int index : m_Gltf.order)
        reached[static_cast<std::size_t>(index)] = true;
    refuseCycle(static_cast<std::size_t>(std::find(reached.begin(), reached.end(), false) - reached.begin()));
}

void GltfReader::refuseCycle(std::size_t member) const
{
    std::vector<bool> seen(nodeCount());
    int at = static_cast<int>(member);
    for (; !seen[static_cast<std::size_t>(at)]; at = node(at).parent)
        seen[static_cast<std::size_t>(at)] = true;
    const int parent = node(at).parent;
    const std::vector<int>& children = node(parent).children;
    const auto place = std::find(children.begin(), children.end(), at) - children.begin();
    refuse("nodes[" + std::to_string(parent) + "].children[" + std::to_string(place) + "]",
           "makes node " + std::to_string(at) + " its own ancestor; nodes must form a tree");
}

void GltfReader::readScenes()
{
    const std::size_t count = m_Root.countOf("scenes");
    if (const auto scene = m_Root.find("scene"))
        scene->index(count, "scenes");
    for (std::size_t s = 0; s < count; ++s) {
        const auto nodes = element("scenes", s).find("nodes");
        for (std::size_t i = 0; nodes && i < nodes->size(); ++i) {
            const JsonView view = (*nodes)[i];
            const auto index = static_cast<int>(view.index(nodeCount(), "nodes"));
            if (node(index).parent >= 0)
                note(view.path(),
                     "node " + std::to_string(index) + " is no root, but a scene lists it as one");
        }
    }
}

void GltfReader::nameNodes()
{
    std::set<std::string> taken;
    for (const GltfNode& node : m_Gltf.nodes)
        taken.insert(node.givenName);
    std::set<std::string> given;
    std::map<std::string, std::size_t> nextSuffix;
    std::size_t unnamed = 0;
    for (std::size_t i = 0; i < nodeCount(); ++i) {
        GltfNode& node = m_Gltf.nodes[i];
        node.name = node.givenName;
        if (!node.name.empty() && given.insert(node.name).second)
            continue;
        unnamed += node.name.empty();
        const std::string base = node.name.empty() ? "node" + std::to_string(i) : node.name;
        if (node.name.empty() && taken.insert(base).second) {
            node.name = base;
            continue;
        }
        std::size_t& suffix = nextSuffix.try_emplace(base, 2).first->second;
        do {
            node.name = base + "_" + std::to_string(suffix++);
        } while (!taken.insert(node.name).second);
        note("nodes[" + std::to_string(i) + "].name",
             "the name " + formats::quoted(base) + " is taken already; this node is called "
                 + formats::quoted(node.name));
    }
    if (unnamed > 0)
        note("nodes",
             std::to_string(unnamed) + (unnamed == 1 ? " has" : " have")
                 + " no name; called node and its index");
}

void GltfReader::checkWorld() const
{
    const std::vector<GltfMatrix> world = worldMatrices(m_Gltf, nodePose(m_Gltf));
    for (std::size_t i = 0; i < world.size(); ++i)
        for (const double value : world[i])
            if (!(std::abs(value) <= kFarthest)) // not a number is refused too
                refuse("nodes[" + std::to_string(i) + "]",
                       "comes to lie, or to be, further out than any computation reaches; correct the scales "
                       "above it");
}

namespace {

GltfReadResult readOwned(std::string bytes, const std::string& folder)
{
    try {
        return GltfReader(std::move(bytes), folder).take();
    } catch (GltfRefusal& refusal) {
        return GltfError{std::move(refusal.place), std::move(refusal.reason)};
    } catch (const std::bad_alloc&) {
        return GltfError{"", "the file needs more memory than there is"};
    }
}

} // namespace

GltfReadResult readGltf(std::string_view bytes, const std::string& folder)
{
    return readOwned(std::string(bytes), folder);
}

GltfReadResult readGltfFile(const std::string& path)
{
    std::variant<std::string, FileError> file = readWholeFile(path);
    if (FileError* error = std::get_if<FileError>(&file))
        return GltfError{"", std::move(error->reason)};
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    return readOwned(std::get<std::string>(std::move(file)), folder.empty() ? "." : folder.string());
}

} // namespace formats
