// SPDX-License-Identifier: MIT
// Runs the built program through the shell.
#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::string quoted(const std::string& text)
{
    std::string out = "'";
    for (const char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

std::string readText(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path << " is missing";
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

} // namespace

ProgramRun::ProgramRun()
{
    std::string pattern = (fs::temp_directory_path() / "sinew-apps-XXXXXX").string();
    m_Folder = mkdtemp(pattern.data()) ? pattern : "";
    EXPECT_FALSE(m_Folder.empty());
}

ProgramRun::~ProgramRun()
{
    std::error_code ignored;
    fs::remove_all(m_Folder, ignored);
}

ProgramResult ProgramRun::operator()(const std::vector<std::string>& arguments,
                                     const std::string& input) const
{
    // What the program says goes beside the folder, so that the folder holds its files alone.
    const std::string out = m_Folder.string() + ".out", err = m_Folder.string() + ".err";
    std::string command =
        "cd " + quoted(m_Folder.string()) + " && cat " + quoted(input) + " | " + quoted(SINEW_PROGRAM);
    for (const std::string& argument : arguments)
        command += " " + quoted(argument);
    command += " >" + quoted(out) + " 2>" + quoted(err);
    const int status = std::system(command.c_str());
    ProgramResult result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, readText(out), readText(err)};
    fs::remove(out);
    fs::remove(err);
    return result;
}

void ProgramRun::write(const std::string& name, const std::string& text) const
{
    std::ofstream(m_Folder / name, std::ios::binary) << text;
}

std::string ProgramRun::read(const std::string& name) const { return readText(m_Folder / name); }

formats::BvhMotion ProgramRun::motion(const std::string& name) const { return motionAt(m_Folder / name); }

formats::BvhMotion ProgramRun::motionAt(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    formats::BvhReadResult result = formats::readBvh(std::string(std::istreambuf_iterator<char>(stream), {}));
    if (const auto* error = std::get_if<formats::BvhError>(&result)) {
        ADD_FAILURE() << file << ":" << error->line << ": " << error->reason;
        return {};
    }
    return std::get<formats::BvhMotion>(std::move(result));
}

std::string ProgramRun::bytesOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

bool ProgramRun::exists(const std::string& name) const { return fs::exists(m_Folder / name); }

std::size_t ProgramRun::fileCount() const
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(m_Folder), fs::directory_iterator()));
}

std::string walkingFigure(std::size_t frameCount)
{
    std::string text = "HIERARCHY\nROOT Hips\n{\nOFFSET 0 0 0\n"
                       "CHANNELS 6 Xposition Yposition Zposition Zrotation Xrotation Yrotation\n";
    const auto open = [&](const char* name, const char* offset) {
        text += std::string("JOINT ") + name + "\n{\nOFFSET " + offset
            + "\nCHANNELS 3 Zrotation Xrotation Yrotation\n";
    };
    const auto end = [&](const char* offset, int closed) {
        text += std::string("End Site\n{\nOFFSET ") + offset + "\n}\n"
            + std::string(static_cast<std::size_t>(closed), '}') + "\n";
    };
    open("Chest", "0 4 0");
    open("Head", "0 3 0");
    end("0 1 0", 1);
    open("LeftShoulder", "2 2 0");
    open("LeftElbow", "3 0 0");
    open("LeftHand", "3 0 0");
    end("0.6 0 0", 3);
    open("RightShoulder", "-2 2 0");
    open("RightElbow", "-3 0 0");
    open("RightHand", "-3 0 0");
    end("-0.6 0 0", 4);
    open("LeftHip", "1 0 0");
    open("LeftFoot", "0 -8 0");
    end("0 0 1", 2);
    open("RightHip", "-1 0 0");
    open("RightFoot", "0 -8 0");
    end("0 0 1", 2);
    text += "}\nMOTION\nFrames: " + std::to_string(frameCount) + "\nFrame Time: 0.0416667\n";
    for (std::size_t f = 0; f < frameCount; ++f) {
        const double phase = 0.15 * static_cast<double>(f);
        text += std::to_string(0.3 * std::sin(phase)) + " " + std::to_string(8.5 + 0.1 * std::sin(2 * phase))
            + " 1";
        for (int joint = 0; joint < 13; ++joint)
            for (int axis = 0; axis < 3; ++axis)
                text += " " + std::to_string(18 * std::sin(phase + joint + 2 * axis) / (axis + 1));
        text += "\n";
    }
    return text;
}

std::vector<formats::WorldPose> worldAt(const formats::BvhMotion& motion, std::size_t frame)
{
    return formats::worldPose(motion, formats::localPose(motion, frame));
}

double jointDistance(const formats::BvhMotion& a, std::size_t frameA, const formats::BvhMotion& b,
                     std::size_t frameB, const std::string& joint)
{
    for (std::size_t i = 0; i < std::min(a.joints.size(), b.joints.size()); ++i) {
        if (a.joints[i].name != joint)
            continue;
        const auto p = worldAt(a, frameA)[i].position, q = worldAt(b, frameB)[i].position;
        return std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
    }
    ADD_FAILURE() << "no joint " << joint;
    return 0;
}
