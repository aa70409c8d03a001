// SPDX-License-Identifier: MIT
// Many files in one call: what is kept and what is made again, whatever happened to the folder in between.
#include "../formats/GltfTesting.h"
#include "ProgramRun.h"

#include <gtest/gtest.h>

namespace {

/// A motion, and one whose buffer is a file of its own.
class TrackBatch {
public:
    TrackBatch()
    {
        sinew.write("walk.bvh", walkingFigure(4));
        arm.json["buffers"] = {{{"uri", "arm.bin"}, {"byteLength", arm.bytes.size()}}};
        arm.json["images"] = {{{"uri", "skin.png"}}};
        sinew.write("arm.gltf", arm.json.dump());
        sinew.write("arm.bin", arm.bytes);
    }

    /// `state state` of the two.
    std::string states(const std::vector<std::string>& more = {})
    {
        std::vector<std::string> words = {"track", "walk.bvh", "arm.gltf", "-o", "out", "--json"};
        words.insert(words.end(), more.begin(), more.end());
        last = sinew(words);
        if (last.code != 0)
            return "exit code " + std::to_string(last.code) + ": " + last.err;
        const app::Json files = last.json()["files"];
        return files[0]["state"].get<std::string>() + " " + files[1]["state"].get<std::string>();
    }

    const ProgramRun sinew;
    formats::SmallGltf arm = formats::SmallGltf::arm();
    ProgramResult last;
};

} // namespace

TEST(Batch, SeveralMotionsAreTrackedAndKeptUntilAnythingBehindThemChanges)
{
    TrackBatch batch;
    EXPECT_EQ(batch.states(), "done done");
    EXPECT_EQ(batch.sinew({"track", "walk.bvh", "-o", "single.bvh"}).code, 0);
    EXPECT_EQ(batch.sinew.read("out/walk.bvh"), batch.sinew.read("single.bvh"));
    EXPECT_TRUE(batch.sinew.exists("out/arm.glb"));
    EXPECT_EQ(batch.states(), "kept kept");
    batch.arm.bytes.back() = static_cast<char>(batch.arm.bytes.back() ^ 1);
    batch.sinew.write("arm.bin", batch.arm.bytes);
    EXPECT_EQ(batch.states(), "kept done") << "the buffer changed";
    batch.sinew.write("skin.png", "\x89PNG");
    EXPECT_EQ(batch.states(), "kept done") << "a picture appeared";
    EXPECT_EQ(batch.states({"--steps", "20"}), "done done") << "other settings";
    EXPECT_EQ(batch.states({"--steps", "20", "--from-rest"}), "done done") << "a flag";
    EXPECT_EQ(batch.states({"--again", "--steps", "20", "--from-rest"}), "done done");
    EXPECT_EQ(batch.states({"--from-rest", "--steps=20"}), "kept kept");
}

TEST(Batch, ADamagedRecordOrReportCostsNoMoreThanDoingItAgain)
{
    TrackBatch batch;
    ASSERT_EQ(batch.states(), "done done");
    const std::string record = batch.sinew.read("out/sinew-track.json");
    for (const std::string& damage :
         {std::string(), std::string("{"), std::string("7"), std::string(R"({"version": "2", "done": {}})"),
          std::string(R"({"version": 2, "done": [1]})"), record.substr(0, record.size() / 2),
          std::string(100'000, '[')}) {
        batch.sinew.write("out/sinew-track.json", damage);
        EXPECT_EQ(batch.states(), "done done") << damage.substr(0, 50);
        EXPECT_NE(batch.last.err.find("out/sinew-track.json: the record is damaged"), std::string::npos)
            << batch.last.err;
    }
    batch.sinew.write("out/sinew-track.json",
                      R"({"version": 2, "done": {"walk.bvh": {"key": 1}, "arm.glb": null}})");
    EXPECT_EQ(batch.states(), "done done");
    EXPECT_NE(batch.last.err.find("entry walk.bvh is damaged"), std::string::npos) << batch.last.err;
    for (const char* damage : {"", "null", "{}", R"({"frames": 3, "residual": "none"})"}) {
        batch.sinew.write("out/arm.report.json", damage);
        EXPECT_EQ(batch.states(), "kept done") << damage;
        EXPECT_NE(batch.last.err.find("out/arm.report.json is gone or was changed"), std::string::npos);
    }
    // Even a report that the record vouches for.
    app::Json vouched = app::Json::parse(batch.sinew.read("out/sinew-track.json"));
    vouched["done"]["arm.glb"]["report"] = "c736581983dda06e"; // what `{}` has
    batch.sinew.write("out/sinew-track.json", vouched.dump());
    batch.sinew.write("out/arm.report.json", "{}");
    EXPECT_EQ(batch.states(), "kept done");
    EXPECT_NE(batch.last.err.find("out/arm.report.json"), std::string::npos) << batch.last.err;
}

TEST(Batch, WhatItCannotDoIsSaidBeforeAnythingIsWritten)
{
    TrackBatch batch;
    const std::vector<std::pair<std::vector<std::string>, std::string>> calls = {
        {{"-o", "out.bvh"}, "walk.bvh, arm.gltf"},
        {{"-o", "-"}, "no folder"},
        {{"-", "-o", "out"}, "standard input"},
        {{"./walk.bvh", "-o", "out"}, "would both become walk"},
        {{"-o", "out", "--report", "r.html"}, "--report"},
        {{"-o", "."}, "SOURCE walk.bvh"},
    };
    for (const auto& [words, part] : calls) {
        std::vector<std::string> all = {"track", "walk.bvh", "arm.gltf"};
        all.insert(all.end(), words.begin(), words.end());
        const ProgramResult result = batch.sinew(all);
        EXPECT_EQ(result.code, 2) << part;
        EXPECT_NE(result.err.find(part), std::string::npos) << part << " is not in: " << result.err;
        EXPECT_EQ(batch.sinew.read("walk.bvh"), walkingFigure(4));
    }
    EXPECT_FALSE(batch.sinew.exists("out.bvh"));
}
