// SPDX-License-Identifier: MIT
// Keys in order of time and the curve between them.
#include "refhost/Keys.h"

#include <algorithm>
#include <cmath>

namespace refhost {
namespace {

const std::string kNoText;

double linear(const Key& from, const Key& to, double u)
{
    // The difference keeps a flat curve flat to the last bit; only numbers at the ends of the range overflow
    // in it.
    const double difference = to.number - from.number;
    return std::isfinite(difference) ? from.number + difference * u : from.number * (1 - u) + to.number * u;
}

// Hermite curve with the slopes s0 and s1 per second over dt seconds, u from 0 to 1.
double cubic(const Key& from, const Key& to, double dt, double u)
{
    const double u2 = u * u, u3 = u2 * u;
    const double blend = -2 * u3 + 3 * u2;
    const double value =
        linear(from, to, blend) + dt * ((u3 - 2 * u2 + u) * from.outSlope + (u3 - u2) * to.inSlope);
    return std::isfinite(value) ? value : linear(from, to, u);
}

} // namespace

const std::string& KeyList::text(std::size_t index) const
{
    return index < m_Texts.size() ? m_Texts[index] : kNoText;
}

std::optional<std::size_t> KeyList::find(double time) const
{
    const auto after = std::lower_bound(m_Keys.begin(), m_Keys.end(), time,
                                        [](const Key& key, double t) { return key.time < t; });
    // Of two keys that both stand close enough the nearer one counts.
    std::optional<std::size_t> found;
    if (after != m_Keys.end() && sameTime(after->time, time))
        found = static_cast<std::size_t>(after - m_Keys.begin());
    if (after != m_Keys.begin()) {
        const auto before = after - 1;
        if (sameTime(before->time, time) && (!found || time - before->time < after->time - time))
            found = static_cast<std::size_t>(before - m_Keys.begin());
    }
    return found;
}

bool KeyList::isSegment(std::size_t index, double time) const
{
    return index < m_Keys.size() && m_Keys[index].time <= time
        && (index + 1 == m_Keys.size() || time < m_Keys[index + 1].time);
}

std::size_t KeyList::segment(double time) const
{
    if (isSegment(m_LastSegment, time))
        return m_LastSegment;
    if (isSegment(m_LastSegment + 1, time))
        return ++m_LastSegment;
    const auto after = std::upper_bound(m_Keys.begin(), m_Keys.end(), time,
                                        [](double t, const Key& key) { return t < key.time; });
    m_LastSegment = after == m_Keys.begin() ? 0 : static_cast<std::size_t>(after - m_Keys.begin()) - 1;
    return m_LastSegment;
}

double KeyList::sample(double time) const
{
    if (m_Keys.empty())
        return 0;
    const std::size_t index = segment(time);
    const Key& from = m_Keys[index];
    if (index + 1 == m_Keys.size() || time <= from.time || from.interpolation == Interpolation::Step)
        return from.number;
    const Key& to = m_Keys[index + 1];
    const double dt = to.time - from.time;
    const double u = (time - from.time) / dt;
    return from.interpolation == Interpolation::Cubic ? cubic(from, to, dt, u) : linear(from, to, u);
}

const std::string& KeyList::sampleText(double time) const
{
    return m_Keys.empty() ? kNoText : text(segment(time));
}

void KeyList::put(const Key& key, std::string_view text)
{
    std::size_t index;
    if (const auto found = find(key.time)) {
        index = *found;
        // The time stays: moving it by less than a microsecond could bring it too close to a neighbour.
        const double time = m_Keys[index].time;
        m_Keys[index] = key;
        m_Keys[index].time = time;
    } else {
        const auto place = std::upper_bound(m_Keys.begin(), m_Keys.end(), key.time,
                                            [](double t, const Key& other) { return t < other.time; });
        index = static_cast<std::size_t>(place - m_Keys.begin());
        m_Keys.insert(place, key);
        if (!m_Texts.empty())
            m_Texts.emplace(m_Texts.begin() + static_cast<std::ptrdiff_t>(index));
    }
    if (m_Texts.empty() && !text.empty())
        m_Texts.resize(m_Keys.size());
    if (!m_Texts.empty())
        m_Texts[index] = text;
}

bool KeyList::remove(double time)
{
    const auto found = find(time);
    if (!found)
        return false;
    m_Keys.erase(m_Keys.begin() + static_cast<std::ptrdiff_t>(*found));
    if (!m_Texts.empty())
        m_Texts.erase(m_Texts.begin() + static_cast<std::ptrdiff_t>(*found));
    return true;
}

} // namespace refhost
