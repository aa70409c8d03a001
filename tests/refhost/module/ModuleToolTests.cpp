// SPDX-License-Identifier: MIT
// Tools of modules: packets, drawing and meshes through the tables, and what they may not do.
#include "FakeModule.h"
#include "HostFixture.h"

#include <refhost/Mesh.h>
#include <refhost/Modules.h>
#include <refhost/ToolHost.h>
#include <zx/ZxDraw.h>
#include <zx/ZxEdit.h>
#include <zx/ZxMesh.h>

#include <map>

using namespace refhost;
using support::FakeWorld;

namespace {

/// Outlives the host of the fixture.
struct WorldHolder {
    FakeWorld world;
};

using Stack = CZxLocalize<ZxVectorStackTable>;

template <class Table>
CZxLocalize<Table> faceOf(ZxObject* object, const ZxId& id)
{
    CZxLocalize<Table> face;
    (void)face.query(object, id);
    return face;
}

class ModuleToolTests : public WorldHolder, public support::HostFixture {
protected:
    ModuleToolTests()
    {
        host.setMessageSink([this](MessageLevel, std::string_view text) { messages.emplace_back(text); });
        world.moreServers = {{"fake.tool", kZxIdTool}};
        world.tool = [this](std::string_view call, const Stack& stack, ZxObject* other) {
            const auto found = calls.find(std::string(call));
            return found == calls.end() ? kZxOk : found->second(stack, other);
        };
        EXPECT_TRUE(Modules::of(host).loadEntry("fake", &FakeWorld::entry).ok());
        EXPECT_TRUE(tools.use("fake.tool").ok());
    }
    int32_t offset(const char* packet)
    {
        int32_t offset = -7;
        const auto service = world.context.fetch<&ZxContextTable::service, CZxLocalize<ZxPacketServiceTable>>(
            &kZxIdPacketService);
        (void)service.call<&ZxPacketServiceTable::packetOffset>("tool", packet, &offset);
        return offset;
    }
    template <class Record>
    Record record(const Stack& stack, const char* packet)
    {
        const void* found = nullptr;
        check(stack.call<&ZxVectorStackTable::record>(offset(packet), &found));
        return *static_cast<const Record*>(found);
    }
    template <class Table>
    CZxLocalize<Table> packet(const Stack& stack, const char* name)
    {
        return stack.fetch<&ZxVectorStackTable::packet, CZxLocalize<Table>>(offset(name));
    }
    void drag(int toX, int toY)
    {
        EXPECT_TRUE(tools.press(400, 300, *gestureByName("move")).ok());
        EXPECT_TRUE(tools.move(toX, toY).ok());
        EXPECT_TRUE(tools.release(toX, toY).ok());
    }

