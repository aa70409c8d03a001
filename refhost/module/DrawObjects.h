// SPDX-License-Identifier: MIT
// Drawing as modules see it: strokes, shapes and the view, recorded into a list.
#pragma once

#include "module/HostBinding.h"
#include "refhost/Recorder.h"

#include <zx/ZxDraw.h>

namespace refhost {

class DrawObject;

class ShapeDrawPart final : public ObjectPart {
public:
    explicit ShapeDrawPart(DrawObject& owner);

    zxresult circle(const float* colour, float alpha, const double* centre, double radius, uint32_t axis,
                    uint32_t flags);
    zxresult arc(const float* colour, float alpha, const double* centre, double radius, double start,
                 double end, uint32_t axis, uint32_t flags);
    zxresult handle(const double* centre, const float* colour, const double* offset, double radius,
                    uint32_t axis, uint32_t flags);

    static const ZxShapeDrawTable kTable;
};

class ViewPart final : public ObjectPart {
public:
    explicit ViewPart(DrawObject& owner);

    zxresult type(int32_t* type);
    zxresult facing(double* nine);
    zxresult pixelSize(double* size);

    static const ZxViewTable kTable;
};

/// Lasts for one call of a drawer.
class DrawObject final : public HostObject {
public:
    DrawObject(HostBinding& binding, Recorder& recorder);

    Recorder& recorder() const { return m_Recorder; }
    ZxObject* faceOf(const ZxId& id) override;

    zxresult begin(uint32_t mode, const float* colour, float alpha, float width);
    zxresult beginDashed(uint32_t mode, const float* colour, float alpha, float width, uint32_t pattern);
    zxresult beginPoints(float size, const float* colour, float alpha);
    zxresult vertex(const double* three, uint32_t flags);
    zxresult setPart(uint32_t part);
    zxresult pushTransform(const double* offset, const double* nine);
    zxresult popTransform();

    static const ZxStrokeDrawTable kTable;

private:
    Recorder& m_Recorder; // not touched once this is gone
    ShapeDrawPart m_Shapes{*this};
    ViewPart m_View{*this};
};

} // namespace refhost
