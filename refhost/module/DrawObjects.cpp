// SPDX-License-Identifier: MIT
// Drawing: what each operation answers, and the items that draw themselves.
#include "module/DrawObjects.h"

#include "module/PackageInstances.h"
#include "module/SceneObjects.h"
#include "module/ToolObjects.h"
#include "refhost/Modules.h"
#include "refhost/View.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace refhost {
namespace {

constexpr DrawKind kStrokeKinds[] = {DrawKind::Points, DrawKind::LineStrip, DrawKind::Lines,
                                     DrawKind::Triangles};
constexpr std::array<float, 3> kItemColour = {0.55f, 0.6f, 0.7f};
constexpr TagCode kColourTag = tagCode('O', 'V', 'C', 'L');

std::array<float, 3> rgb(const float* colour) { return {colour[0], colour[1], colour[2]}; }
Vector3 triple(const double* three) { return {three[0], three[1], three[2]}; }
zxresult taken(bool yes) { return yes ? kZxOk : kZxInvalidArgument; }

DrawElement shapeOf(DrawKind kind, const float* colour, float alpha, const Vector3& centre, double radius,
                    uint32_t axis)
{
    DrawElement shape;
    shape.kind = kind;
    shape.colour = rgb(colour);
    shape.alpha = alpha;
    shape.centre = centre;
    shape.radius = radius;
    shape.axis = axis < 3 ? static_cast<int>(axis) : -1; // which the recorder refuses
    return shape;
}

} // namespace

DrawObject::DrawObject(HostBinding& binding, Recorder& recorder)
    : HostObject(binding, nullptr, kZxIdStrokeDraw, "StrokeDraw", kTable.object, this), m_Recorder(recorder)
{
}

ZxObject* DrawObject::faceOf(const ZxId& id)
{
    if (id == kZxIdShapeDraw)
        return m_Shapes.face();
    return id == kZxIdView ? m_View.face() : nullptr;
}

zxresult DrawObject::begin(uint32_t mode, const float* colour, float alpha, float width)
{
    return beginDashed(mode, colour, alpha, width, 0xffff);
}

zxresult DrawObject::beginDashed(uint32_t mode, const float* colour, float alpha, float width,
                                 uint32_t pattern)
{
    return taken(
        mode < std::size(kStrokeKinds) && pattern <= 0xffff
        && m_Recorder.begin(kStrokeKinds[mode], rgb(colour), alpha, width, static_cast<uint16_t>(pattern)));
}

zxresult DrawObject::beginPoints(float size, const float* colour, float alpha)
{
    return begin(kZxStrokePoints, colour, alpha, size);
}

zxresult DrawObject::vertex(const double* three, uint32_t) { return taken(m_Recorder.vertex(triple(three))); }

zxresult DrawObject::setPart(uint32_t part)
{
    m_Recorder.setPart(part);
    return kZxOk;
}

zxresult DrawObject::pushTransform(const double* offset, const double* nine)
{
    Matrix34 transform;
    std::copy_n(nine, 9, &transform.linear.m[0][0]);
    transform.offset = triple(offset);
    return taken(m_Recorder.push(transform));
}

zxresult DrawObject::popTransform() { return m_Recorder.pop() ? kZxOk : kZxNotAvailable; }

constinit const ZxStrokeDrawTable DrawObject::kTable = {
    .object = HostObject::kOps,
    .begin = hostSlot<DrawObject, &DrawObject::begin, kDrawPhase>,
    .beginDashed = hostSlot<DrawObject, &DrawObject::beginDashed, kDrawPhase>,
    .beginPoints = hostSlot<DrawObject, &DrawObject::beginPoints, kDrawPhase>,
    .vertex = hostSlot<DrawObject, &DrawObject::vertex, kDrawPhase>,
    .setPart = hostSlot<DrawObject, &DrawObject::setPart, kDrawPhase>,
    .pushTransform = hostSlot<DrawObject, &DrawObject::pushTransform, kDrawPhase>,
    .popTransform = hostSlot<DrawObject, &DrawObject::popTransform, kDrawPhase>,
};

ShapeDrawPart::ShapeDrawPart(DrawObject& owner) : ObjectPart(owner, kTable.object, this) { }

zxresult ShapeDrawPart::circle(const float* colour, float alpha, const double* centre, double radius,
                               uint32_t axis, uint32_t)
{
    return taken(static_cast<DrawObject&>(owner()).recorder().shape(
        shapeOf(DrawKind::Circle, colour, alpha, triple(centre), radius, axis)));
}

