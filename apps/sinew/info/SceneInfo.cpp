// SPDX-License-Identifier: MIT
// Summary and hierarchy of a scene file, as text and as JSON.
#include "info/SceneInfo.h"

#include "info/InfoText.h"
#include "shared/Console.h"
#include "shared/Files.h"
#include "shared/Json.h"
#include "shared/TextTable.h"
#include "shot/ScenePicture.h"

#include <fmt/format.h>
#include <refhost/Host.h>
#include <refhost/MotionImport.h>
#include <refhost/SceneFile.h>

#include <map>

namespace app {

namespace {

using refhost::Item;
using refhost::Scene;

struct SceneItem {
    const Item* item;
    std::size_t level;
};

/// Items without the transform items, parents first.
std::vector<SceneItem> itemsOf(const Scene& scene)
{
    std::vector<SceneItem> open, all;
    for (auto item = scene.items().rbegin(); item != scene.items().rend(); ++item)
        if (!(*item)->parent() && !(*item)->transformOwner())
            open.push_back({*item, 0});
    while (!open.empty()) {
        const SceneItem next = open.back();
        open.pop_back();
        all.push_back(next);
        const std::vector<Item*>& children = next.item->children();
        for (auto child = children.rbegin(); child != children.rend(); ++child)
            open.push_back({*child, next.level + 1});
    }
    return all;
}

std::vector<std::string> packageNames(const Item& item)
{
    std::vector<std::string> names;
    for (const refhost::Package* package : item.packages())
        names.push_back(package->name());
    return names;
}

std::map<std::string, std::size_t> typeCounts(const std::vector<SceneItem>& items)
{
    std::map<std::string, std::size_t> counts;
    for (const SceneItem& entry : items)
        ++counts[entry.item->type().name()];
    return counts;
}

/// Files that were imported into the scene and are carried in it.
std::vector<std::string> sourceNames(const std::vector<SceneItem>& items)
{
    std::vector<std::string> names;
    for (const SceneItem& entry : items)
        if (const auto* source = dynamic_cast<const refhost::MotionSource*>(
                entry.item->data().find(refhost::kMotionSourceKind).get()))
            names.push_back(source->fileName);
    return names;
}

std::string summaryText(const std::string& name, const Scene& scene, const std::vector<SceneItem>& items)
{
    std::string text = fmt::format("{}\n  format  scene of `sinew run`, version {}\n  items   {}",
                                   printable(name), refhost::kSceneFormatVersion, items.size());
    const char* mark = ": ";
    for (const auto& [type, count] : typeCounts(items)) {
        text += fmt::format("{}{} {}", mark, count, printable(type));
        mark = ", ";
    }
    for (const std::string& source : sourceNames(items))
        text += fmt::format("\n  holds   {}, which was imported", printable(source));
    text += fmt::format("\n  keys    {}\n",
                        lastKeyTime(scene) > 0 ? "up to " + rounded(lastKeyTime(scene)) + " s"
                                               : "none after 0 s");
    text += "  use     `sinew shot` draws it, and scene.open opens it in `sinew run`\n\n";
    TextTable table({{"item"}, {"type"}, {"packages"}});
    for (const SceneItem& entry : items)
        table.add({indentedName(entry.item->uniqueName(), entry.level), printable(entry.item->type().name()),
                   printable(fmt::format("{}", fmt::join(packageNames(*entry.item), " ")))});
    return text + table.text();
}

Json summaryJson(const std::string& name, const Scene& scene, const std::vector<SceneItem>& items)
{
    Json list = Json::array();
    std::map<const Item*, int> indices;
    for (const SceneItem& entry : items) {
        const Item* parent = entry.item->parent();
        indices.emplace(entry.item, static_cast<int>(indices.size()));
        list.push_back({{"name", entry.item->uniqueName()},
                        {"type", entry.item->type().name()},
                        {"parent", parent ? indices.at(parent) : -1},
                        {"packages", packageNames(*entry.item)}});
    }
    return {{"file", name},
            {"format", refhost::kSceneFormatName},
            {"version", refhost::kSceneFormatVersion},
            {"item_count", items.size()},
            {"type_counts", typeCounts(items)},
            {"imported_files", sourceNames(items)},
            {"last_key", lastKeyTime(scene)},
            {"items", std::move(list)}};
}

} // namespace

int runSceneInfo(const InfoOptions& options, std::string_view text)
{
    if (!options.pose.empty() || !options.animation.empty() || !options.motion.unit.empty()
        || !options.motion.up.empty())
        throw BadInput(
            "this is a scene, and --pose, --animation, --unit and --up are for motion files; `sinew "
            "run` with scene.open and query tells its values");
    const std::string name = inputName(options.motion.file);
    refhost::Host host;
    const refhost::ResultOf<std::unique_ptr<Scene>> scene = refhost::readSceneText(host, text, name);
    if (!scene.ok())
        throw BadInput(name + ": " + scene.message);
    const std::vector<SceneItem> items = itemsOf(*scene.value);
    print(options.json ? jsonText(summaryJson(name, *scene.value, items))
                       : summaryText(name, *scene.value, items));
    return kExitDone;
}

} // namespace app
