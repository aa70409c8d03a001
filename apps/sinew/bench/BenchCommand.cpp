// SPDX-License-Identifier: MIT
// Runs the works that benchmarks and tests share and prints what a user compares between machines and builds.
#include "bench/BenchCommand.h"

#include "Works.h"
#include "shared/Console.h"
#include "shared/Json.h"

#include <fmt/format.h>

#include <vector>

namespace app {

namespace {

constexpr std::uint32_t kIterationLimit = 5000;

/// A timed work with what was measured of it.
struct Row {
    bench::Run run;
    std::uint32_t bones = 0;
    std::uint32_t columns = 0;
    std::vector<std::uint32_t> iterationsTo; ///< 1 % and 0.1 % of the height
    float stableTo = 0.0f;

    double nanosecondsPerIteration() const { return run.seconds * 1e9 / static_cast<double>(run.iterations); }
    double microsecondsPerSolve() const { return run.seconds * 1e6 / run.solves; }
};

bench::Run fastest(const std::function<bench::Scene()>& make, int repeat)
{
    bench::Run best = bench::run(make());
    for (int i = 1; i < repeat; ++i) {
        const bench::Run next = bench::run(make());
        if (next.seconds < best.seconds)
            best = next;
    }
    return best;
}

Row measure(const bench::Work& work, int repeat)
{
    Row row;
    const bench::Scene scene = work.make();
    row.bones = scene.solver->boneCount();
    row.columns = scene.columns();
    row.run = fastest(work.make, repeat);
    row.iterationsTo = bench::iterationsTo(work.make(), {0.01f, 0.001f}, kIterationLimit);
    row.stableTo = bench::largestStableCoefficient(work.make);
    return row;
}

/// Time per iteration against non-zero blocks: one figure, more and more of its chains under a goal.
std::vector<Row> measureBlocks(int repeat)
{
    std::vector<Row> rows;
    for (const std::uint32_t goals : {1u, 2u, 4u, 8u, 16u}) {
        Row row;
        row.run = fastest([goals] { return bench::makeFan(16, 8, goals); }, repeat);
        rows.push_back(row);
    }
    return rows;
}

std::string hashText(const bench::Run& run) { return fmt::format("{:016x}", run.hash); }

std::string iterationText(std::uint32_t iterations)
{
    return iterations < kIterationLimit ? std::to_string(iterations) : "-";
}

void printText(const std::vector<Row>& rows, const std::vector<Row>& blockRows)
{
    print(fmt::format("{:8} {:>5} {:>7} {:>9} {:>9} {:>7} {:>7}  {:16} {}\n", "work", "bones", "columns",
                      "ns/iter", "us/solve", "iter", "blocks", "pose hash", "what"));
    for (const Row& row : rows)
        print(fmt::format("{:8} {:>5} {:>7} {:>9.1f} {:>9.1f} {:>7.1f} {:>7}  {:16} {}\n", row.run.name,
                          row.bones, row.columns, row.nanosecondsPerIteration(), row.microsecondsPerSolve(),
                          static_cast<double>(row.run.iterations) / row.run.solves, row.run.blocks,
                          hashText(row.run), row.run.what));

    print("\nTime against non-zero blocks: 16 chains of 8 bones, more and more of them under a goal.\n");
    print(fmt::format("{:>7} {:>9} {:>9}\n", "blocks", "ns/iter", "ns/block"));
    for (const Row& row : blockRows)
        print(fmt::format("{:>7} {:>9.1f} {:>9.2f}\n", row.run.blocks, row.nanosecondsPerIteration(),
                          row.nanosecondsPerIteration() / row.run.blocks));

    print("\nConvergence from rest, all goals moved at once, and the largest P coefficient (of tenths up to "
          "4)\n"
          "at which 1,000 steps don't diverge.\n");
    print(fmt::format("{:8} {:>9} {:>9} {:>10}\n", "work", "to 1 %", "to 0.1 %", "stable to"));
    for (const Row& row : rows)
        print(fmt::format("{:8} {:>9} {:>9} {:>10.1f}\n", row.run.name, iterationText(row.iterationsTo[0]),
                          iterationText(row.iterationsTo[1]), row.stableTo));
    print(fmt::format("A dash: not within {} iterations.\n", kIterationLimit));
}

void printJson(const std::vector<Row>& rows, const std::vector<Row>& blockRows)
{
    Json works = Json::array(), blocks = Json::array();
    for (const Row& row : rows) {
        Json iterations = Json::array();
        for (const std::uint32_t i : row.iterationsTo)
            iterations.push_back(i < kIterationLimit ? Json(i) : Json());
        works.push_back({{"name", row.run.name},
                         {"what", row.run.what},
                         {"bones", row.bones},
                         {"columns", row.columns},
                         {"blocks", row.run.blocks},
                         {"solves", row.run.solves},
                         {"iterations", row.run.iterations},
                         {"nanoseconds_per_iteration", row.nanosecondsPerIteration()},
                         {"microseconds_per_solve", row.microsecondsPerSolve()},
                         {"diverged_solves", row.run.diverged},
                         {"pose_hash", hashText(row.run)},
                         {"iterations_to_1_percent", iterations[0]},
                         {"iterations_to_0.1_percent", iterations[1]},
                         {"stable_to_p_coefficient", row.stableTo}});
    }
    for (const Row& row : blockRows)
        blocks.push_back(
            {{"blocks", row.run.blocks}, {"nanoseconds_per_iteration", row.nanosecondsPerIteration()}});
    print(jsonText({{"works", works}, {"time_against_blocks", blocks}}));
}

int printHashes(bool json)
{
    Json hashes = Json::object();
    for (const bench::Work& work : bench::hashedWorks()) {
        const std::string hash = hashText(bench::run(work.make()));
        hashes[work.name] = hash;
        if (!json)
            print(work.name + ' ' + hash + '\n');
    }
    if (json)
        print(jsonText({{"pose_hashes", hashes}}));
    return kExitDone;
}

} // namespace

int runBench(const BenchOptions& options)
{
    if (options.hashOnly)
        return printHashes(options.json);
    std::vector<Row> rows;
    for (const bench::Work& work : bench::timedWorks())
        rows.push_back(measure(work, options.repeat));
    const std::vector<Row> blockRows = measureBlocks(options.repeat);
    if (options.json)
        printJson(rows, blockRows);
    else
        printText(rows, blockRows);
    return kExitDone;
}

} // namespace app
