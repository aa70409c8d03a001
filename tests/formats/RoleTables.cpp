// SPDX-License-Identifier: MIT
// Reads the tables: `name | parent | x y z | role | VRM bone`, and `joint | role` for sample files.
#include "RoleTables.h"

#include "formats/RoleJoints.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace formats {

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const std::string& folder)
{
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(std::string(SINEW_TEST_DATA) + folder))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::vector<std::string>> rowsOf(const fs::path& file)
{
    std::vector<std::vector<std::string>> rows;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        std::vector<std::string> row;
        std::istringstream cells(line);
        for (std::string cell; std::getline(cells, cell, '|');) {
            const std::size_t first = cell.find_first_not_of(' '), last = cell.find_last_not_of(' ');
            row.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

} // namespace

std::vector<RoleTable> skeletonTables()
{
    std::vector<RoleTable> tables;
    for (const fs::path& file : filesIn("/skeletons")) {
        RoleTable table{file.stem().string(), {}, {}};
        std::map<std::string, int> indices;
        for (const std::vector<std::string>& row : rowsOf(file)) {
            RoleJoint joint;
            joint.name = row.at(0);
            joint.parent = row.at(1) == "-" ? -1 : indices.at(row[1]);
            std::istringstream(row.at(2)) >> joint.position[0] >> joint.position[1] >> joint.position[2];
            joint.vrmBone = row.size() > 4 ? row[4] : "";
            indices[joint.name] = static_cast<int>(table.joints.size());
            table.joints.push_back(joint);
            table.expected.push_back(row.at(3));
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

std::string samplePath(const std::string& name)
{
    const char* set = std::getenv("SINEW_DATA");
    return std::string(set ? set : SINEW_DATA_DIR) + (name.ends_with(".bvh") ? "/bvh/" : "/gltf/") + name;
}

std::vector<RoleJoint> sampleJoints(const std::string& name)
{
    if (name.ends_with(".bvh"))
        return roleJoints(std::get<BvhMotion>(readBvhFile(samplePath(name))));
    return roleJoints(std::get<Gltf>(readGltfFile(samplePath(name))));
}

std::vector<RoleTable> sampleTables()
{
    std::vector<RoleTable> tables;
    for (const fs::path& file : filesIn("/roles")) {
        RoleTable table{file.stem().string(), {}, {}};
        if (!fs::exists(samplePath(table.name)))
            continue;
        table.joints = sampleJoints(table.name);
        std::map<std::string, std::string> roles;
        for (const std::vector<std::string>& row : rowsOf(file))
            roles[row.at(0)] = row.at(1);
        for (const RoleJoint& joint : table.joints) {
            if (!joint.endSite && !roles.contains(joint.name))
                ADD_FAILURE() << table.name << ": no role is written down for " << joint.name;
            table.expected.push_back(joint.endSite ? "none" : roles[joint.name]);
        }
        tables.push_back(std::move(table));
    }
    return tables;
}

} // namespace formats
