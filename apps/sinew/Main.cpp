// SPDX-License-Identifier: MIT
// Entry of the program `sinew`.
#include "CommandLine.h"
#include "shared/Interrupt.h"

int main(int argc, char** argv)
{
    app::endCleanlyWhenInterrupted();
    return app::runCommandLine(argc, argv);
}
