// SPDX-License-Identifier: MIT
// Where the program finds the plug-in.
#include "shared/Plugin.h"

#include "shared/Console.h"

#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/Modules.h>

namespace app {

void loadPlugin(refhost::Host& host, const std::string& path)
{
    const refhost::Result loaded =
        refhost::Modules::of(host).load(path.empty() ? refhost::Modules::defaultPath() : path);
    if (!loaded.ok())
        throw BadInput(loaded.message);
}

void warnOfManySteps(std::uint32_t steps)
{
    if (steps > static_cast<std::uint32_t>(refhost::kManySteps))
        complain("warning: --steps is " + std::to_string(steps)
                 + ", and a frame of so many can last for minutes. Lower it, unless you mean it.");
}

} // namespace app