zxresult ShapeDrawPart::arc(const float* colour, float alpha, const double* centre, double radius,
                            double start, double end, uint32_t axis, uint32_t flags)
{
    DrawElement shape = shapeOf(DrawKind::Arc, colour, alpha, triple(centre), radius, axis);
    shape.start = start;
    shape.end = end;
    shape.filled = (flags & kZxArcFilled) != 0;
    return taken(static_cast<DrawObject&>(owner()).recorder().shape(std::move(shape)));
}

zxresult ShapeDrawPart::handle(const double* centre, const float* colour, const double* offset, double radius,
                               uint32_t axis, uint32_t)
{
    const Vector3 at{centre[0] + offset[0], centre[1] + offset[1], centre[2] + offset[2]};
    DrawElement shape = shapeOf(DrawKind::Disc, colour, 1, at, radius, axis);
    shape.filled = true;
    return taken(static_cast<DrawObject&>(owner()).recorder().shape(std::move(shape)));
}

constinit const ZxShapeDrawTable ShapeDrawPart::kTable = {
    .object = HostObject::kOps,
    .circle = hostSlot<ShapeDrawPart, &ShapeDrawPart::circle, kDrawPhase>,
    .arc = hostSlot<ShapeDrawPart, &ShapeDrawPart::arc, kDrawPhase>,
    .handle = hostSlot<ShapeDrawPart, &ShapeDrawPart::handle, kDrawPhase>,
};

ViewPart::ViewPart(DrawObject& owner) : ObjectPart(owner, kTable.object, this) { }

zxresult ViewPart::type(int32_t* type)
{
    *type = 0;
    return kZxOk;
}

zxresult ViewPart::facing(double* nine)
{
    const Matrix33& axes = static_cast<DrawObject&>(owner()).recorder().view().axes;
    std::copy_n(&axes.m[0][0], 9, nine);
    return kZxOk;
}

zxresult ViewPart::pixelSize(double* size)
{
    *size = static_cast<DrawObject&>(owner()).recorder().pixelSize();
    return kZxOk;
}

constinit const ZxViewTable ViewPart::kTable = {
    .object = HostObject::kOps,
    .type = hostSlot<ViewPart, &ViewPart::type, kDrawPhase>,
    .facing = hostSlot<ViewPart, &ViewPart::facing, kDrawPhase>,
    .pixelSize = hostSlot<ViewPart, &ViewPart::pixelSize, kDrawPhase>,
};

// Items

std::array<float, 3> itemColour(const Item& item)
{
    std::array<float, 3> colour = kItemColour;
    const std::string* tag = item.tags().find(kColourTag);
    std::istringstream words(tag ? *tag : std::string());
    for (std::string word; words >> word;) {
        const std::size_t channel = word.size() > 2 && word[1] == '=' ? std::string("rgb").find(word[0]) : 3;
        if (channel >= colour.size())
            continue;
        std::istringstream number(word.substr(2));
        number.imbue(std::locale::classic());
        float value = 0;
        if (number >> value)
            colour[channel] = std::clamp(value, 0.0f, 1.0f);
    }
    return colour;
}

void recordItems(Scene& scene, const View& view, DrawingList& list, std::optional<double> timeSeconds)
{
    Modules* modules = scene.host().attachments().find<Modules>();
    if (!modules)
        return;
    const double time = timeSeconds.value_or(scene.time());
    HostBinding& binding = modules->binding();
    Evaluation& evaluation = Evaluation::of(scene);
    const HeldObject read(
        binding.make<ChannelReadObject>(scene, scene.evaluatedLayer(), time, evaluation.read(time)));
    for (Item* item : scene.items()) {
        const std::vector<ZxObject*> instances = binding.instances().on(*item);
        Channel* place = item->channel("worldMatrix");
        Channel* visible = item->channel("visible");
        Matrix34 world;
        if (instances.empty() || !place || !evaluation.matrix(*place, time, world)
            || (visible && evaluation.integer(*visible, time) == 0))
            continue;
        const std::array<float, 3> colour = itemColour(*item);
        for (ZxObject* instance : instances) {
            CZxLocalize<ZxViewItem3DTable> drawer;
            if (failed(drawer.query(instance, kZxIdViewItem3D)))
                continue;
            const PhaseScope phase(binding, kDrawPhase);
            Recorder recorder(list, view, world, item->id());
            const CallObject draw(binding.make<DrawObject>(recorder));
            // An item that has nothing to show may answer a failure.
            (void)drawer.call<&ZxViewItem3DTable::draw>(read.face(), draw.face(), colour.data());
        }
    }
}

} // namespace refhost
