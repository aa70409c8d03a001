// SPDX-License-Identifier: MIT
// Chooses interpolation and times of a track from the keys of three channels.
#include "files/KeyedTrack.h"

#include "formats/GltfWriter.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace refhost {
namespace {

using formats::GltfInterpolation;
using formats::GltfPath;
using formats::GltfTrack;
using Value = std::array<double, 4>;

constexpr double kPi = 3.14159265358979323846;
constexpr double kTolerance =
    kPi / 180; // how far a new track may be from the scene between two keys; radians
constexpr double kLongestTurn =
    0.95 * kPi; // from key to key: beyond half a circle players take the other way
constexpr double kShortest = 1e-3; // seconds between keys that are added
constexpr double kProbes[] = {0.25, 0.5, 0.75};

class KeyedTrack {
public:
    KeyedTrack(const ExportJoint& joint, GltfPath path, const GltfTrack* original)
        : m_Joint(joint), m_Path(path), m_Original(original)
    {
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (const Channel* channel = vectorChannel(*joint.item, property(), axis))
                if (!channel->keys(Layer::Anim).empty())
                    m_Channels.push_back(channel);
    }

    GltfTrack make(int node, const std::vector<double>& times, double start)
    {
        GltfTrack track{node, m_Path, GltfInterpolation::Linear, {}, {}};
        const std::vector<double> keys = keyTimes(*m_Joint.item);
        if (keys.empty()) {
            add(track, start);
            return track;
        }
        if (all(Interpolation::Step))
            track.interpolation = GltfInterpolation::Step;
        if (!times.empty())
            addAll(track, times);
        else if (track.interpolation == GltfInterpolation::Step)
            addAll(track, keys);
        else if (isSpline())
            spline(track);
        else if (rotation() && m_Original && m_Joint.fresh && all(Interpolation::Linear))
            turns(track, keys);
        else
            addAll(track, refined(keys));
        return track;
    }

private:
    std::size_t property() const { return static_cast<std::size_t>(m_Path); }
    bool rotation() const { return m_Path == GltfPath::Rotation; }

    Value valueOf(const Item& item, double time) const
    {
        const LocalPart part = spokenPart(item, time);
        if (rotation())
            return part.rotation;
        const Vector3& vector = m_Path == GltfPath::Translation ? part.translation : part.scale;
        return {vector[0], vector[1], vector[2], 0};
    }

    /// Where the scene says what the file says, the file's own numbers.
    Value valueAt(double time) const
    {
        const Value value = valueOf(*m_Joint.item, time);
        if (rotation() && m_Original && m_Joint.fresh && value == valueOf(*m_Joint.fresh, time)) {
            const auto found = std::find(m_Original->times.begin(), m_Original->times.end(), time);
            if (found != m_Original->times.end()) {
                const bool cubic = m_Original->interpolation == GltfInterpolation::CubicSpline;
                const auto key = static_cast<std::size_t>(found - m_Original->times.begin());
                Value own;
                std::copy_n(m_Original->values.begin()
                                + static_cast<std::ptrdiff_t>((cubic ? key * 3 + 1 : key) * 4),
                            4, own.begin());
                return own;
            }
        }
        return value;
    }

    void add(GltfTrack& track, double time) const
    {
        const Value value = valueAt(time);
        if (rotation())
            formats::addKey(track, time, value);
        else
            formats::addKey(track, time, std::array<double, 3>{value[0], value[1], value[2]});
    }

    void addAll(GltfTrack& track, const std::vector<double>& times) const
    {
        for (const double time : times)
            add(track, time);
    }

    /// All times at which an axis has a key.
    std::vector<double> keyTimes(const Item& item) const
    {
        std::set<double> times;
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (const Channel* channel = vectorChannel(item, property(), axis))
                for (const Key& key : channel->keys(Layer::Anim).keys())
                    times.insert(key.time);
        std::vector<double> out;
        for (const double time : times)
            if (out.empty() || !sameTime(out.back(), time))
                out.push_back(time);
        return out;
    }

    /// A rotation at the file's times, and at those where the user has set keys. What the import put between
    /// them for the angles' sake is nobody's key.
    void turns(GltfTrack& track, const std::vector<double>& keys) const
    {
        std::vector<double> times;
        for (const double time : keys)
            if (std::binary_search(m_Original->times.begin(), m_Original->times.end(), time)
                || !sameAngles(time))
                times.push_back(time);
        if (times.empty())
            times = keys;
        if (m_Original->interpolation == GltfInterpolation::CubicSpline) {
            track.interpolation = GltfInterpolation::CubicSpline;
            for (const double time : times)
                addSplineKey(track, time);
            return;
        }
        double last = times.front();
        for (const double time : times) {
            const double parts = std::ceil(largestTurn(last, time) / kLongestTurn);
            for (double i = 1; i < parts; ++i)
                add(track, last + (time - last) * i / parts);
            add(track, time);
            last = time;
        }
    }

