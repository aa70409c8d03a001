// SPDX-License-Identifier: MIT
// `ikfb.retarget`.
#include "commands/CIKRetargetCommand.h"

#include "rig/RigQueries.h"

#include <cmath>
#include <cstring>

namespace {

constexpr ArgumentRow kArguments[] = {{"itemS", "&item", kZxArgumentOptional | kZxArgumentHidden},
                                      {"itemT", "&item", kZxArgumentOptional | kZxArgumentHidden},
                                      {"type", "integer", kZxArgumentOptional},
                                      {"mode", "integer", kZxArgumentOptional},
                                      {"scale", "float", kZxArgumentOptional}};

/// Bones whose relative rotation is kept as it is; for all others it is taken for quarter turns.
constexpr const char* SpineNameSet[] = {"Hips", "Chest",       "Chest1",     "Chest2",     "Chest3",   "Neck",
                                        "Head", "RightCollar", "LeftCollar", "RightAnkle", "LeftAnkle"};

constexpr double kQuarterTurn = 1.5707963267948966;
constexpr double kSnapNoise = 1e-3; // radians that joints may miss a quarter turn by
constexpr const char* kSourceColour = "r=0.3 g=0.8 b=0.3";
constexpr const char* kTargetColour = "r=0.6 g=1.0 b=0.6";

bool IsSpine(const CZxUser_Item& item)
{
    const char* name = CZxUser_StringTag(item).get(TagCode("BVHN"));
    for (const char* spine : SpineNameSet)
        if (name && std::strcmp(name, spine) == 0)
            return true;
    return false;
}

/// What one execution works with.
struct Retargeting {
    CZxUser_Item source, target;
    CZxUser_ItemGraph ikRetarget;
    CZxUser_ChannelGraph chanLinks;
    CZxUser_ChannelRead read;
    CZxUser_ChannelWrite setup, anim;

    /// Runs `ikfb.task` on the target; false when there is no such command.
    bool runTask(int32_t type, int32_t mode, const double* scale = nullptr) const
    {
        const CZxUser_Command task = SpawnCommand("ikfb.task");
        if (!task)
            return false;
        task.setItem(0, target);
        task.setInteger(1, type);
        task.setInteger(2, mode);
        if (scale)
            task.setNumber(3, *scale);
        task.executeInside();
        return true;
    }
    /// Feeds a channel of the target; false when either channel is missing.
    bool feed(const char* from, const char* to) const
    {
        const int32_t sourceChannel = source.channel(from), targetChannel = target.channel(to);
        if (sourceChannel < 0 || targetChannel < 0)
            return false;
        chanLinks.addLink(source, sourceChannel, target, targetChannel);
        return true;
    }
    /// Off in setup, so that setup poses are not disturbed, and on in animation. False when the channel is
    /// missing.
    bool enableInAnimation(const char* name) const
    {
        const int32_t channel = target.channel(name);
        if (channel < 0)
            return false;
        setup.integer(target, channel, 0);
        anim.integer(target, channel, 1);
        return true;
    }
    void colour(const char* sourceColour, const char* targetColour) const
    {
        CZxUser_StringTag(source).set(TagCode("OVCL"), sourceColour);
        CZxUser_StringTag(target).set(TagCode("OVCL"), targetColour);
    }
    void ComputeRetargetOffset() const;
    void pairOrientation() const;
    void unpairOrientation() const;
    void changePosition(int32_t mode, double scale) const;
};

void Retargeting::ComputeRetargetOffset() const
{
    const bool isExact = IsSpine(target);
    double angles[3];
    Sinew::Matrix4d offset = RelativeTransform(read, target, source);
    if (!isExact) // else noise about a quarter turn would choose two of its angles, and where they snap to
        for (double& element : offset.m)
            element = std::fabs(element) < kSnapNoise ? 0 : element;
    BlockToEuler(offset, 4, angles);
    if (target.channel("ikotOffset.X") < 0)
        return;
    if (!isExact)
        for (double& angle : angles) // a tie goes away from zero
            angle =
                (angle >= 0 ? std::floor(angle / kQuarterTurn + 0.5) : std::ceil(angle / kQuarterTurn - 0.5))
                * kQuarterTurn;
    WriteVector(setup, target, "ikotOffset", angles);
}

void Retargeting::pairOrientation() const
{
    if (target.hasPackage("ik.orientationTask")) {
        ComputeRetargetOffset();
    } else if (runTask(1, 1)) {
        if (!feed("wrotMatrix", "ikotMatrix") || !enableInAnimation("ikotEnable"))
            return;
        ComputeRetargetOffset();
        AddLink(ikRetarget, source, target);
    }
    colour(kSourceColour, kTargetColour);
}

void Retargeting::unpairOrientation() const
{
    if (target.hasPackage("ik.orientationTask"))
        runTask(1, 0);
    DeleteLink(ikRetarget, source, target);
    colour(nullptr, nullptr);
}

void Retargeting::changePosition(int32_t mode, double scale) const
{
    const bool adds = mode == 1;
    if (target.hasPackage("ik.positionTask") == adds || !runTask(0, mode, &scale) || !adds)
        return;
    if (feed("wposMatrix", "ikptMatrix"))
        enableInAnimation("ikptEnable");
}

} // namespace

CIKRetargetCommand::CIKRetargetCommand()
    : CRigCommand({.table = "ikfb.retarget", .arguments = kArguments, .events = RetestOn::EditOrSelection})
{
}

zxresult CIKRetargetCommand::test(const CZxUser_Message&) const
{
    return kZxTrue; // what fits no pair is passed over in silence when it runs
}

bool CIKRetargetCommand::findPair(const RigTypes& types, Pair& pair) const
{
    if (isSet(0) && isSet(1)) {
        pair.source = item(0);
        pair.target = item(1);
        pair.scene = sceneOf(pair.source);
        return pair.source && pair.target && types.isLocator(pair.source) && types.isLocator(pair.target);
    }
    if (isSet(1))
        return false; // a target alone is deliberately nothing
    std::vector<CZxUser_Item> items;
    for (CZxUser_Item& item : SelectedItems())
        if (types.isLocator(item))
            items.push_back(std::move(item));
    if (items.size() == 2) {
        pair.source = items[0];
        pair.target = items[1];
        pair.scene = sceneOf(pair.source);
        return true;
    }
    if (items.size() != 1)
        return false;
    pair.target = items[0];
    pair.scene = sceneOf(pair.target);
    pair.source = pair.scene.itemGraph("ikRetarget").reverse(pair.target, 0);
    return static_cast<bool>(pair.source);
}

zxresult CIKRetargetCommand::execute(uint32_t)
{
    const int32_t type = isSet(2) ? integer(2) : 0, mode = isSet(3) ? integer(3) : 1;
    if (static_cast<uint32_t>(type) > 1 || static_cast<uint32_t>(mode) > 1)
        return kZxOk;
    double scale = isSet(4) ? number(4) : 1;
    if (!(scale > 0))
        scale = 1;
    Pair pair;
    if (!findPair(RigTypes(), pair))
        return kZxOk;
    const Retargeting change{.source = pair.source,
                             .target = pair.target,
                             .ikRetarget = pair.scene.itemGraph("ikRetarget"),
                             .chanLinks = pair.scene.channelGraph("chanLinks"),
                             .read = pair.scene.channelRead(nullptr, 0),
                             .setup = pair.scene.channelWrite("setup", 0),
                             .anim = pair.scene.channelWrite("anim", 0)};
    if (type == 1)
        change.changePosition(mode, scale);
    else if (mode == 1)
        change.pairOrientation();
    else
        change.unpairOrientation();
    return kZxOk;
}
