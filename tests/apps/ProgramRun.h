// SPDX-License-Identifier: MIT
// Runs the built program as a user would, in a folder of its own, and makes small motions for it.
#pragma once

#include "formats/Bvh.h"
#include "shared/Json.h"

#include <filesystem>
#include <string>
#include <vector>

struct ProgramResult {
    int code = -1; ///< -1 when a signal ended it
    std::string out;
    std::string err;

    /// The standard output as JSON; throws when it is none.
    app::Json json() const { return app::Json::parse(out); }
};

/// A folder that is there as long as the object, and runs of the program in it.
class ProgramRun {
public:
    ProgramRun();
    ~ProgramRun();
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    /// `input` names a file of the folder that is piped in.
    ProgramResult operator()(const std::vector<std::string>& arguments,
                             const std::string& input = "/dev/null") const;

    void write(const std::string& name, const std::string& text) const;
    /// The text of a file; fails the test when there is none.
    std::string read(const std::string& name) const;
    /// The motion in a file; fails the test when it can't be read.
    formats::BvhMotion motion(const std::string& name) const;
    static formats::BvhMotion motionAt(const std::filesystem::path& file);
    static std::string bytesOf(const std::filesystem::path& file);
    bool exists(const std::string& name) const;
    std::string path(const std::string& name) const { return (m_Folder / name).string(); }
    std::size_t fileCount() const;

private:
    std::filesystem::path m_Folder;
};

/// A figure of 13 joints, 16 units tall, that walks on the spot and waves for `frameCount` frames.
std::string walkingFigure(std::size_t frameCount);

/// World transforms of a frame.
std::vector<formats::WorldPose> worldAt(const formats::BvhMotion& motion, std::size_t frame);

/// Distance of a named joint in a frame of one motion from the same joint in a frame of another.
double jointDistance(const formats::BvhMotion& a, std::size_t frameA, const formats::BvhMotion& b,
                     std::size_t frameB, const std::string& joint);
