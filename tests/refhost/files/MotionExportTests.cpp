// SPDX-License-Identifier: MIT
// `scene.export` on whole files: what wasn't edited comes back to the bit, what was is where the scene has
// it.
#include "../../formats/BvhTesting.h"
#include "../../formats/GltfComparison.h"
#include "commands/CommandSession.h"
#include "files/FileTesting.h"
#include "formats/MotionFormat.h"
#include "refhost/Evaluation.h"
#include "refhost/MotionImport.h"

#include <cmath>
#include <filesystem>
#include <numbers>

namespace refhost {
namespace {

namespace fs = std::filesystem;
using formats::ChannelName;
using formats::RawAnimation;

/// A folder for the files of a test, and sessions that write into it.
class MotionExportFiles : public ::testing::Test {
protected:
    MotionExportFiles()
    {
        fs::remove_all(m_Folder);
        fs::create_directories(m_Folder);
    }
    ~MotionExportFiles() override { fs::remove_all(m_Folder); }

    std::string path(const std::string& name) const { return (m_Folder / name).string(); }
    std::string write(const std::string& name, const std::string& bytes) const
    {
        EXPECT_EQ(formats::writeFileAtomically(path(name), bytes), std::nullopt);
        return path(name);
    }
    static std::string read(const std::string& file)
    {
        const auto bytes = formats::readWholeFile(file);
        const auto* text = std::get_if<std::string>(&bytes);
        EXPECT_TRUE(text) << file;
        return text ? *text : std::string();
    }
    /// Runs `scene.export` and returns the bytes that it wrote.
    std::string exported(CommandSession& session, const std::string& name, const std::string& more = "")
    {
        said = session.ask("scene.export file:" + path(name) + " " + more);
        return read(path(name));
    }
    std::string said; // by the last export

private:
    fs::path m_Folder = fs::path(::testing::TempDir())
        / ("sinew_export_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
};

/// The first, the middle and the last animation; the first where there is none.
std::set<std::size_t> someOf(std::size_t count)
{
    return count == 0 ? std::set<std::size_t>{0} : std::set<std::size_t>{0, count / 2, count - 1};
}

/// The file as a GLB with everything in it.
std::string glbOf(const std::string& file)
{
    const formats::Gltf gltf = formats::mustReadGltf(formats::readGltfFile(file));
    return std::get<std::string>(formats::writeGlb(gltf, {}));
}

/// Turns an item about x by its own channel, by half a radian more than it says, at its key nearest to a
/// time; returns that key's time.
double turnKey(CommandSession& session, const std::string& item, double near)
{
    const Channel& channel = *session.item(item).transformItem(TransformKind::Rotation)->channel("rot.X");
    const KeyList& keys = channel.keys(Layer::Anim);
    const Key key = keys.keys()[keys.segment(near)];
    session.run("channel.key item:" + item + " channel:rot.X value:" + std::to_string(key.number + 0.5)
                + " time:" + std::to_string(key.time));
    return key.time;
}

TEST_F(MotionExportFiles, WhatIsNotEditedComesBackToTheBit)
{
    for (const formats::Sample& sample : formats::gltfSamples()) {
        const std::string& file = sample.path;
        SCOPED_TRACE(file);
        const std::string before = glbOf(file);
        const std::vector<RawAnimation> all = formats::rawAnimations(before);
        for (const std::size_t i : someOf(all.size())) {
            CommandSession session;
            session.run("scene.import file:" + file + " animation:" + std::to_string(i));
            formats::expectSameAnimations(before, exported(session, "same.glb"));
            EXPECT_NE(said.find("all as imported"), std::string::npos) << said;
            if (i + 1 < all.size() || all.empty())
                continue;
            // After a visit to disk the scene still knows which one it was.
            session.run("scene.save file:" + path("scene.sinew.json"));
            session.run("scene.open file:" + path("scene.sinew.json"));
            const std::vector<RawAnimation> more =
                formats::rawAnimations(exported(session, "more.glb", "append:true"));
            ASSERT_EQ(more.size(), all.size() + 1);
            EXPECT_EQ(more.back().channels, all[i].channels);
        }
    }
    for (const formats::Sample& sample : formats::bvhSamples()) {
        const std::string& file = sample.path;
        CommandSession session;
        session.run("scene.import file:" + file);
        EXPECT_EQ(exported(session, "same.bvh"), read(file)) << file;
    }
}

TEST_F(MotionExportFiles, OneEditedJointLeavesAllOthersToTheBit)
{
    for (const formats::Sample& sample : formats::gltfSamples()) {
        const std::string& file = sample.path;
        const std::string before = glbOf(file);
        const formats::Gltf gltf = formats::mustReadGltf(formats::readGltf(before));
        if (gltf.animations.empty())
            continue;
        for (const std::size_t i : someOf(gltf.animations.size()))
            for (const formats::GltfTrack& track : gltf.animations[i].tracks) {
                if (track.path != formats::GltfPath::Rotation)
                    continue;
                const std::string& node = gltf.nodes[static_cast<std::size_t>(track.node)].name;
                SCOPED_TRACE(file + ", animation " + std::to_string(i) + ", " + node);
                CommandSession session;
                session.run("scene.import file:" + file + " animation:" + std::to_string(i));
                const std::string item = [&] {
                    for (const Item* one : session.scene().itemsOfType(session.host.locatorType()))
                        if (one->name() == node)
                            return one->uniqueName();
                    return std::string();
                }();
                const double time = turnKey(session, item, (track.times.front() + track.times.back()) / 2);
                const std::string after = exported(session, "turned.glb");
                formats::expectSameAnimations(before, after, i, {{track.node, "rotation"}});
                const formats::Gltf turned = formats::mustReadGltf(formats::readGltf(after));
                EXPECT_EQ(turned.animations[i].name, gltf.animations[i].name);
                for (const formats::GltfTrack& other : turned.animations[i].tracks)
                    if (other.node == track.node && other.path == track.path) {
                        EXPECT_EQ(other.interpolation, track.interpolation);
                        EXPECT_EQ(other.times, track.times);
                        for (std::size_t k = 0; k < track.times.size(); ++k) {
                            const auto a = formats::sampleTrack(track, track.times[k]);
                            const auto b = formats::sampleTrack(other, track.times[k]);
                            double cosine = 0;
                            for (std::size_t c = 0; c < 4; ++c)
                                cosine += a[c] * b[c];
                            const bool changed = sameTime(track.times[k], time);
                            EXPECT_NEAR(2 * std::acos(std::min(1.0, std::abs(cosine))), changed ? 0.5 : 0,
                                        1e-3);
                        }
                    }
                break; // one joint an animation
            }
    }
}

TEST_F(MotionExportFiles, OneEditedJointOfABvhLeavesAllOtherNumbers)
{
    for (const formats::Sample& sample : formats::bvhSamples()) {
        const std::string& file = sample.path;
        SCOPED_TRACE(file);
        CommandSession session;
        session.run("scene.import file:" + file);
        const formats::BvhMotion before = formats::mustRead(read(file));
        std::size_t edited = 0;
        for (std::size_t i = 1; i < before.joints.size() && edited == 0; ++i)
            if (before.joints[i].channels.size() == 3)
                edited = i;
        ASSERT_GT(edited, 0u);
        const Item* item = nullptr;
        for (const Item* one : session.scene().itemsOfType(session.host.locatorType()))
            item = one->name() == before.joints[edited].name ? one : item;
        const std::size_t frame = before.frameCount / 2;
        turnKey(session, item->uniqueName(), (static_cast<double>(frame) + 0.01) * before.frameTime);
        const formats::BvhMotion after = formats::mustRead(exported(session, "turned.bvh"));
        ASSERT_EQ(after.values.size(), before.values.size());
        EXPECT_EQ(after.frameTimeText, before.frameTimeText);
        const std::size_t first = frame * before.channelCount + before.joints[edited].firstChannel;
        std::size_t changed = 0, elsewhere = 0;
        for (std::size_t i = 0; i < after.values.size(); ++i)
            if (after.values[i] != before.values[i])
                ++(i >= first && i < first + 3 ? changed : elsewhere);
        EXPECT_GT(changed, 0u);
        EXPECT_EQ(elsewhere, 0u);
        EXPECT_NE(said.find("1 joint changed"), std::string::npos) << said;
    }
}

TEST_F(MotionExportFiles, TheClipThatWasImportedIsReplacedUnderItsName)
{
    const std::string file = write("human.glb", formats::Human("").file.glb());
    const std::vector<RawAnimation> before = formats::rawAnimations(read(file));
    const int head = formats::Human("").nodes["head"];
    CommandSession session;
    session.run("scene.import file:" + file + " animation:1");
    turnKey(session, "head", 0.5);
    const std::set<ChannelName> edited = {{head, "rotation"}};

    const std::vector<RawAnimation> own = formats::rawAnimations(exported(session, "own.glb"));
    EXPECT_NE(said.find("animation 'nod', 0.25 to 1.25 seconds, 4 keys of 1 joint; 1 joint changed"),
              std::string::npos)
        << said;
    ASSERT_EQ(own.size(), 2u);
    formats::expectSameChannels(before[0], own[0]);
    formats::expectSameChannels(before[1], own[1], edited);
    EXPECT_NE(own[1].channels.at({head, "rotation"}), before[1].channels.at({head, "rotation"}));

    std::vector<RawAnimation> other = formats::rawAnimations(exported(session, "other.glb", "animation:0"));
    ASSERT_EQ(other.size(), 2u);
    formats::expectSameChannels(before[1], other[1]);
    EXPECT_EQ(other[0].name, "dance");
    EXPECT_EQ(other[0].channels, own[1].channels);

    const std::vector<RawAnimation> more =
        formats::rawAnimations(exported(session, "more.glb", "append:true"));
    ASSERT_EQ(more.size(), 3u);
    formats::expectSameChannels(before[0], more[0]);
    formats::expectSameChannels(before[1], more[1]);
    EXPECT_EQ(more[2].name, "nod 2");
    EXPECT_EQ(more[2].channels, own[1].channels);

    EXPECT_NE(session.fails("scene.export file:" + path("no.glb") + " animation:2").find("has 2"),
              std::string::npos);
    EXPECT_NE(
        session.fails("scene.export file:" + path("no.glb") + " animation:0 append:true").find("one of"),
        std::string::npos);
    EXPECT_NE(session.fails("scene.import file:" + file + " animation:2").find("has 2"), std::string::npos);
    EXPECT_FALSE(fs::exists(path("no.glb")));
}

TEST_F(MotionExportFiles, EditsOfEveryKindKeepTheirKeysAndCurves)
{
    formats::Human human("");
    const std::string file = write("human.glb", human.file.glb());
    CommandSession session;
    session.run("scene.import file:" + file);
    // A step stays a step, a spline a spline with its slopes, and a key of the user's stands where it was
    // set.
    session.run("channel.key item:happy channel:pos.X time:0.5 value:0.75");
    session.run("channel.key item:hips channel:pos.Y time:1 value:1.2");
    session.run("channel.key item:lamp channel:pos.X time:0.9 value:3");
    session.run("channel.set item:spine channel:scl.X value:2 action:anim");
    const formats::Gltf gltf = formats::mustReadGltf(formats::readGltf(exported(session, "edited.glb")));
    const std::vector<RawAnimation> raw = formats::rawAnimations(read(path("edited.glb")));
    formats::expectSameChannels(formats::rawAnimations(read(file))[0], raw[0],
                                {{human.nodes["happy"], "translation"},
                                 {human.nodes["hips"], "translation"},
                                 {human.nodes["lamp"], "translation"},
                                 {human.nodes["spine"], "scale"}});
    const auto track = [&](const char* node, formats::GltfPath at) -> const formats::GltfTrack& {
        for (const formats::GltfTrack& one : gltf.animations[0].tracks)
            if (one.node == human.nodes[node] && one.path == at)
                return one;
        ADD_FAILURE() << node;
        return gltf.animations[0].tracks[0];
    };
    using formats::GltfInterpolation;
    using formats::GltfPath;
    EXPECT_EQ(track("happy", GltfPath::Translation).interpolation, GltfInterpolation::Step);
    EXPECT_EQ(track("happy", GltfPath::Translation).values,
              (std::vector<double>{0, 0, 0, 0.75, 0, 0, 0.25, 0, 0}));
    const formats::GltfTrack& hips = track("hips", GltfPath::Translation);
    EXPECT_EQ(hips.interpolation, GltfInterpolation::CubicSpline);
    EXPECT_EQ(hips.times, (std::vector<double>{0, 1}));
    EXPECT_NEAR(hips.values[13], 1.2, 1e-6);
    EXPECT_NEAR(hips.values[8], 0.5, 1e-6) << "the slope that leaves the first key along z";
    EXPECT_EQ(track("lamp", GltfPath::Translation).times.size(), 3u);
    EXPECT_NEAR(formats::sampleTrack(track("lamp", GltfPath::Translation), 0.9)[0], 3, 1e-6);
    EXPECT_EQ(track("spine", GltfPath::Scale).values, (std::vector<double>{2, 1, 1}));

    const formats::Gltf coarse =
        formats::mustReadGltf(formats::readGltf(exported(session, "coarse.glb", "rate:4 from:0.2 to:1")));
    for (const formats::GltfTrack& one : coarse.animations[0].tracks) {
        EXPECT_GE(one.times.front(), 0.2 - 1e-6);
        EXPECT_LE(one.times.back(), 1 + 1e-6);
        if (one.node == human.nodes["lamp"] && one.path == GltfPath::Translation) {
            EXPECT_EQ(one.times.size(), 5u) << "0.2, 0.45, 0.7, 0.95, 1";
        }
        // What is only cut goes on as it did.
        for (const formats::GltfTrack& whole : gltf.animations[0].tracks)
            if (one.node == whole.node && one.path == whole.path && one.node != human.nodes["lamp"]
                && one.node != human.nodes["hips"] && one.node != human.nodes["happy"]) {
                for (const double time : {0.2, 0.3, 0.6, 0.97})
                    for (std::size_t c = 0; c < 4; ++c)
                        EXPECT_NEAR(formats::sampleTrack(one, time)[c], formats::sampleTrack(whole, time)[c],
                                    one.node == human.nodes["leftUpperArm"] ? 2e-3 : 2e-6);
            }
    }
    VALIDATOR_OR_SKIP();
    for (const auto& issues : formats::issuesOf({path("edited.glb"), path("coarse.glb")}))
        EXPECT_TRUE(issues.empty()) << formats::TestJson(issues);
}

TEST_F(MotionExportFiles, WhatDrivesTheFigureSaysForHowLongAndWhen)
{
    const std::string human = write("human.glb", formats::Human("").file.glb());
    const std::string bvh = write("small.bvh", formats::kSmallFile); // 4 frames of 0.04 s
    for (const bool gltf : {true, false}) {
        SCOPED_TRACE(gltf);
        CommandSession session;
        session.run("scene.import file:" + (gltf ? human : bvh));
        session.run("item.create name:Pointer");
        session.run("channel.key item:Pointer channel:rot.X time:0 value:0");
        session.run("channel.key item:Pointer channel:rot.X time:22.9 value:60deg");
        const std::string joint = gltf ? "leftHand" : "Head";
        session.run("channel.set item:" + joint + " channel:rot.Y value:0");
        session.run("channel.link from:Pointer.rot.X to:" + joint + ".rot.X");
        const std::string text = exported(session, gltf ? "driven.glb" : "driven.bvh");
        if (gltf) {
            const formats::Gltf out = formats::mustReadGltf(formats::readGltf(text));
            const formats::GltfTrack& last = out.animations[0].tracks.back();
            EXPECT_EQ(out.nodes[static_cast<std::size_t>(last.node)].name, "leftHand");
            EXPECT_NEAR(last.times.back(), 22.9, 1e-5);
            EXPECT_GT(last.times.size(), 600u);
            EXPECT_NEAR(std::abs(formats::sampleTrack(last, 11.45)[0]), std::sin(std::numbers::pi / 12),
                        1e-5);
            formats::expectSameChannels(formats::rawAnimations(read(human))[0],
                                        formats::rawAnimations(text)[0], {{last.node, "rotation"}});
        } else {
            const formats::BvhMotion out = formats::mustRead(text);
            EXPECT_EQ(out.frameCount, 574u); // 22.9 / 0.04, and the first
            EXPECT_NEAR(out.values[400 * out.channelCount + 11], 16 / 22.9 * 60, 1e-4) << "rot.X of the head";
            EXPECT_EQ(out.values[400 * out.channelCount], 4) << "the hips stay where the file ends";
        }
        EXPECT_NE(said.find(gltf ? "0 to 22.9 seconds" : "0 to 22.92 seconds"), std::string::npos) << said;
        // The one that drives is not driven: it has its own length.
        EXPECT_NE(
            session.fails("scene.export file:" + path("no.glb") + " item:Pointer").find("nothing to do"),
            std::string::npos);
    }
}

/// A VRM animation holds rotations, the hips' place, weights and the gaze; nothing else gets in.
TEST_F(MotionExportFiles, OnlyChannelsThatTheFormatAllowsAreWritten)
{
    formats::Human human("VRMC_vrm_animation");
    const std::string file = write("dance.vrma", human.file.glb());
    CommandSession session;
    session.run("scene.import file:" + file);
    for (const char* item : {"spine", "hips", "happy", "gaze", "leftHand"}) {
        session.run("channel.set item:" + std::string(item) + " channel:scl.X value:2 action:anim");
        session.run("channel.set item:" + std::string(item) + " channel:pos.X value:0.5 action:anim");
        session.run("channel.key item:" + std::string(item) + " channel:pos.Z time:0.5 value:0.125");
        session.run("channel.key item:" + std::string(item) + " channel:rot.Y time:0.5 value:20deg");
    }
    session.log.clear();
    const std::string bytes = exported(session, "edited.vrma");
    const auto at = [&](const char* node, const char* channel) {
        return ChannelName{human.nodes[node], channel};
    };
    const std::set<ChannelName> edited = {at("spine", "rotation"),   at("hips", "rotation"),
                                          at("hips", "translation"), at("happy", "translation"),
                                          at("gaze", "rotation"),    at("leftHand", "rotation")};
    formats::expectSameAnimations(read(file), bytes, 0, edited);
    const RawAnimation dance = formats::rawAnimations(bytes)[0];
    for (const ChannelName& name : edited)
        EXPECT_TRUE(dance.channels.contains(name)) << name.first << name.second;
    for (const auto& [name, channel] : dance.channels)
        EXPECT_NE(name.second, "scale") << name.first;
    for (const char* left : {"scale of 'spine'", "translation of 'spine'", "scale of 'hips'",
                             "rotation of 'happy'", "translation of 'gaze'"})
        EXPECT_TRUE(std::any_of(session.log.begin(), session.log.end(), [&](const std::string& line) {
            return line.find(left) != std::string::npos;
        })) << left;

    // Nodes with a skinned mesh have no keys, whatever the scene does with them.
    human = formats::Human("VRMC_vrm");
    const std::string avatar = write("avatar.vrm", human.file.glb());
    CommandSession other;
    other.run("scene.import file:" + avatar);
    other.run("channel.key item:body channel:rot.X time:0.5 value:20deg");
    other.run("channel.key item:hips channel:scl.X time:0.5 value:2");
    const std::string kept = exported(other, "avatar2.vrm");
    formats::expectSameAnimations(read(avatar), kept, 0, {{human.nodes["hips"], "scale"}});
    EXPECT_TRUE(formats::rawAnimations(kept)[0].channels.contains({human.nodes["body"], "weights"}));
    EXPECT_NE(other.log.back().find("'body' is left out: its mesh follows"), std::string::npos)
        << other.log.back();
    VALIDATOR_OR_SKIP();
    for (const auto& issues : formats::issuesOf({path("edited.vrma"), path("avatar2.vrm")}))
        EXPECT_TRUE(issues.empty()) << formats::TestJson(issues);
}

/// Limbs of a human in a file of any format, by bone, at a time: directions apart from size and axes' names.
std::map<std::string, std::array<double, 3>> limbsAt(const std::string& bytes, double time)
{
    const bool bvh = !bytes.starts_with("glTF");
    const formats::FigureMotion figure = bvh
        ? formats::figureMotion(formats::mustRead(bytes))
        : formats::figureMotion(formats::mustReadGltf(formats::readGltf(bytes)), 0, {time});
    const std::size_t frame =
        bvh ? static_cast<std::size_t>(std::lround(time / (figure.times[1] - figure.times[0]))) : 0;
    std::map<std::string, std::array<double, 3>> limbs;
    for (std::size_t i = 0; i < figure.joints.size(); ++i) {
        const formats::FigureJoint& joint = figure.joints[i];
        if (joint.bone.empty() || joint.parent < 0
            || figure.joints[static_cast<std::size_t>(joint.parent)].bone.empty())
            continue;
        const auto& from =
            figure.poses[frame * figure.joints.size() + static_cast<std::size_t>(joint.parent)].position;
        const auto& to = figure.poses[frame * figure.joints.size() + i].position;
        std::array<double, 3> way{to[0] - from[0], to[1] - from[1], to[2] - from[2]};
        for (double& one : way)
            one *= figure.metresPerUnit;
        limbs[joint.bone] = way;
    }
    return limbs;
}

TEST_F(MotionExportFiles, AnyFigureGoesIntoAnyFormatThatCanHoldIt)
{
    const std::string examples = SINEW_SOURCE "/examples/characters/";
    struct Row {
        std::string file;
        std::vector<const char*> endings, refused;
    };
    const Row rows[] = {
        {write("human.glb", formats::Human("").file.glb()), {".glb", ".bvh", ".vrma"}, {".vrm", ".gltf"}},
        {write("avatar.vrm", formats::Human("VRMC_vrm").file.glb()), {".glb", ".bvh", ".vrma", ".vrm"}, {}},
        {write("dance.vrma", formats::Human("VRMC_vrm_animation").file.glb()),
         {".glb", ".bvh", ".vrma"},
         {".vrm"}},
        {examples + "Walker.bvh", {".bvh", ".glb", ".vrma"}, {".vrm", ".fbx"}},
    };
    std::vector<std::string> written;
    for (const Row& row : rows) {
        CommandSession session;
        session.run("scene.import file:" + row.file);
        for (const char* ending : row.endings) {
            SCOPED_TRACE(row.file + " to " + ending);
            const std::string name = fs::path(row.file).stem().string() + ending;
            const std::string bytes = exported(session, "out_" + name);
            if (bytes.starts_with("glTF"))
                written.push_back(path("out_" + name));
            if (bytes.starts_with("glTF")) {
                EXPECT_EQ(formats::mustReadGltf(formats::readGltf(bytes)).vrm == formats::VrmKind::Animation,
                          std::string(ending) == ".vrma" || row.file.ends_with(".vrma"))
                    << "only a .vrma, and what came as one, is a VRM animation";
            }
            for (const double time : {0.5, 1.0}) {
                const auto wanted = limbsAt(read(row.file), time), got = limbsAt(bytes, time);
                EXPECT_GE(got.size(), 13u);
                for (const auto& [bone, way] : wanted)
                    if (got.contains(bone)) {
                        for (std::size_t a = 0; a < 3; ++a)
                            EXPECT_NEAR(got.at(bone)[a], way[a], 2e-3) << bone << " at " << time;
                    }
            }
        }
        for (const char* ending : row.refused) {
            const std::string message = session.fails("scene.export file:" + path("no") + ending);
            EXPECT_NE(message.find(std::string(ending) == ".vrm" ? "a .vrm is an avatar" : "has to end in"),
                      std::string::npos)
                << message;
        }
    }
    CommandSession fox;
    fox.run("scene.import file:" + write("arm.glb", formats::SmallGltf::arm().glb()));
    EXPECT_NE(fox.fails("scene.export file:" + path("no.vrma")).find("human figure"), std::string::npos);
    VALIDATOR_OR_SKIP();
    const auto issues = formats::issuesOf(written);
    for (std::size_t i = 0; i < issues.size(); ++i)
        EXPECT_TRUE(issues[i].empty()) << written[i] << formats::TestJson(issues[i]);
}

TEST_F(MotionExportFiles, WhatCannotBeWrittenIsRefusedAndNamed)
{
    const std::string bvh = write("small.bvh", formats::kSmallFile);
    CommandSession session;
    session.run("scene.import file:" + bvh);
    session.run("channel.key item:Hips channel:pos.X time:0.04 value:1e20");
    const std::string message = session.fails("scene.export file:" + path("out.bvh"));
    EXPECT_NE(message.find("in frame 1 the Xposition of 'Hips' is 1e+20"), std::string::npos) << message;
    session.run("undo");
    EXPECT_NE(session.fails("scene.export file:" + path("out.bvh") + " rate:0").find("'rate'"),
              std::string::npos);
    EXPECT_NE(session.fails("scene.export file:" + path("out.bvh") + " from:2 to:1").find("'from'"),
              std::string::npos);
    session.run("channel.key item:Hips channel:pos.X time:1e8 value:1");
    EXPECT_NE(session.fails("scene.export file:" + path("out.bvh")).find("1,000,000 frames"),
              std::string::npos);
    EXPECT_EQ(formats::mustRead(exported(session, "cut.bvh", "to:0.08")).frameCount, 3u);
    session.run("scene.setup on:true");
    EXPECT_NE(session.fails("scene.export file:" + path("out.bvh")).find("setup mode"), std::string::npos);
    EXPECT_FALSE(fs::exists(path("out.bvh")));
}

} // namespace
} // namespace refhost
