// SPDX-License-Identifier: MIT
// `sinew shot`: a picture of a character, motion or scene, without a display.
#pragma once

#include <string>

namespace app {

struct ShotOptions {
    std::string file;
    std::string output;
    double time = 0; ///< seconds
    std::string camera = "free";
    std::string size = "1280x720";
    std::string up; ///< y or z; empty: what the file says or lets guess
    std::string skeleton = "auto";
    std::string animation; ///< of glTF: name or index; empty: the first
    int sheet = 0; ///< pictures on a contact sheet; 0 for one picture
    bool noFloor = false;
};

/// Runs the command; returns the exit code.
int runShot(const ShotOptions& options);

} // namespace app
