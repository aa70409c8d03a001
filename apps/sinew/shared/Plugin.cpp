// SPDX-License-Identifier: MIT
// Where the program finds the plug-in.
#include "shared/Plugin.h"

#include "shared/Console.h"

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

} // namespace app
