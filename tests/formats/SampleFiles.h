// SPDX-License-Identifier: MIT
// Whole files with what an independent reader makes of them: characters of ours, and real files where they
// are.
#pragma once

#include "../support/DataFolder.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

namespace formats {

using TestJson = nlohmann::json;

struct Sample {
    std::string path;
    TestJson expected;
    double height = 0; // largest extent of the rest pose, 1 where all lies in a point
};

/// The samples of the folder `expected` whose names end in one of `endings`; the files lie in `files`.
inline std::vector<Sample> samplesIn(const std::filesystem::path& expected,
                                     const std::filesystem::path& files,
                                     std::initializer_list<const char*> endings)
{
    std::vector<Sample> found;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(expected, none)) {
        const std::string name = entry.path().stem().string(); // without .json
        if (std::none_of(endings.begin(), endings.end(),
                         [&](const char* end) { return name.ends_with(end); }))
            continue;
        Sample sample{(files / name).string(), TestJson::parse(std::ifstream(entry.path()))};
        const TestJson& rest = sample.expected.contains("rest") ? sample.expected["rest"]["position"]
                                                                : sample.expected["rest_position"];
        for (std::size_t a = 0; a < 3; ++a) {
            double low = INFINITY, high = -INFINITY;
            for (const TestJson& position : rest) {
                low = std::min(low, position[a].get<double>());
                high = std::max(high, position[a].get<double>());
            }
            sample.height = std::max(sample.height, high - low);
        }
        sample.height = sample.height > 0 ? sample.height : 1;
        found.push_back(std::move(sample));
    }
    return found;
}

/// Ours, and those of the data folder: `kind` is its subfolder.
inline std::vector<Sample> samples(const char* kind, std::initializer_list<const char*> endings)
{
    const std::filesystem::path ours = SINEW_TEST_DATA, data = support::dataFolder();
    std::vector<Sample> all = samplesIn(ours / "expected", ours / "../../examples/characters", endings);
    for (Sample& sample : samplesIn(data / "expected", data / kind, endings))
        all.push_back(std::move(sample));
    return all;
}
inline std::vector<Sample> bvhSamples() { return samples("bvh", {".bvh"}); }
inline std::vector<Sample> gltfSamples() { return samples("gltf", {".gltf", ".glb"}); }

} // namespace formats
