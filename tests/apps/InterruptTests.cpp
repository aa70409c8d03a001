// SPDX-License-Identifier: MIT
// The program is interrupted in the middle of its work: nothing half written stays, and the exit code says
// so.
#include "ProgramRun.h"

#include "formats/Files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Runs the program in the folder until it says `cue` on its standard error, then sends the signal.
ProgramResult interrupted(const ProgramRun& run, const std::string& script, const std::string& cue,
                          int signal)
{
    ProgramResult result;
    int ends[2];
    if (pipe(ends) != 0)
        return result;
    const std::string folder = run.path(""), out = run.path("out");
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDERR_FILENO);
        dup2(open(out.c_str(), O_WRONLY | O_CREAT, 0600), STDOUT_FILENO);
        close(ends[0]);
        if (chdir(folder.c_str()) == 0)
            execl(SINEW_PROGRAM, "sinew", "run", script.c_str(), static_cast<char*>(nullptr));
        _exit(99);
    }
    close(ends[1]);
    char byte = 0;
    bool sent = false;
    while (read(ends[0], &byte, 1) == 1) {
        result.err += byte;
        if (!sent && byte == '\n' && result.err.find(cue) != std::string::npos)
            sent = kill(child, signal) == 0;
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = run.read("out");
    std::filesystem::remove(out);
    return result;
}

TEST(InterruptTests, AnEndlessSolveEndsAtASignalAndFilesStayAsTheyWere)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        const ProgramRun run;
        run.write("arm.sinew",
                  "item.create name:A\nitem.create name:B parent:A\nitem.create name:C parent:B\n"
                  "channel.set B pos.X 1\nchannel.set C pos.X 1\nscene.setup on:true\nikfb.assign item:A\n"
                  "ikfb.task item:C type:0 mode:1\nchannel.set C ikptPos.Y 9\nitems item:C\n"
                  "channel.set FullBodyIK iksTolerance 0\nscene.save file:arm.sinew.json\n"
                  "channel.set FullBodyIK iksSteps 2000000000\nquery C wposMatrix\n"
                  "scene.save file:arm.sinew.json\nscene.save file:other.sinew.json\n");
        const ProgramResult result = interrupted(run, "arm.sinew", "iksSteps is 2000000000", signal);
        EXPECT_EQ(result.code, 128 + signal) << result.err;
        EXPECT_NE(result.err.find("'FullBodyIK': iksSteps is 2000000000"), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("sinew: interrupted; "), std::string::npos) << result.err;
        EXPECT_NE(result.out.find("C (locator)"), std::string::npos) << "what was printed before is there";
        EXPECT_EQ(result.out.find("0 0 0 1"), std::string::npos) << "it did not come to its end";
        EXPECT_EQ(run.read("arm.sinew.json").find("2000000000"), std::string::npos);
        EXPECT_EQ(run.fileCount(), 2u) << "the script and the scene";
    }
}

TEST(InterruptTests, AFileBeingWrittenLeavesNothingBehind)
{
    const ProgramRun run;
    run.write("pose.bvh", "as it was");
    const std::string path = run.path("pose.bvh");
    const pid_t child = fork();
    if (child == 0) {
        // A limit of the system interrupts the write at a place that is always the same.
        const rlimit small = {1000, 1000};
        setrlimit(RLIMIT_FSIZE, &small);
        signal(SIGXFSZ, [](int) {
            formats::removeUnfinishedFiles();
            _exit(7);
        });
        (void)formats::writeFileAtomically(path, std::string(100000, 'x'));
        _exit(8);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 7);
    EXPECT_EQ(run.fileCount(), 1u);
    EXPECT_EQ(run.read("pose.bvh"), "as it was");
    // What is finished stays.
    EXPECT_FALSE(formats::writeFileAtomically(path, "new").has_value());
    formats::removeUnfinishedFiles();
    EXPECT_EQ(run.read("pose.bvh"), "new");
}

} // namespace