    Vector3 angles(const Item& item, double time) const
    {
        Vector3 out{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (const Channel* channel = vectorChannel(item, 1, axis))
                out[axis] = channel->number(Layer::Anim, time);
        return out;
    }
    bool sameAngles(double time) const { return angles(*m_Joint.item, time) == angles(*m_Joint.fresh, time); }
    double largestTurn(double from, double to) const
    {
        const Vector3 a = angles(*m_Joint.item, from), b = angles(*m_Joint.item, to);
        double largest = 0;
        for (std::size_t axis = 0; axis < 3; ++axis)
            largest = std::max(largest, std::abs(b[axis] - a[axis]));
        return largest;
    }

    /// The original's value and slopes at a time, all turned to the value that the scene has there.
    void addSplineKey(GltfTrack& track, double time) const
    {
        const GltfTrack at = formats::cutTrack(*m_Original, {time, time});
        const Value value = valueAt(time);
        Value old;
        std::copy_n(at.values.begin() + 4, 4, old.begin());
        const Value turn = product(value, {-old[0], -old[1], -old[2], old[3]});
        track.times.push_back(time);
        for (std::size_t part = 0; part < 3; ++part) {
            Value own;
            std::copy_n(at.values.begin() + static_cast<std::ptrdiff_t>(part * 4), 4, own.begin());
            const Value turned = value == old ? own : part == 1 ? value : product(turn, own);
            track.values.insert(track.values.end(), turned.begin(), turned.end());
        }
    }

    static Value product(const Value& a, const Value& b)
    {
        return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
                a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
                a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
                a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
    }

    bool all(Interpolation interpolation) const
    {
        return std::all_of(m_Channels.begin(), m_Channels.end(), [&](const Channel* channel) {
            const std::vector<Key>& keys = channel->keys(Layer::Anim).keys();
            return std::all_of(keys.begin(), keys.end() - (keys.size() > 1 ? 1 : 0),
                               [&](const Key& key) { return key.interpolation == interpolation; });
        });
    }

    /// Whether the axes are cubics with keys at the same times, which is what a spline of glTF is.
    bool isSpline() const
    {
        if (rotation() || !all(Interpolation::Cubic))
            return false;
        const std::vector<Key>& first = m_Channels.front()->keys(Layer::Anim).keys();
        return std::all_of(m_Channels.begin(), m_Channels.end(), [&](const Channel* channel) {
            const std::vector<Key>& keys = channel->keys(Layer::Anim).keys();
            return std::equal(keys.begin(), keys.end(), first.begin(), first.end(),
                              [](const Key& a, const Key& b) { return a.time == b.time; });
        });
    }

    void spline(GltfTrack& track) const
    {
        track.interpolation = GltfInterpolation::CubicSpline;
        const std::vector<Key>& first = m_Channels.front()->keys(Layer::Anim).keys();
        for (std::size_t i = 0; i < first.size(); ++i) {
            Vector3 in{}, out{};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const Channel* channel = vectorChannel(*m_Joint.item, property(), axis);
                if (!channel || channel->keys(Layer::Anim).empty())
                    continue;
                const Key& key = channel->keys(Layer::Anim).keys()[i];
                in[axis] = key.inSlope;
                out[axis] = key.outSlope;
            }
            track.values.insert(track.values.end(), in.begin(), in.end());
            add(track, first[i].time);
            track.values.insert(track.values.end(), out.begin(), out.end());
        }
    }

    /// How far straight interpolation between two keys is from the curve at a time between them.
    double errorAt(double from, double to, double time) const
    {
        GltfTrack pair{0, m_Path, GltfInterpolation::Linear, {}, {}};
        add(pair, from);
        add(pair, to);
        const Value straight = formats::sampleTrack(pair, time), curve = valueOf(*m_Joint.item, time);
        double same = 0, other = 0, size = 0;
        for (std::size_t c = 0; c < 4; ++c) {
            same += (straight[c] - curve[c]) * (straight[c] - curve[c]);
            other += (straight[c] + curve[c]) * (straight[c] + curve[c]);
            size += curve[c] * curve[c];
        }
        if (rotation())
            return 2 * std::sqrt(std::min(same, other)); // small angles are what matters
        return std::sqrt(same) / std::max(1.0, std::sqrt(size));
    }

    bool isStraight(double from, double to) const
    {
        return std::all_of(std::begin(kProbes), std::end(kProbes), [&](double share) {
            return errorAt(from, to, from + (to - from) * share) < kTolerance;
        });
    }

    std::vector<double> refined(const std::vector<double>& times) const
    {
        std::vector<double> out{times.front()};
        if (!rotation() && all(Interpolation::Linear))
            return times;
        for (std::size_t i = 1; i < times.size(); ++i) {
            std::vector<double> ahead{times[i]};
            while (!ahead.empty()) {
                const double next = ahead.back();
                if (next - out.back() > kShortest && !isStraight(out.back(), next)) {
                    ahead.push_back((out.back() + next) / 2);
                    continue;
                }
                out.push_back(next);
                ahead.pop_back();
            }
        }
        return out;
    }

    const ExportJoint& m_Joint;
    GltfPath m_Path;
    const GltfTrack* m_Original;
    std::vector<const Channel*> m_Channels; // with keys
};

} // namespace

GltfTrack keyedTrack(const ExportJoint& joint, int node, GltfPath path, const GltfTrack* original,
                     const std::vector<double>& times, double start)
{
    return KeyedTrack(joint, path, original).make(node, times, start);
}

} // namespace refhost
