// SPDX-License-Identifier: MIT
// A channel's course over time: keys in order, and the value between them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

/// Two times closer than this are the same time.
inline constexpr double kSameTimeSeconds = 1e-6;
inline bool sameTime(double a, double b) { return a - b <= kSameTimeSeconds && b - a <= kSameTimeSeconds; }

/// Times beyond this are refused: doubles still tell microseconds apart below it.
inline constexpr double kMaximumTimeSeconds = 1e9;

/// How the value goes from a key to the next one.
enum class Interpolation : std::uint8_t { Step, Linear, Cubic };
inline constexpr const char* kInterpolationNames[] = {"step", "linear", "cubic"};

struct Key {
    double time = 0; ///< seconds
    double number = 0;
    double inSlope = 0; ///< per second, where the curve arrives; used when the key before is cubic
    double outSlope = 0; ///< per second, where the curve leaves; used when this key is cubic
    Interpolation interpolation = Interpolation::Linear;

    bool operator==(const Key&) const = default;
};

/// Keys in order of time, no two at the same time. Keys of a text channel carry a text beside the number.
class KeyList {
public:
    bool empty() const { return m_Keys.empty(); }
    std::size_t count() const { return m_Keys.size(); }
    const std::vector<Key>& keys() const { return m_Keys; }
    /// Empty for a key that carries no text.
    const std::string& text(std::size_t index) const;

    /// Index of the key at this time, nothing when there is none.
    std::optional<std::size_t> find(double time) const;
    /// Index of the last key at or before the time; 0 before the first key. Call it only when there are keys.
    std::size_t segment(double time) const;
    /// The value at a time; before the first key and after the last one the end values hold. 0 without keys.
    double sample(double time) const;
    /// The text in force at a time.
    const std::string& sampleText(double time) const;

    /// Puts the key in its place, over the one that stands at the same time.
    void put(const Key& key, std::string_view text = {});
    /// False when there is no key at this time.
    bool remove(double time);

    bool operator==(const KeyList& other) const { return m_Keys == other.m_Keys && m_Texts == other.m_Texts; }

private:
    bool isSegment(std::size_t index, double time) const;

    std::vector<Key> m_Keys;
    mutable std::size_t m_LastSegment = 0; // time mostly goes on from where it was; no part of the value
    std::vector<std::string> m_Texts; // beside m_Keys, or empty when no key has a text
};

} // namespace refhost