    std::map<std::string, std::function<zxresult(const Stack&, ZxObject*)>> calls;
    std::vector<std::string> messages;
    ToolHost& tools = ToolHost::of(host);
};

TEST_F(ModuleToolTests, PacketsSayWhatTheHandDoes)
{
    int moves = 0;
    EXPECT_EQ(offset("ToolNothing"), -1);
    calls["draw"] = calls["hitTest"] = [&](const Stack&, ZxObject* draw) {
        const auto strokes = faceOf<ZxStrokeDrawTable>(draw, kZxIdStrokeDraw);
        const auto shapes = faceOf<ZxShapeDrawTable>(draw, kZxIdShapeDraw);
        const auto view = faceOf<ZxViewTable>(draw, kZxIdView);
        const float red[] = {1, 0, 0};
        const double nine[] = {1, 0, 0, 0, 1, 0, 0, 0, 1}, at[] = {0, 0, 0.5}, zero[] = {0, 0, 0};
        double size = 0, facing[9];
        check(strokes.call<&ZxStrokeDrawTable::setPart>(3u));
        check(strokes.call<&ZxStrokeDrawTable::pushTransform>(at, nine));
        check(view.call<&ZxViewTable::pixelSize>(&size));
        check(view.call<&ZxViewTable::facing>(facing));
        check(shapes.call<&ZxShapeDrawTable::handle>(zero, red, zero, 5 * size, 2u, 0u));
        check(strokes.call<&ZxStrokeDrawTable::popTransform>());
        EXPECT_TRUE(failed(strokes.call<&ZxStrokeDrawTable::popTransform>()));
        EXPECT_TRUE(failed(strokes.call<&ZxStrokeDrawTable::begin>(9u, red, 1.0f, 1.0f)));
        EXPECT_TRUE(failed(shapes.call<&ZxShapeDrawTable::circle>(red, 1.0f, zero, 1.0, 3u, 0u)));
        return kZxOk;
    };
    calls["buttonDown"] = [&](const Stack& stack, ZxObject*) {
        EXPECT_EQ(record<ZxToolInputEvent>(stack, "ToolInputEvent").part, 3);
        EXPECT_EQ(record<ZxToolInputEvent>(stack, "ToolInputEvent").mode, 20);
        EXPECT_EQ(record<ZxToolViewEvent>(stack, "ToolViewEvent").viewType, 0);
        const double start[] = {0, 0, 0.5};
        return packet<ZxEventTranslatePacketTable>(stack, "toolEventTranslate")
            .call<&ZxEventTranslatePacketTable::setStart>(start);
    };
    calls["move"] = [&](const Stack& stack, ZxObject*) {
        const auto screen = record<ZxToolScreenEvent>(stack, "ToolScreenEvent");
        EXPECT_EQ(screen.startX, 400);
        EXPECT_EQ(screen.currentX, 430);
        double to[3] = {};
        const double from[] = {0, 0, 0.5};
        check(packet<ZxEventTranslatePacketTable>(stack, "toolEventTranslate")
                  .call<&ZxEventTranslatePacketTable::newPosition>(from, to));
        EXPECT_NEAR(to[0], 0.1, 1e-12); // thirty pixels of 2 / 600
        ++moves;
        return kZxOk;
    };
    drag(430, 300);
    EXPECT_EQ(moves, 1);
    DrawingList list;
    tools.draw(list);
    ASSERT_EQ(list.elements.size(), 1u);
    EXPECT_EQ(list.elements[0].kind, DrawKind::Disc);
    EXPECT_EQ(list.elements[0].part, 3u);
    EXPECT_EQ(list.elements[0].transform.offset, (Vector3{0, 0, 0.5}));
    EXPECT_TRUE(messages.empty());
}

TEST_F(ModuleToolTests, ObjectsOfACallAreDeafAfterIt)
{
    Stack kept;
    CZxObject adjust, translate, raycast;
    calls["buttonDown"] = [&](const Stack& stack, ZxObject* other) {
        kept = stack;
        adjust.share(other);
        translate = packet<ZxEventTranslatePacketTable>(stack, "toolEventTranslate");
        raycast = packet<ZxRaycastPacketTable>(stack, "ToolRaycast");
        EXPECT_TRUE(failed(stack.call<&ZxVectorStackTable::record>(offset("ToolRaycast"), nullptr)));
        return kZxOk;
    };
    drag(410, 300);
    const void* found = nullptr;
    double three[3] = {};
    ZxObject* item = nullptr;
    ZxRayHit hit;
    EXPECT_EQ(kept.call<&ZxVectorStackTable::record>(offset("ToolViewEvent"), &found), kZxNotAvailable);
    EXPECT_EQ(faceOf<ZxAdjustToolTable>(adjust.object(), kZxIdAdjustTool)
                  .call<&ZxAdjustToolTable::requestEvaluation>(),
              kZxFailure); // it can't even be asked
    const auto* table = reinterpret_cast<const ZxEventTranslatePacketTable*>(translate.object()->table);
    EXPECT_EQ(table->viewDirection(translate.object(), three), kZxNotAvailable);
    const auto* rays = reinterpret_cast<const ZxRaycastPacketTable*>(raycast.object()->table);
    EXPECT_EQ(rays->polygonHit(raycast.object(), &item, &hit), kZxNotAvailable);
}

TEST_F(ModuleToolTests, DrawingMayReadAndNotWriteAndEventsMayWriteAndNotDraw)
{
    begin();
    Item& joint = make("Joint");
    commit();
    zxresult inDraw = kZxOk, inEvent = kZxFailure;
    const auto add = [&] {
        const auto selection =
            world.context.fetch<&ZxContextTable::service, CZxLocalize<ZxSelectionServiceTable>>(
                &kZxIdSelectionService);
        const auto translation =
            world.context.fetch<&ZxContextTable::service, CZxLocalize<ZxItemPacketTranslationTable>>(
                &kZxIdItemPacketTranslation);
        uint32_t type = 0;
        check(selection.call<&ZxSelectionServiceTable::typeCode>("item", &type));
        const auto packet = selection.fetch<&ZxSelectionServiceTable::recent, CZxObject>(type);
        const auto item = translation.fetch<&ZxItemPacketTranslationTable::item, CZxObject>(packet.object());
        ZxObject* made = nullptr;
        const zxresult result = faceOf<ZxLocatorPoseTable>(item.object(), kZxIdLocatorPose)
                                    .call<&ZxLocatorPoseTable::addTransformItem>(2u, &made);
        CZxObject holder;
        holder.adopt(made);
        return result;
    };
    ASSERT_TRUE(host.selection().select(packetOf(joint)).ok());
    calls["hitTest"] = [&](const Stack&, ZxObject*) {
        inDraw = add();
        return kZxOk;
    };
    calls["buttonDown"] = [&](const Stack&, ZxObject*) {
        inEvent = add();
        return kZxOk;
    };
    const std::string before = scene.digest();
    drag(410, 300);
    EXPECT_EQ(inDraw, kZxNotAvailable);
    EXPECT_EQ(inEvent, kZxOk);
    EXPECT_TRUE(joint.transformItem(TransformKind::Position));
    ASSERT_TRUE(scene.journal().undo().ok());
    EXPECT_EQ(scene.digest(), before);
}

TEST_F(ModuleToolTests, AClickOnAMeshFindsTheWeightsOfItsJoints)
{
    begin();
    Item& joint = make("Joint");
    MeshData data;
    data.points = {{-1, -1, 0}, {1, -1, 0}, {0, 1, 0}};
    data.triangles = {{1, 2, 0}};
    data.maps = {{"Joint", joint.id(), {}}, {"free", 0, {}}};
    data.weightStarts = {0, 0, 1, 2};
    data.weights = {{0, 0.75f}, {1, 1}};
    ASSERT_TRUE(addSkinnedMesh(scene, data).ok());
    ASSERT_TRUE(scene.rename(joint, "Knee").ok());
    commit();
    std::vector<std::string> found;

    // Visits each map at the first vertex of the polygon that was hit.
    struct Visitor {
        static zxresult query(ZxObject* self, const ZxId* id, ZxObject** out)
        {
            *out = *id == kZxIdVisitor ? self : nullptr;
            return *out ? kZxOk : kZxNotFound;
        }
        static zxresult count(ZxObject*) { return kZxOk; }
        zxresult visit(ZxObject* accessor)
        {
            const auto map = faceOf<ZxMeshMapTable>(accessor, kZxIdMeshMap);
            uint64_t id = 0;
            uint32_t type = 0;
            float weight = -1;
            const char* name = nullptr;
            check(map.call<&ZxMeshMapTable::identifier>(&id));
            check(map.call<&ZxMeshMapTable::type>(&type));
            check(map.call<&ZxMeshMapTable::name>(&name));
            EXPECT_EQ(type, kZxMapWeight);
            const zxresult has = point.call<&ZxPointTable::mapValue>(id, &weight);
            found->push_back(std::string(name) + (isTrue(has) ? " " + std::to_string(weight) : ""));
            return found->size() == stopAt ? kZxAborted : kZxOk;
        }
        CZxLocalize<ZxPointTable> point;
        std::vector<std::string>* found = nullptr;
        std::size_t stopAt = 0;
    } visitor;
    static const ZxVisitorTable table = {
        .object = {.query = &Visitor::query, .addRef = &Visitor::count, .release = &Visitor::count},
        .visit = thunk<Visitor, &Visitor::visit>};
    ZxFace face{{&table.object}, &visitor, nullptr};
    visitor.found = &found;

    calls["buttonDown"] = [&](const Stack& stack, ZxObject*) {
        ZxRayHit hit{};
        ZxObject* object = nullptr;
        check(packet<ZxRaycastPacketTable>(stack, "ToolRaycast")
                  .call<&ZxRaycastPacketTable::polygonHit>(&object, &hit));
        support::Item item;
        item.adopt(object);
        EXPECT_EQ(hit.position[2], 0);
        int32_t channel = -1;
        check(item.call<&ZxItemTable::channelIndex>("mesh", &channel));
        const auto at = item.fetch<&ZxItemTable::scene, support::Scene>();
        const auto read = at.fetch<&ZxSceneTable::channelRead, CZxLocalize<ZxChannelReadTable>>(nullptr, 0.0);
        const auto filter =
            read.fetch<&ZxChannelReadTable::value, CZxLocalize<ZxMeshFilterTable>>(item.object(), channel);
        const auto mesh = filter.fetch<&ZxMeshFilterTable::generate, CZxLocalize<ZxMeshTable>>();
        const auto polygon = mesh.fetch<&ZxMeshTable::polygons, CZxLocalize<ZxPolygonTable>>();
        visitor.point = mesh.fetch<&ZxMeshTable::points, CZxLocalize<ZxPointTable>>();
        const auto maps = mesh.fetch<&ZxMeshTable::maps, CZxLocalize<ZxMeshMapTable>>();
        uint64_t vertex = 0;
        uint32_t type = 0;
        EXPECT_EQ(polygon.call<&ZxPolygonTable::vertexByIndex>(0u, &vertex), kZxNotAvailable);
        EXPECT_EQ(maps.call<&ZxMeshMapTable::type>(&type), kZxNotAvailable);
        check(polygon.call<&ZxPolygonTable::selectHit>(&hit));
        check(polygon.call<&ZxPolygonTable::vertexByIndex>(0u, &vertex));
        EXPECT_EQ(polygon.call<&ZxPolygonTable::vertexByIndex>(3u, &vertex), kZxOutOfRange);
        check(visitor.point.call<&ZxPointTable::select>(vertex));
        double place[3] = {};
        check(visitor.point.call<&ZxPointTable::position>(place));
        EXPECT_EQ(place[0], 1);
        check(maps.call<&ZxMeshMapTable::enumerate>(&face.host));
        visitor.stopAt = 3;
        EXPECT_EQ(maps.call<&ZxMeshMapTable::enumerate>(&face.host), kZxAborted);
        visitor.point.clear();
        return kZxOk;
    };
    drag(400, 310);
    EXPECT_EQ(found, (std::vector<std::string>{"Knee 0.750000", "free", "Knee 0.750000"}));
    EXPECT_TRUE(messages.empty()) << messages[0];
}

TEST_F(ModuleToolTests, ItemsDrawInTheirOwnFrameAndColour)
{
    CZxLocalizedObject kept;
    world.drawItem = [&](const CZxLocalizedObject& read, const CZxLocalizedObject& draw,
                         const float* colour) {
        const auto strokes = faceOf<ZxStrokeDrawTable>(draw.object(), kZxIdStrokeDraw);
        const auto shapes = faceOf<ZxShapeDrawTable>(draw.object(), kZxIdShapeDraw);
        const double zero[] = {0, 0, 0}, one[] = {1, 0, 0};
        EXPECT_TRUE(static_cast<bool>(faceOf<ZxChannelReadTable>(read.object(), kZxIdChannelRead)));
        EXPECT_TRUE(failed(strokes.call<&ZxStrokeDrawTable::vertex>(zero, 0u))); // no stroke yet
        check(strokes.call<&ZxStrokeDrawTable::setPart>(0x88CA6C00u));
        check(strokes.call<&ZxStrokeDrawTable::beginDashed>(kZxStrokeLines, colour, 0.5f, 3.0f, 0xF0F0u));
        check(strokes.call<&ZxStrokeDrawTable::vertex>(zero, 0u));
        check(strokes.call<&ZxStrokeDrawTable::vertex>(one, 0u));
        check(shapes.call<&ZxShapeDrawTable::arc>(colour, 1.0f, zero, 2.0, 0.0, 1.0, 1u, kZxArcFilled));
        kept = draw;
        return kZxFailure; // an item may have nothing more to show
    };
    begin();
    Item& item = make("Marker");
    ASSERT_TRUE(scene.addPackage(item, "fake.package").ok());
    const auto position = scene.addTransformItem(item, TransformKind::Position);
    ASSERT_TRUE(
        scene.writeNumber(*position.value->channel("pos.Y"), Action::Edit, 0, 4, WriteMode::Plain).ok());
    ASSERT_TRUE(scene.setTag(item, tagCode('O', 'V', 'C', 'L'), "r=0.25 g=7 b=0.5").ok());
    commit();
    DrawingList list;
    recordItems(scene, tools.view(), list);
    ASSERT_EQ(list.elements.size(), 2u);
    const DrawElement &line = list.elements[0], &arc = list.elements[1];
    EXPECT_EQ(line.colour, (std::array<float, 3>{0.25f, 1, 0.5f}));
    EXPECT_EQ(line.dashes, 0xF0F0);
    EXPECT_EQ(line.part, 0x88CA6C00u);
    EXPECT_EQ(line.item, item.id());
    EXPECT_EQ(worldOutline(line), (std::vector<Vector3>{{0, 4, 0}, {1, 4, 0}}));
    EXPECT_TRUE(arc.filled);
    const std::vector<Vector3> sector = worldOutline(arc);
    EXPECT_EQ(sector.front(), (Vector3{0, 4, 0}));
    EXPECT_EQ(sector[1], (Vector3{0, 4, 2})); // about y from z to x
    EXPECT_GT(sector[2][0], 0);
    EXPECT_EQ(reinterpret_cast<const ZxStrokeDrawTable*>(kept.object()->table)->setPart(kept.object(), 1),
              kZxNotAvailable);

    begin();
    ASSERT_TRUE(scene.writeNumber(*item.channel("visible"), Action::Edit, 0, 0, WriteMode::Plain).ok());
    commit();
    recordItems(scene, tools.view(), list);
    EXPECT_EQ(list.elements.size(), 2u);
}

TEST_F(ModuleToolTests, EveryHostCallOfAToolMayFailOnceWithoutHarm)
{
    begin();
    Item& joint = make("Joint");
    commit();
    ASSERT_TRUE(host.selection().select(packetOf(joint)).ok());
    calls["move"] = [&](const Stack& stack, ZxObject* adjust) {
        double to[3] = {};
        const double from[3] = {};
        check(packet<ZxEventTranslatePacketTable>(stack, "toolEventTranslate")
                  .call<&ZxEventTranslatePacketTable::newPosition>(from, to));
        return faceOf<ZxAdjustToolTable>(adjust, kZxIdAdjustTool)
            .call<&ZxAdjustToolTable::requestEvaluation>();
    };
    const std::string before = scene.digest();
    for (std::uint64_t n = 1; n < 60; ++n) {
        Modules::of(host).failCall(n);
        if (tools.press(400, 300, *gestureByName("move")).ok()) {
            (void)tools.move(410, 310);
            (void)tools.release(410, 310);
        }
        EXPECT_FALSE(scene.journal().isOpen()) << n;
        EXPECT_EQ(scene.digest(), before) << n;
    }
    Modules::of(host).failCall(0);
    Modules::of(host).unloadAll();
    EXPECT_EQ(world.livingObjects, 0);
    EXPECT_TRUE(tools.inUse().empty());
}

} // namespace
