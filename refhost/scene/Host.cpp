// SPDX-License-Identifier: MIT
// The registry of item types and packages, and the list of desks.
#include "refhost/Host.h"

#include "refhost/DrawingPackage.h"
#include "refhost/Mesh.h"
#include "scene/ItemEdits.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace refhost {
namespace {

std::vector<ChannelDefinition> layoutOf(const ItemType* base, std::string_view name,
                                        std::vector<ChannelDefinition> own)
{
    std::vector<ChannelDefinition> all;
    if (base) {
        all = base->layout().definitions();
    } else {
        all.push_back(numberChannel("visible", ChannelType::Boolean, 1));
        all.back().package = "item";
    }
    for (ChannelDefinition& definition : own) {
        definition.package = name;
        all.push_back(std::move(definition));
    }
    return all;
}

// Computed by evaluation, in this order on every item with transforms.
constexpr const char* kMatrixChannels[] = {"localMatrix", "wposMatrix", "wrotMatrix", "wsclMatrix",
                                           "worldMatrix"};

std::vector<ChannelDefinition> matrixChannels()
{
    std::vector<ChannelDefinition> channels;
    for (const char* name : kMatrixChannels)
        channels.push_back(numberChannel(name, ChannelType::Matrix4));
    return channels;
}

struct TransformRow {
    TransformKind kind;
    const char* type;
    const char* channel;
    ChannelType channelType;
    double initial;
};
constexpr TransformRow kTransformRows[] = {
    {TransformKind::Scale, "scale", "scl", ChannelType::Float, 1},
    {TransformKind::Rotation, "rotation", "rot", ChannelType::Angle, 0},
    {TransformKind::Position, "translation", "pos", ChannelType::Distance, 0},
};

ChannelDefinition orderChannel()
{
    ChannelDefinition order = numberChannel("order", ChannelType::Integer);
    order.minimum = 0;
    order.maximum = kRotationOrderCount - 1;
    for (int i = 0; i < kRotationOrderCount; ++i)
        order.textHints.push_back({i, kRotationOrderNames[i]});
    return order;
}

} // namespace

ItemType::ItemType(std::string name, std::uint32_t code, const ItemType* base, std::string origin,
                   bool hasTransforms, std::vector<ChannelDefinition> ownChannels)
    : m_Name(std::move(name)),
      m_Origin(std::move(origin)),
      m_Code(code),
      m_HasTransforms(hasTransforms),
      m_Base(base),
      m_Layout(layoutOf(base, m_Name, std::move(ownChannels)))
{
}

bool ItemType::isOrDerivesFrom(const ItemType& other) const
{
    const ItemType* type = this;
    while (type && type != &other)
        type = type->m_Base;
    return type != nullptr;
}

bool ItemType::isOrDerivesFrom(std::string_view name) const
{
    const ItemType* type = this;
    while (type && type->m_Name != name)
        type = type->m_Base;
    return type != nullptr;
}

Host::Host()
{
    std::vector<ChannelDefinition> locatorChannels = matrixChannels();
    for (ChannelDefinition& channel : markerChannels())
        locatorChannels.push_back(std::move(channel));
    m_Locator = addType("locator", nullptr, kHostOrigin, true, std::move(locatorChannels));
    m_Solver = addType("ikSolver", m_Locator, kHostOrigin, true, {});
    std::vector<ChannelDefinition> meshChannels = matrixChannels();
    meshChannels.push_back({.name = kMeshChannel, .type = ChannelType::Text, .defaultText = kMeshDataKind});
    m_Mesh = addType("mesh", nullptr, kHostOrigin, true, std::move(meshChannels));
    for (const TransformRow& row : kTransformRows) {
        std::vector<ChannelDefinition> channels;
        appendVectorChannels(channels, row.channel, row.channelType, row.initial);
        if (row.kind == TransformKind::Rotation)
            channels.push_back(orderChannel());
        m_Transforms[static_cast<int>(row.kind)] =
            addType(row.type, nullptr, kHostOrigin, false, std::move(channels));
    }
    registerDrawingPackage(*this);
}

Host::~Host()
{
    m_FirstDesk.close();
    m_Attachments.clear();
}

void Host::enlist(Desk& desk)
{
    const std::scoped_lock lock(m_DeskList);
    m_Desks.push_back(&desk);
}

