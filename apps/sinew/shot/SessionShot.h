// SPDX-License-Identifier: MIT
// The command `shot` of a session: a picture of what the view shows now, the tool's handles with it.
#pragma once

namespace refhost {
class Host;
}

namespace app {

/// Makes the command known to the host.
void addShotCommand(refhost::Host& host);

} // namespace app
