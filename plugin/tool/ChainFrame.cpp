// SPDX-License-Identifier: MIT
// The space above the chain of a drag.
#include "tool/ChainFrame.h"

#include <algorithm>

using Sinew::Matrix4d;

ChainFrame::ChainFrame(const double* position, const Matrix4d& rotation, const double* scale)
    : m_World(rotation), m_RotationInverse(rotation)
{
    std::copy_n(scale, 3, m_Scale);
    m_RotationInverse.invert();
    for (uint32_t r = 0; r < 3; ++r)
        for (uint32_t c = 0; c < 3; ++c)
            m_World[r][c] *= scale[r];
    m_World.setTranslation(position[0], position[1], position[2]);
}

void ChainFrame::toChain(const double* world, double* local) const
{
    // World = scale, then rotation, then position; taken back one by one, since a small scale is no reason to
    // miss.
    turnToChain(world, local);
    for (uint32_t c = 0; c < 3; ++c)
        local[c] /= m_Scale[c];
}

void ChainFrame::turnToChain(const double* world, double* local) const
{
    const double* place = m_World[3];
    const double moved[3] = {world[0] - place[0], world[1] - place[1], world[2] - place[2]};
    for (uint32_t c = 0; c < 3; ++c)
        local[c] = moved[0] * m_RotationInverse[0][c] + moved[1] * m_RotationInverse[1][c]
            + moved[2] * m_RotationInverse[2][c];
}

Matrix4d ChainFrame::toChain(const Matrix4d& rotation) const { return product(rotation, m_RotationInverse); }
