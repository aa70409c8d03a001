// SPDX-License-Identifier: MIT
// Entry of the program `sinew`.
#include "CommandLine.h"

int main(int argc, char** argv) { return app::runCommandLine(argc, argv); }
