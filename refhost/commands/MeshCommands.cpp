// SPDX-License-Identifier: MIT
// mesh.*: geometry by hand, and binding it to joints.
#include "commands/CommandText.h"
#include "commands/HostCommand.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"
#include "refhost/Mesh.h"
#include "scene/ExactText.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

Result numbersArgument(const Arguments& arguments, int index, std::size_t group, std::vector<double>& out)
{
    const auto numbers = numbersFromText(arguments.text(index));
    if (!numbers || numbers->size() % group != 0)
        return Result::failure("'" + arguments.spec(index).name + "' needs numbers in quotes, "
                               + std::to_string(group) + " for each.");
    out = *numbers;
    return {};
}

/// Whole numbers below a limit.
Result indicesArgument(const Arguments& arguments, int index, std::size_t group, std::size_t limit,
                       std::vector<std::uint32_t>& out)
{
    std::vector<double> numbers;
    if (Result result = numbersArgument(arguments, index, group, numbers); !result.ok())
        return result;
    for (const double number : numbers) {
        if (!(number >= 0 && number < static_cast<double>(limit) && number == std::floor(number)))
            return Result::failure("'" + arguments.spec(index).name + "' has " + exactText(number)
                                   + ", but there are " + std::to_string(limit) + " points, from 0 on.");
        out.push_back(static_cast<std::uint32_t>(number));
    }
    return {};
}

constexpr ArgumentRow kCreateArguments[] = {
    {"points", ArgumentType::Text, true, "x, y, z of each point"},
    {"triangles", ArgumentType::Text, true, "three points of each triangle, counted from 0"},
    {"name", ArgumentType::Text, false, "what the item is called; mesh otherwise"},
    {"parent", ArgumentType::Item, false, "the item below which it comes; the top otherwise"},
};
Result createMesh(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    MeshData data;
    std::vector<double> numbers;
    if (Result result = numbersArgument(arguments, 0, 3, numbers); !result.ok())
        return result;
    for (std::size_t i = 0; i < numbers.size(); i += 3)
        data.points.push_back({static_cast<float>(numbers[i]), static_cast<float>(numbers[i + 1]),
                               static_cast<float>(numbers[i + 2])});
    std::vector<std::uint32_t> corners;
    if (Result result = indicesArgument(arguments, 1, 3, data.points.size(), corners); !result.ok())
        return result;
    for (std::size_t i = 0; i < corners.size(); i += 3)
        data.triangles.push_back({corners[i], corners[i + 1], corners[i + 2]});
    if (arguments.isSet(2))
        data.name = arguments.text(2);
    return addSkinnedMesh(*invocation.scene(), std::move(data), arguments.item(3)).result();
}

/// The index of the joint's map, which is made where it is not there yet.
ResultOf<std::uint32_t> mapOf(Scene& scene, MeshData& data, Item& item, Item& joint)
{
    using Answer = ResultOf<std::uint32_t>;
    for (std::size_t i = 0; i < data.maps.size(); ++i) {
        if (data.maps[i].joint == joint.id())
            return {static_cast<std::uint32_t>(i), {}};
    }
    Channel* channel = joint.channel("worldMatrix");
    const double time = scene.time();
    Matrix34 world, own, inverse;
    if (!channel || !Evaluation::of(scene).matrix(*channel, time, world) || !invert(world, inverse))
        return Answer::failure("'" + joint.label() + "' has no place that a mesh could be bound to.");
    (void)Evaluation::of(scene).matrix(*item.channel("worldMatrix"), time, own);
    data.maps.push_back({joint.uniqueName(), joint.id(), inverse * own});
    return {static_cast<std::uint32_t>(data.maps.size() - 1), {}};
}

void setWeight(std::vector<PointWeight>& weights, std::uint32_t map, float weight)
{
    std::erase_if(weights, [&](const PointWeight& one) { return one.map == map; });
    if (weight > 0)
        weights.push_back({map, weight});
}

constexpr ArgumentRow kBindArguments[] = {
    {"item", ArgumentType::Item, true, "the mesh"},
    {"joint", ArgumentType::Item, true, "the item that moves the points from now on"},
    {"points", ArgumentType::Text, false, "which points, counted from 0; all otherwise"},
    {"weight", ArgumentType::Number, false, "the joint's part in moving them, 0 for none; 1 otherwise"},
};
Result bindMesh(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    Item& item = *arguments.item(0);
    const std::shared_ptr<const Mesh> mesh = meshOf(item);
    const double weight = arguments.number(3, 1);
    if (!mesh)
        return Result::failure("'" + item.label() + "' has no geometry that could be bound.");
    if (!(weight >= 0))
        return Result::failure("'weight' is " + exactText(weight) + ", but has to be 0 or more.");
    MeshData data = mesh->data();
    const ResultOf<std::uint32_t> map = mapOf(*invocation.scene(), data, item, *arguments.item(1));
    if (!map.ok())
        return map.result();
    std::vector<std::uint32_t> points;
    if (Result result = indicesArgument(arguments, 2, 1, data.points.size(), points); !result.ok())
        return result;
    std::vector<std::vector<PointWeight>> weights(data.points.size());
    for (std::size_t i = 0; i < weights.size() && !data.weightStarts.empty(); ++i)
        weights[i].assign(data.weights.begin() + data.weightStarts[i],
                          data.weights.begin() + data.weightStarts[i + 1]);
    for (std::size_t i = 0; i < weights.size(); ++i) {
        if (!arguments.isSet(2)
            || std::find(points.begin(), points.end(), static_cast<std::uint32_t>(i)) != points.end())
            setWeight(weights[i], map.value, static_cast<float>(weight));
    }
    data.weights.clear();
    data.weightStarts.assign(1, 0);
    for (const auto& list : weights) {
        data.weights.insert(data.weights.end(), list.begin(), list.end());
        data.weightStarts.push_back(static_cast<std::uint32_t>(data.weights.size()));
    }
    return setMesh(item, std::move(data));
}

constexpr CommandRow kRows[] = {
    {"mesh.create", CommandKind::Edit, "Makes a mesh of points and triangles.",
     "mesh.create points:\"0 0 0 1 0 0 0 1 0\" triangles:\"0 1 2\" name:Sheet", kCreateArguments, createMesh},
    {"mesh.bind", CommandKind::Edit, "Lets a joint move points of a mesh from where both stand now.",
     "mesh.bind item:Sheet joint:Hand points:\"1 2\" weight:0.5", kBindArguments, bindMesh},
};

} // namespace

std::span<const CommandRow> meshCommandRows() { return kRows; }

} // namespace refhost
