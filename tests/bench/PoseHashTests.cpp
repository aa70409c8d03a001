// SPDX-License-Identifier: MIT
// Pose hashes of whole solves against a file: every build of every compiler must give the same bits, on any
// number of threads. `pose_hash_tests --write` renews the file after a change that is meant to move them.
#include "Works.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <fstream>
#include <future>
#include <map>

namespace {

std::string hashText(const bench::Run& run)
{
    char text[32];
    std::snprintf(text, sizeof text, "%016" PRIx64, run.hash);
    return text;
}

std::map<std::string, std::string> goldenHashes()
{
    std::map<std::string, std::string> golden;
    std::ifstream file(SINEW_POSE_HASHES);
    for (std::string name, hash; file >> name >> hash;)
        golden[name] = hash;
    return golden;
}

TEST(PoseHashes, AreThoseOfTheFile)
{
    const auto golden = goldenHashes();
    ASSERT_EQ(golden.size(), bench::hashedWorks().size()) << "run pose_hash_tests --write";
    for (const bench::Work& work : bench::hashedWorks())
        EXPECT_EQ(hashText(bench::run(work.make())), golden.at(work.name)) << work.name;
}

TEST(PoseHashes, AreTheSameOverTwoAndEightThreadsWithASolverEach)
{
    const auto golden = goldenHashes();
    for (const std::size_t threads : {2u, 8u}) {
        std::vector<std::future<std::vector<std::string>>> results;
        for (std::size_t t = 0; t < threads; ++t)
            results.push_back(std::async(std::launch::async, [t] {
                // Each thread starts elsewhere in the list, so that different figures are solved side by
                // side.
                const auto& works = bench::hashedWorks();
                std::vector<std::string> hashes(works.size());
                for (std::size_t i = 0; i < works.size(); ++i) {
                    const std::size_t k = (i + t) % works.size();
                    hashes[k] = hashText(bench::run(works[k].make()));
                }
                return hashes;
            }));
        for (auto& result : results) {
            const std::vector<std::string> hashes = result.get();
            for (std::size_t i = 0; i < hashes.size(); ++i)
                EXPECT_EQ(hashes[i], golden.at(bench::hashedWorks()[i].name)) << threads << " threads";
        }
    }
}

int writeGolden()
{
    std::ofstream file(SINEW_POSE_HASHES);
    for (const bench::Work& work : bench::hashedWorks())
        file << work.name << ' ' << hashText(bench::run(work.make())) << '\n';
    return file ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string(argv[1]) == "--write")
        return writeGolden();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
