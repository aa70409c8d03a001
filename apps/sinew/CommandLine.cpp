// SPDX-License-Identifier: MIT
// Declares every subcommand's options and runs the one that is asked for. The only file that includes CLI11.
#include "CommandLine.h"

#include "bench/BenchCommand.h"
#include "check/CheckCommand.h"
#include "info/InfoCommand.h"
#include "retarget/RetargetCommand.h"
#include "run/RunCommand.h"
#include "shared/Console.h"
#include "shot/ShotCommand.h"
#include "track/TrackCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <vector>

namespace app {

namespace {

constexpr const char* kVersion = "0.1.0";

/// What the chosen subcommand does once its options are read.
using Action = std::function<int()>;

void addMotionOptions(CLI::App& command, MotionOptions& options)
{
    command
        .add_option("--offsets", options.offsets,
                    "what position channels do to a joint's OFFSET:\nguess, replace or add")
        ->type_name("RULE")
        ->capture_default_str();
    command
        .add_option("--unit", options.unit,
                    "the file's unit, for reports: m, dm, cm, mm, in, ft, cmu\nor metres a unit")
        ->type_name("UNIT");
    command
        .add_option("--up", options.up,
                    "the file's up axis, for reports: x, y or z, with - if it\npoints down")
        ->type_name("AXIS");
}

void addInfo(CLI::App& program, Action& action)
{
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand("info", "Tells what is in a motion file.");
    command->add_option("FILE", options->motion.file, "BVH, glTF, GLB, VRM or VRMA file")
        ->type_name("")
        ->required();
    command
        ->add_option(
            "--pose", options->pose,
            "list every joint's world transform at this frame, from 0;\nof glTF at a time in seconds, or "
            "`rest`")
        ->type_name("FRAME");
    command->add_option("--animation", options->animation, "of glTF: the animation that --pose is taken from")
        ->type_name("NAME");
    command->add_flag("--json", options->json, "write JSON to the standard output");
    addMotionOptions(*command, options->motion);
    command->footer(
        "Unit and up axis are in no BVH file: they are guessed from the figure, and nothing is\n"
        "rescaled. glTF is in metres, +Y up. Exit codes: 0 done, 2 bad input, 3 internal error.\n\n"
        "Examples:\n"
        "  sinew info walk.bvh\n"
        "  sinew info walk.bvh --pose 0 --json\n"
        "  sinew info fox.glb --animation Run --pose 0.5\n");
    command->callback([options, &action] { action = [options] { return runInfo(*options); }; });
}

void addSolveOptions(CLI::App& command, TrackSettings& settings)
{
    command.add_option("--steps", settings.steps, "most iterations a frame")
        ->type_name("COUNT")
        ->capture_default_str();
    command
        .add_option("--tolerance", settings.tolerance,
                    "largest joint step (radians, units) that ends a solve")
        ->type_name("STEP")
        ->capture_default_str();
    command.add_option("--precision", settings.precision, "damping: smaller follows the goals more stiffly")
        ->type_name("NUMBER")
        ->capture_default_str();
    command
        .add_option("--pull", settings.pull,
                    "gain of the goals: larger is faster, and diverges\nbeyond a point")
        ->type_name("NUMBER")
        ->capture_default_str();
    command.add_flag_callback(
        "--fixed-root", [&settings] { settings.translateRoot = false; },
        "keep the root where it is in the first frame");
    command.add_flag("--from-rest", settings.fromRest,
                     "start every frame from rest rather than from the frame\nbefore");
}

void addTrack(CLI::App& program, Action& action)
{
    auto options = std::make_shared<TrackOptions>();
    CLI::App* command =
        program.add_subcommand("track", "Solves a motion anew from the motion of a few of its joints.");
    command
        ->add_option("IN", options->motion.file,
                     "file with the source motion: BVH or glTF (.bvh, .gltf,\n.glb, .vrm)")
        ->type_name("")
        ->required();
    command
        ->add_option("-o,--output", options->output,
                     "the same file with the solved motion: .bvh for BVH, .glb\nfor glTF; may be IN")
        ->type_name("OUT")
        ->required();
    command
        ->add_option("--goal", options->goals,
                     "repeatable: follow this joint's position (:pos, the\ndefault), orientation (:rot) or "
                     "both (:both); "
                     "without:\nhands, feet and head, found by names and tree")
        ->type_name("JOINT[:KIND]")
        ->allow_extra_args(false);
    command->add_option("--frames", options->frames, "from 0, both included; either may be left out")
        ->type_name("FIRST:LAST");
    command->add_option("--animation", options->animation, "of glTF: which one; without: the first")
        ->type_name("NAME");
    command
        ->add_option("--rate", options->rate,
                     "of glTF: frames a second; without: as its keys come, or\n30 where they are few")
        ->type_name("HZ");
    addSolveOptions(*command, options->settings);
    command
        ->add_option(
            "--max-mean-error", options->maxMeanError,
            "exit with 1 when the mean residual is larger: a share of\nthe figure's height, as in 0.1%, or a "
            "length in file units")
        ->type_name("LIMIT");
    command->add_option("--report", options->htmlFile, "write a page with the animated figures and plots")
        ->type_name("FILE.html");
    command->add_flag("--json", options->json, "write the report to the standard output as JSON");
    addMotionOptions(*command, options->motion);
    command->footer(
        "Exit codes: 0 done, 1 done but --max-mean-error was missed, 2 bad input, 3 internal error.\n\n"
        "Examples:\n"
        "  sinew track walk.bvh -o solved.bvh --report solved.html\n"
        "  sinew track walk.bvh -o solved.bvh --goal LeftHand --goal Head:both --frames 0:99\n"
        "  sinew track fox.glb -o solved.glb --animation Run\n");
    command->callback([options, &action] { action = [options] { return runTrack(*options); }; });
}

void addRetargetLimits(CLI::App& command, RetargetLimits& limits)
{
    const auto add = [&](const char* name, std::optional<double>& value, const char* what, const char* type) {
        command.add_option(name, value, std::string("exit with 1 when ") + what)->type_name(type);
    };
    add("--max-direction", limits.directionMean, "a limb, trunk or head is further off\nin the mean",
        "DEGREES");
    add("--max-direction-worst", limits.directionWorst, "one is further off in any frame", "DEGREES");
    add("--max-foot", limits.footMean, "a foot's mean residual is larger", "PERCENT");
    add("--max-hand", limits.handMean, "a hand's mean residual is larger", "PERCENT");
    add("--max-step", limits.stepRatio, "the largest joint step is more than so\nmany times the source's",
        "TIMES");
}

void addRetarget(CLI::App& program, Action& action)
{
    auto options = std::make_shared<RetargetOptions>();
    CLI::App* command =
        program.add_subcommand("retarget", "Drives a character from the motion of another one.");
    command
        ->add_option("FILES", options->files,
                     "SOURCE TARGET: BVH or glTF files (.bvh, .gltf, .glb,\n.vrm); with several sources the "
                     "target stands last")
        ->type_name("")
        ->required();
    command
        ->add_option("-o,--output", options->output,
                     "the target's file with the new motion, .bvh or .glb; a\nfolder for several sources")
        ->type_name("OUT");
    command->add_option("--map", options->map, "pair joints as this file says")->type_name("FILE");
    command
        ->add_option("--write-map", options->writeMap,
                     "write the map that was found, to be edited; without -o\nnothing else is done")
        ->type_name("FILE");
    command->add_option("--animation", options->settings.animation, "of a glTF source, from 0")
        ->type_name("INDEX")
        ->capture_default_str();
    command->add_flag("--body", options->settings.body,
                      "give the bones of a BVH target simple solid shapes\nin a .glb");
    command->add_flag_callback(
        "--no-positions", [options] { options->settings.positions = false; },
        "orientations and hips alone: hands and feet follow no\npositions");
    command->add_option("--steps", options->settings.steps, "most iterations a frame")
        ->type_name("COUNT")
        ->capture_default_str();
    command
        ->add_option("--tolerance", options->settings.tolerance,
                     "largest joint step (radians, units) that ends a solve")
        ->type_name("STEP")
        ->capture_default_str();
    addRetargetLimits(*command, options->limits);
    command->add_option("--report", options->htmlFile, "write a page with the animated figures and plots")
        ->type_name("FILE.html");
    command->add_option("--report-json", options->jsonFile, "write the report as JSON")->type_name("FILE");
    command->add_flag("--json", options->json, "write the report to the standard output as JSON");
    command
        ->add_option("--jobs", options->jobs,
                     "several sources: so many at a time; without: one for each\ncore")
        ->type_name("COUNT")
        ->check(CLI::PositiveNumber);
    command->add_flag("--again", options->again, "several sources: also those that are done and unchanged");
    command
        ->add_option("--offsets", options->offsets,
                     "what position channels do to a BVH joint's OFFSET:\nguess, replace or add")
        ->type_name("RULE")
        ->capture_default_str();
    command->footer("Joints are paired by the parts of the body that they are, whatever they are called.\n"
                    "Exit codes: 0 done, 1 done but a stated limit was missed, 2 bad input, 3 internal\n"
                    "error. Of several sources a bad one doesn't stop the others.\n\n"
                    "Examples:\n"
                    "  sinew retarget walk.bvh hero.glb -o hero_walk.glb --report walk.html\n"
                    "  sinew retarget walk.bvh hero.glb --write-map hero.map\n"
                    "  sinew retarget clips/*.bvh hero.glb -o results --jobs 4\n");
    command->callback([options, &action] { action = [options] { return runRetarget(*options); }; });
}

void addBench(CLI::App& program, Action& action)
{
    auto options = std::make_shared<BenchOptions>();
    CLI::App* command = program.add_subcommand("bench", "measure the solver on this machine");
    command->add_flag("--json", options->json, "write JSON to the standard output");
    command->add_flag("--hash-only", options->hashOnly,
                      "only the pose hashes, a line per work: equal on every machine and build");
    command->add_option("--repeat", options->repeat, "runs of each work; the fastest counts")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    command->footer("Examples:\n"
                    "  sinew bench\n"
                    "  sinew bench --hash-only\n");
    command->callback([options, &action] { action = [options] { return runBench(*options); }; });
}

void addCheck(CLI::App& program, Action& action)
{
    auto options = std::make_shared<CheckOptions>();
    CLI::App* command =
        program.add_subcommand("check", "Checks whether a built module keeps the contract with its host.");
    command->add_option("MODULE", options->module, "file of the module; without: the plug-in of this program")
        ->type_name("");
    command->add_option("--only", options->only, "repeatable: run this check alone")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command->add_flag("--list", options->list, "name the checks and run none");
    command->add_flag("--in-process", options->inProcess,
                      "don't start a process for each check, as under a debugger");
    command->add_flag("--json", options->json, "write JSON to the standard output");
    command->footer("Each check runs in a process of its own, so that a crash is a result.\n"
                    "Exit codes: 0 all passed, 1 a check failed, 2 bad input, 3 internal error.\n\n"
                    "Examples:\n"
                    "  sinew check ik.zx\n"
                    "  sinew check ik.zx --only references --in-process\n");
    command->callback([options, &action] { action = [options] { return runCheck(*options); }; });
}

void addRun(CLI::App& program, Action& action)
{
    auto options = std::make_shared<RunOptions>();
    CLI::App* command =
        program.add_subcommand("run", "Runs a script of host and rig commands without a window.");
    command
        ->add_option("SCRIPT", options->script, "text file with one command a line; - for the standard input")
        ->type_name("")
        ->required();
    command->add_option("--module", options->module, "load this module; without: the plug-in of this program")
        ->type_name("FILE");
    command->add_flag("--no-module", options->noModule, "only the host's own commands");
    command->add_flag("--keep-going", options->keepGoing,
                      "go on behind a line that failed; the exit code is\n2 all the same");
    command->add_flag("--echo", options->echo, "write each line before what it prints");
    command->add_flag("--json", options->json, "write one JSON object for each command");
    command->footer(
        "A script begins in an empty scene. Every command is one undo step; a command that fails\n"
        "leaves the scene as it was and ends the script. File names count from the script's\n"
        "folder. The commands `commands` and `help NAME` tell what there is; of a rig,\n"
        "`query item:FullBodyIK goals:true` tells how near it came to its goals.\n"
        "Exit codes: 0 done, 2 bad input or a command that failed, 3 internal error.\n\n"
        "Example script:\n"
        "  scene.import file:walk.bvh\n"
        "  item.create name:Goal\n"
        "  channel.set item:Goal channel:pos.Y value:1.5   # in the scene's unit\n"
        "  query item:Goal channel:worldMatrix\n"
        "  scene.save file:walk.sinew.json\n\n"
        "Examples:\n"
        "  sinew run walk.txt\n"
        "  echo commands | sinew run -\n");
    command->callback([options, &action] { action = [options] { return runScript(*options); }; });
}

void addShot(CLI::App& program, Action& action)
{
    auto options = std::make_shared<ShotOptions>();
    CLI::App* command =
        program.add_subcommand("shot", "Draws a picture of a character, motion or scene, without a display.");
    command->add_option("FILE", options->file, "BVH or glTF file, or a scene (.sinew.json)")
        ->type_name("")
        ->required();
    command
        ->add_option("-o,--output", options->output,
                     "the picture to write: PNG, or JPEG where the name ends in\n.jpg")
        ->type_name("PICTURE")
        ->required();
    command->add_option("--time", options->time, "seconds; of a sheet, where it begins")
        ->type_name("T")
        ->capture_default_str();
    command->add_option("--animation", options->animation, "of glTF: which one; without: the first")
        ->type_name("NAME");
    command->add_option("--camera", options->camera, "front, side, top or free")
        ->type_name("NAME")
        ->capture_default_str();
    command->add_option("--size", options->size, "pixels of the whole picture")
        ->type_name("WxH")
        ->capture_default_str();
    command->add_option("--sheet", options->sheet, "a contact sheet of so many moments up to the last key")
        ->type_name("COUNT");
    command->add_option("--up", options->up, "y or z; without: guessed for BVH files, y for others")
        ->type_name("AXIS");
    command
        ->add_option("--skeleton", options->skeleton,
                     "auto (bones of figures without a mesh, lines within\nmeshes), on or off")
        ->type_name("HOW")
        ->capture_default_str();
    command->add_flag("--no-floor", options->noFloor, "no floor grid and no shadow");
    command->footer("The camera stands so that all of the scene is seen. Exit codes: 0 done, 2 bad input, 3\n"
                    "internal error.\n\n"
                    "Examples:\n"
                    "  sinew shot walk.bvh -o walk.png --time 0.5 --camera side\n"
                    "  sinew shot walk.bvh -o sheet.png --sheet 12 --size 1600x900\n"
                    "  sinew shot fox.glb -o run.jpg --animation Run --time 0.3\n");
    command->callback([options, &action] { action = [options] { return runShot(*options); }; });
}

/// A new subcommand is a function like the two above and a line here.
constexpr void (*kSubcommands[])(CLI::App&, Action&) = {addInfo,  addTrack, addRetarget, addShot,
                                                        addBench, addRun,   addCheck};

int runGuarded(const Action& action)
{
    try {
        const int code = action();
        if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
            complain("the standard output cannot be written; the disk may be full");
            return kExitBadInput;
        }
        return code;
    } catch (const BadInput& error) {
        complain(error.what());
        return kExitBadInput;
    } catch (const std::bad_alloc&) {
        complain("memory is out; try fewer frames or joints");
    } catch (const std::exception& error) {
        complain(fmt::format("internal error: {}; please report it", error.what()));
    }
    return kExitInternal;
}

/// What to say of words that the options don't cover, with the help that covers them.
std::string parseMessage(const CLI::App& program, const CLI::ParseError& error, int argc,
                         const char* const* argv)
{
    if (const std::vector<CLI::App*> chosen = program.get_subcommands(); !chosen.empty())
        return fmt::format("{}; see `sinew {} --help`", error.what(), chosen.front()->get_name());
    if (argc > 1 && argv[1][0] != '-')
        return fmt::format("'{}' is no subcommand; `sinew --help` lists them", argv[1]);
    return fmt::format("{}; see `sinew --help`", error.what());
}

} // namespace

int runCommandLine(int argc, const char* const* argv)
{
    CLI::App program("Sinew: full-body inverse kinematics for character animation", "sinew");
    program.set_version_flag("--version", fmt::format("sinew {}", kVersion));
    program.require_subcommand(1);
    program.get_formatter()->column_width(34);
    program.footer("`sinew SUBCOMMAND --help` tells more, with examples.");
    Action action;
    for (const auto add : kSubcommands)
        add(program, action);
    try {
        program.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return program.exit(success) == 0 && std::fflush(stdout) == 0 ? kExitDone : kExitInternal;
    } catch (const CLI::ParseError& error) {
        complain(parseMessage(program, error, argc, argv));
        return kExitBadInput;
    }
    return runGuarded(action);
}

} // namespace app
