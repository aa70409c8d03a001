// SPDX-License-Identifier: MIT
// Takes over the engine's assertion handler for a scope and expects a number of assertions in it.
#pragma once

#include <sinew/Assert.h>

#include <string>

namespace support {

class ExpectAssert {
public:
    explicit ExpectAssert(int count);
    ~ExpectAssert();
    ExpectAssert(const ExpectAssert&) = delete;
    ExpectAssert& operator=(const ExpectAssert&) = delete;

    /// "text (source, line)" of the last assertion in the scope.
    static std::string last();

private:
    int m_Expected;
    int m_Before;
    Sinew::AssertHandler m_Former;
};

} // namespace support
