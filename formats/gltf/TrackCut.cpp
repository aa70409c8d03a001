// SPDX-License-Identifier: MIT
// A stretch of a track, with keys where it is cut.
#include "formats/GltfWriter.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

/// Works on as many numbers a key as there are, so that morph weights can be cut too.
class Cutter {
public:
    explicit Cutter(const GltfTrack& track)
        : m_Track(track),
          m_Parts(track.interpolation == GltfInterpolation::CubicSpline ? 3 : 1),
          m_Row(track.values.size() / track.times.size()),
          m_Width(m_Row / m_Parts),
          m_Out{track.node, track.path, track.interpolation, {}, {}}
    {
    }

    GltfTrack cut(const GltfSpan& span)
    {
        const std::vector<double>& times = m_Track.times;
        if (times.front() > span.to || times.back() < span.from) {
            m_Out.times = {times.front() > span.to ? span.to : span.from};
            append(times.front() > span.to ? 0 : times.size() - 1);
            return std::move(m_Out);
        }
        key(std::max(span.from, times.front()));
        for (std::size_t i = 0; i < times.size(); ++i)
            if (times[i] > m_Out.times.front() && times[i] < span.to)
                copy(i);
        if (const double last = std::min(span.to, times.back()); last > m_Out.times.back())
            key(last);
        return std::move(m_Out);
    }

private:
    void append(std::size_t index)
    {
        const auto row = m_Track.values.begin() + static_cast<std::ptrdiff_t>(index * m_Row);
        m_Out.values.insert(m_Out.values.end(), row, row + static_cast<std::ptrdiff_t>(m_Row));
    }

    void copy(std::size_t index)
    {
        m_Out.times.push_back(m_Track.times[index]);
        append(index);
    }

    /// A key at a time between the first and the last.
    void key(double time)
    {
        const auto after = std::upper_bound(m_Track.times.begin(), m_Track.times.end(), time);
        const auto index = static_cast<std::size_t>(after - m_Track.times.begin()) - 1;
        if (m_Track.times[index] == time || m_Track.interpolation == GltfInterpolation::Step) {
            m_Out.times.push_back(time);
            append(index);
        } else if (m_Parts == 3) {
            spline(index, time);
        } else if (m_Track.path == GltfPath::Rotation && m_Width == 4) {
            addKey(m_Out, time, sampleTrack(m_Track, time));
        } else {
            const double span = m_Track.times[index + 1] - m_Track.times[index];
            const double t = (time - m_Track.times[index]) / span;
            m_Out.times.push_back(time);
            for (std::size_t c = 0; c < m_Width; ++c)
                m_Out.values.push_back(number(index, 0, c) * (1 - t) + number(index + 1, 0, c) * t);
        }
    }

    double number(std::size_t index, std::size_t part, std::size_t component) const
    {
        return m_Track.values[index * m_Row + part * m_Width + component];
    }

    /// A part of a cubic is a cubic: its tangents are the slopes of the whole where it is cut,
    /// ((6t2 - 6t) v0 + (6t - 6t2) v1) / span + (3t2 - 4t + 1) out0 + (3t2 - 2t) in1.
    void spline(std::size_t index, double time)
    {
        const double span = m_Track.times[index + 1] - m_Track.times[index];
        const double t = (time - m_Track.times[index]) / span, t2 = t * t, t3 = t2 * t;
        std::vector<double> values, slopes;
        for (std::size_t c = 0; c < m_Width; ++c) {
            const double v0 = number(index, 1, c), v1 = number(index + 1, 1, c);
            const double out0 = number(index, 2, c), in1 = number(index + 1, 0, c);
            values.push_back((2 * t3 - 3 * t2 + 1) * v0 + (3 * t2 - 2 * t3) * v1
                             + span * ((t3 - 2 * t2 + t) * out0 + (t3 - t2) * in1));
            slopes.push_back((6 * t2 - 6 * t) * (v0 - v1) / span + (3 * t2 - 4 * t + 1) * out0
                             + (3 * t2 - 2 * t) * in1);
        }
        double length = 1; // a key of a rotation has to be of unit length
        if (m_Track.path == GltfPath::Rotation && m_Width == 4)
            length = std::hypot(std::hypot(values[0], values[1], values[2]), values[3]);
        m_Out.times.push_back(time);
        for (const std::vector<double>* part : {&slopes, &values, &slopes})
            for (const double value : *part)
                m_Out.values.push_back(length > 1e-6 ? value / length : value);
    }

    const GltfTrack& m_Track;
    std::size_t m_Parts; // of a key
    std::size_t m_Row; // numbers a key
    std::size_t m_Width;
    GltfTrack m_Out;
};

} // namespace

GltfTrack cutTrack(const GltfTrack& track, const GltfSpan& span)
{
    if (track.times.empty() || (track.times.front() >= span.from && track.times.back() <= span.to))
        return track;
    return Cutter(track).cut(span);
}

} // namespace formats
