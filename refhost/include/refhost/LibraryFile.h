// SPDX-License-Identifier: MIT
// Looks at a shared library before it is loaded: the system's loader trusts a file to be whole.
#pragma once

#include "refhost/Result.h"

#include <string>

namespace refhost {

/// Whether a file is a whole shared library for this machine, as far as that shows without running any of it.
/// A file that was cut short would end the program while it is loaded. The message is a sentence that names
/// the file.
Result checkLibraryFile(const std::string& path);

} // namespace refhost