void Host::strike(Desk& desk)
{
    const std::scoped_lock lock(m_DeskList);
    std::erase(m_Desks, &desk);
}

const ItemType* Host::addType(std::string_view name, const ItemType* base, std::string_view origin,
                              bool hasTransforms, std::vector<ChannelDefinition> channels)
{
    const auto code = static_cast<std::uint32_t>(m_Types.size() + 1);
    m_Types.push_back(std::make_unique<ItemType>(std::string(name), code, base, std::string(origin),
                                                 hasTransforms, std::move(channels)));
    return m_Types.back().get();
}

const ItemType* Host::findType(std::string_view name) const
{
    for (const auto& type : m_Types) {
        if (type->name() == name)
            return type.get();
    }
    return nullptr;
}

const ItemType* Host::findType(std::uint32_t code) const
{
    return code > 0 && code <= m_Types.size() ? m_Types[code - 1].get() : nullptr;
}

const Package* Host::findPackage(std::string_view name) const
{
    for (const auto& package : m_Packages) {
        if (package->name() == name)
            return package.get();
    }
    return nullptr;
}

Result Host::checkNew(std::string_view name, const std::vector<ChannelDefinition>& channels) const
{
    const std::string quoted = "'" + std::string(name) + "'";
    if (name.empty())
        return Result::failure("An item type or package needs a name.");
    if (findType(name) || findPackage(name))
        return Result::failure("The name " + quoted + " is taken by another item type or package.");
    std::unordered_set<std::string_view> names;
    for (const ChannelDefinition& channel : channels) {
        if (channel.name.empty())
            return Result::failure("A channel of " + quoted + " has no name.");
        if (!names.insert(channel.name).second)
            return Result::failure("The channel '" + channel.name + "' stands twice in " + quoted + ".");
        if (!std::isfinite(channel.defaultNumber))
            return Result::failure("The default of the channel '" + channel.name + "' of " + quoted
                                   + " is not finite.");
    }
    return {};
}

ResultOf<const ItemType*> Host::registerType(std::string_view name, std::string_view super,
                                             std::string_view origin, std::vector<ChannelDefinition> channels)
{
    using Answer = ResultOf<const ItemType*>;
    if (Result right = checkNew(name, channels); !right.ok())
        return Answer::failure(std::move(right.message));
    const ItemType* base = findType(super);
    if (!base)
        return Answer::failure("The item type '" + std::string(name) + "' derives from '" + std::string(super)
                               + "', which this host doesn't have.");
    for (const ItemType* transform : m_Transforms) {
        if (base == transform)
            return Answer::failure("The item type '" + std::string(name)
                                   + "' can't derive from a transform type.");
    }
    for (const ChannelDefinition& channel : channels) {
        if (base->layout().find(channel.name) >= 0)
            return Answer::failure("The channel '" + channel.name + "' of '" + std::string(name)
                                   + "' is there already in '" + base->name() + "'.");
    }
    const ItemType* type = addType(name, base, origin, base->hasTransforms(), std::move(channels));
    tellListeners([&](HostListener& listener) { listener.typeRegistered(*type); });
    return {type, {}};
}

ResultOf<const Package*> Host::registerPackage(std::string_view name, std::string_view origin,
                                               std::vector<ChannelDefinition> channels)
{
    if (Result right = checkNew(name, channels); !right.ok())
        return ResultOf<const Package*>::failure(std::move(right.message));
    m_Packages.push_back(
        std::make_unique<Package>(std::string(name), std::string(origin), std::move(channels)));
    const Package* package = m_Packages.back().get();
    tellListeners([&](HostListener& listener) { listener.packageRegistered(*package); });
    return {package, {}};
}

Scene& Host::newScene(std::string name) { return addScene(makeScene(std::move(name))); }

std::unique_ptr<Scene> Host::makeScene(std::string name)
{
    return std::make_unique<Scene>(*this, std::move(name));
}

void Host::tell(MessageLevel level, std::string_view text) const
{
    const std::scoped_lock lock(m_Telling);
    if (m_Sink)
        m_Sink(level, text);
}

void Host::addListener(HostListener& listener) { m_Listeners.push_back(&listener); }

void Host::removeListener(HostListener& listener) { std::erase(m_Listeners, &listener); }

} // namespace refhost
