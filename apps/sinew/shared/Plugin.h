// SPDX-License-Identifier: MIT
// Where the program finds the plug-in.
#pragma once

#include <cstdint>
#include <string>

namespace refhost {
class Host;
}

namespace app {

/// Loads the plug-in into the host: `path`, or when that is empty the one that belongs to this program.
/// Throws BadInput when it can't be loaded.
void loadPlugin(refhost::Host& host, const std::string& path = {});

/// Warns of a bound of iterations with which a frame may take minutes.
void warnOfManySteps(std::uint32_t steps);

} // namespace app
