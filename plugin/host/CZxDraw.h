// SPDX-License-Identifier: MIT
// Drawing into the host's views, and what items that draw themselves implement.
#pragma once

#include "host/HostTie.h"

#include <glue/Reference.h>
#include <zx/ZxDraw.h>

/// Red, green and blue, 0 to 1.
struct Colour {
    float rgb[3];
};

class CZxUser_View : public CZxLocalize<ZxViewTable> {
public:
    explicit CZxUser_View(ZxObject* draw) { query(draw, kZxIdView); }

    /// Negative when there is no view.
    int32_t type() const
    {
        int32_t type = -1;
        return succeeded(call<&ZxViewTable::type>(&type)) ? type : -1;
    }
    zxresult facing(double* nine) const { return call<&ZxViewTable::facing>(nine); }
    /// 0 when the view doesn't tell.
    double pixelSize() const
    {
        double size = 0;
        return succeeded(call<&ZxViewTable::pixelSize>(&size)) ? size : 0;
    }
};

/// Strokes; what the host refuses is not drawn.
class CZxUser_StrokeDraw : public CZxLocalize<ZxStrokeDrawTable> {
public:
    explicit CZxUser_StrokeDraw(ZxObject* draw) { query(draw, kZxIdStrokeDraw); }

    void begin(uint32_t mode, const Colour& colour, float alpha, float width) const
    {
        call<&ZxStrokeDrawTable::begin>(mode, &colour.rgb[0], alpha, width);
    }
    void beginDashed(uint32_t mode, const Colour& colour, float alpha, float width, uint32_t pattern) const
    {
        call<&ZxStrokeDrawTable::beginDashed>(mode, &colour.rgb[0], alpha, width, pattern);
    }
    void beginPoints(float size, const Colour& colour, float alpha) const
    {
        call<&ZxStrokeDrawTable::beginPoints>(size, &colour.rgb[0], alpha);
    }
    void vertex(const double* three) const { call<&ZxStrokeDrawTable::vertex>(three, 0u); }
    void setPart(uint32_t part) const { call<&ZxStrokeDrawTable::setPart>(part); }
    void pushTransform(const double* offset, const double* nine) const
    {
        call<&ZxStrokeDrawTable::pushTransform>(offset, nine);
    }
    void popTransform() const { call<&ZxStrokeDrawTable::popTransform>(); }
};

/// Shapes; what the host refuses is not drawn.
class CZxUser_ShapeDraw : public CZxLocalize<ZxShapeDrawTable> {
public:
    explicit CZxUser_ShapeDraw(ZxObject* draw) { query(draw, kZxIdShapeDraw); }

    void circle(const Colour& colour, float alpha, const double* centre, double radius, uint32_t axis) const
    {
        call<&ZxShapeDrawTable::circle>(&colour.rgb[0], alpha, centre, radius, axis, 0u);
    }
    void arc(const Colour& colour, float alpha, const double* centre, double radius, double start, double end,
             uint32_t axis, uint32_t flags) const
    {
        call<&ZxShapeDrawTable::arc>(&colour.rgb[0], alpha, centre, radius, start, end, axis, flags);
    }
    void handle(const double* centre, const Colour& colour, const double* offset, double radius,
                uint32_t axis) const
    {
        call<&ZxShapeDrawTable::handle>(centre, &colour.rgb[0], offset, radius, axis, 0u);
    }
};

class CZxImpl_ViewItem3D {
public:
    virtual ~CZxImpl_ViewItem3D() = default;
    virtual zxresult draw(ZxObject*, ZxObject*, const float*) { return kZxOk; }
    virtual zxresult drawBackground(ZxObject*, ZxObject*, const float*) { return kZxOk; }
    virtual zxresult drawsInWorld() { return kZxFalse; }
    virtual zxresult bounds(ZxObject*, double*, double*) { return kZxNotFound; }
    virtual zxresult handleCount(uint32_t* count)
    {
        *count = 0;
        return kZxOk;
    }
    virtual zxresult handle(ZxObject*, uint32_t, uint32_t*, double*) { return kZxOutOfRange; }
    virtual zxresult handleChannel(uint32_t, int32_t*) { return kZxNotFound; }
    virtual zxresult handleValue(ZxObject*, uint32_t, const double*, double*) { return kZxNotFound; }
    virtual zxresult icon(const char**) { return kZxNotFound; }

    static constexpr const ZxId& id = kZxIdViewItem3D;
    template <class T>
    static constexpr ZxViewItem3DTable makeTable()
    {
        return {.object = {},
                .draw = tiedThunk<T, &CZxImpl_ViewItem3D::draw>,
                .drawBackground = tiedThunk<T, &CZxImpl_ViewItem3D::drawBackground>,
                .drawsInWorld = tiedThunk<T, &CZxImpl_ViewItem3D::drawsInWorld>,
                .bounds = tiedThunk<T, &CZxImpl_ViewItem3D::bounds>,
                .handleCount = tiedThunk<T, &CZxImpl_ViewItem3D::handleCount>,
                .handle = tiedThunk<T, &CZxImpl_ViewItem3D::handle>,
                .handleChannel = tiedThunk<T, &CZxImpl_ViewItem3D::handleChannel>,
                .handleValue = tiedThunk<T, &CZxImpl_ViewItem3D::handleValue>,
                .icon = tiedThunk<T, &CZxImpl_ViewItem3D::icon>};
    }
};
template <class T>
using CZxIfc_ViewItem3D = CZxAdapter<CZxImpl_ViewItem3D, T>;
