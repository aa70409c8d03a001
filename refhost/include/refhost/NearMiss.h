// SPDX-License-Identifier: MIT
// Finds the known word that a mistyped one was perhaps meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace refhost {

/// The candidate that differs least, upper and lower case alike; empty when none is near.
class NearMiss {
public:
    explicit NearMiss(std::string_view typed);
    void offer(std::string_view candidate);
    const std::string& best() const { return m_Best; }
    /// ` Did you mean 'best'?`, or nothing.
    std::string question() const;

private:
    std::string m_Typed, m_Best;
    std::size_t m_Limit; // differences that are too many
    std::vector<std::size_t> m_Row;
};

} // namespace refhost
