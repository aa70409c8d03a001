// SPDX-License-Identifier: MIT
// Operations of the double-precision 4x4 matrix.
#include <sinew/Matrix4d.h>

#include <utility>

namespace Sinew {

Matrix4d product(const Matrix4d& a, const Matrix4d& b)
{
    Matrix4d r;
    for (std::uint32_t i = 0; i < 4; ++i)
        for (std::uint32_t j = 0; j < 4; ++j)
            r[i][j] = ((a[i][0] * b[0][j] + a[i][1] * b[1][j]) + a[i][2] * b[2][j]) + a[i][3] * b[3][j];
    return r;
}

void Matrix4d::multiply(const Matrix4d& b) { *this = product(*this, b); }

bool Matrix4d::invert()
{
    // Laplace expansion: 2x2 minors of the upper two rows (s) and of the lower two (c).
    const double s0 = m[0] * m[5] - m[4] * m[1], s1 = m[0] * m[6] - m[4] * m[2],
                 s2 = m[0] * m[7] - m[4] * m[3];
    const double s3 = m[1] * m[6] - m[5] * m[2], s4 = m[1] * m[7] - m[5] * m[3],
                 s5 = m[2] * m[7] - m[6] * m[3];
    const double c0 = m[8] * m[13] - m[12] * m[9], c1 = m[8] * m[14] - m[12] * m[10];
    const double c2 = m[8] * m[15] - m[12] * m[11], c3 = m[9] * m[14] - m[13] * m[10];
    const double c4 = m[9] * m[15] - m[13] * m[11], c5 = m[10] * m[15] - m[14] * m[11];
    const double determinant = s0 * c5 - s1 * c4 + s2 * c3 + s3 * c2 - s4 * c1 + s5 * c0;
    // Written so that NaN counts as singular.
    if (!(std::fabs(determinant) > 1e-5))
        return false;
    const double f = 1.0 / determinant;
    const Matrix4d a = *this;
    m[0] = (a.m[5] * c5 - a.m[6] * c4 + a.m[7] * c3) * f;
    m[1] = (-a.m[1] * c5 + a.m[2] * c4 - a.m[3] * c3) * f;
    m[2] = (a.m[13] * s5 - a.m[14] * s4 + a.m[15] * s3) * f;
    m[3] = (-a.m[9] * s5 + a.m[10] * s4 - a.m[11] * s3) * f;
    m[4] = (-a.m[4] * c5 + a.m[6] * c2 - a.m[7] * c1) * f;
    m[5] = (a.m[0] * c5 - a.m[2] * c2 + a.m[3] * c1) * f;
    m[6] = (-a.m[12] * s5 + a.m[14] * s2 - a.m[15] * s1) * f;
    m[7] = (a.m[8] * s5 - a.m[10] * s2 + a.m[11] * s1) * f;
    m[8] = (a.m[4] * c4 - a.m[5] * c2 + a.m[7] * c0) * f;
    m[9] = (-a.m[0] * c4 + a.m[1] * c2 - a.m[3] * c0) * f;
    m[10] = (a.m[12] * s4 - a.m[13] * s2 + a.m[15] * s0) * f;
    m[11] = (-a.m[8] * s4 + a.m[9] * s2 - a.m[11] * s0) * f;
    m[12] = (-a.m[4] * c3 + a.m[5] * c1 - a.m[6] * c0) * f;
    m[13] = (a.m[0] * c3 - a.m[1] * c1 + a.m[2] * c0) * f;
    m[14] = (-a.m[12] * s3 + a.m[13] * s1 - a.m[14] * s0) * f;
    m[15] = (a.m[8] * s3 - a.m[9] * s1 + a.m[10] * s0) * f;
    return true;
}

void Matrix4d::set3x3(const double* nine)
{
    for (std::uint32_t r = 0; r < 3; ++r)
        for (std::uint32_t c = 0; c < 3; ++c)
            (*this)[c][r] = nine[3 * r + c];
}

void Matrix4d::get3x3(double* nine) const
{
    for (std::uint32_t r = 0; r < 3; ++r)
        for (std::uint32_t c = 0; c < 3; ++c)
            nine[3 * r + c] = (*this)[c][r];
}

void Matrix4d::transpose3x3()
{
    std::swap(m[1], m[4]);
    std::swap(m[2], m[8]);
    std::swap(m[6], m[9]);
}

void Matrix4d::setTranslation(double x, double y, double z)
{
    m[12] = x;
    m[13] = y;
    m[14] = z;
}

Matrix4d rotation(double degrees, double x, double y, double z)
{
    const double angle = degrees * (3.14159265358979323846 / 180.0);
    const double c = std::cos(angle), s = std::sin(angle), t = 1.0 - c;
    Matrix4d r;
    r[0][0] = x * x * t + c;
    r[0][1] = x * y * t + z * s;
    r[0][2] = x * z * t - y * s;
    r[1][0] = x * y * t - z * s;
    r[1][1] = y * y * t + c;
    r[1][2] = y * z * t + x * s;
    r[2][0] = x * z * t + y * s;
    r[2][1] = y * z * t - x * s;
    r[2][2] = z * z * t + c;
    return r;
}

Matrix4d axisRotation(double radians, std::uint32_t axis)
{
    const std::uint32_t j = axis == 0 ? 1 : axis == 1 ? 2 : 0, k = axis == 0 ? 2 : axis == 1 ? 0 : 1;
    Matrix4d r;
    r[j][j] = r[k][k] = std::cos(radians);
    r[k][j] = std::sin(radians);
    r[j][k] = -r[k][j];
    return r;
}

Matrix4d fromEngineMatrix(const SinewMatrix& matrix)
{
    Matrix4d r;
    for (std::uint32_t i = 0; i < 3; ++i)
        for (std::uint32_t j = 0; j < 3; ++j)
            r[i][j] = static_cast<double>(matrix[j][i]);
    return r;
}

} // namespace Sinew
