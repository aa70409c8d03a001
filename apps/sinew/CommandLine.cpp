// SPDX-License-Identifier: MIT
// Declares every subcommand's options and runs the one that is asked for. The only file that includes CLI11.
#include "CommandLine.h"

#include "bench/BenchCommand.h"
#include "check/CheckCommand.h"
#include "info/InfoCommand.h"
#include "retarget/RetargetCommand.h"
#include "run/RunCommand.h"
#include "shared/Console.h"
#include "shared/OptionRange.h"
#include "shared/Version.h"
#include "shot/ScenePicture.h"
#include "shot/ShotCommand.h"
#include "track/TrackCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <refhost/NearMiss.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <vector>

namespace app {

namespace {

constexpr double kMostNumber = 1e6; // more is a slip
constexpr double kMostTime = 1e9; // seconds, as far as a scene goes

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
    command
        ->add_option("FILE", options->motion.file,
                     "BVH, glTF, GLB, VRM or VRMA file, or a scene; - for the\nstandard input")
        ->type_name("")
        ->check(fileName())
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

void addSteps(CLI::App& command, std::uint32_t& steps, double& tolerance)
{
    command.add_option("--steps", steps, "most iterations a frame")
        ->type_name("COUNT")
        ->check(wholeNumber(1, 1'000'000))
        ->capture_default_str();
    command.add_option("--tolerance", tolerance, "largest joint step (radians, units) that ends a solve")
        ->type_name("STEP")
        ->check(number(0, kMostNumber))
        ->capture_default_str();
}

void addSolveOptions(CLI::App& command, TrackSettings& settings)
{
    addSteps(command, settings.steps, settings.tolerance);
    command.add_option("--precision", settings.precision, "damping: smaller follows the goals more stiffly")
        ->type_name("NUMBER")
        ->check(positiveNumber(kMostNumber))
        ->capture_default_str();
    command
        .add_option("--pull", settings.pull,
                    "gain of the goals: larger is faster, and diverges\nbeyond a point")
        ->type_name("NUMBER")
        ->check(positiveNumber(kMostNumber))
        ->capture_default_str();
    command.add_flag_callback(
        "--fixed-root", [&settings] { settings.translateRoot = false; },
        "keep the root where it is in the first frame");
    command.add_flag("--from-rest", settings.fromRest,
                     "start every frame from rest rather than from the frame\nbefore");
}

void addBatch(CLI::App& command, BatchOptions& options)
{
    command
        .add_option("--jobs", options.jobs, "several sources: so many at a time; without: one for each\ncore")
        ->type_name("COUNT")
        ->check(wholeNumber(1, kMostJobs));
    command.add_flag("--again", options.again, "several sources: also those that are done and unchanged");
}

/// The options that were given, as words to give them again to each of several sources.
std::vector<std::string> givenWords(const CLI::App& command)
{
    constexpr std::string_view kOfTheWhole[] = {"output", "report", "report-json", "json", "jobs", "again"};
    std::vector<std::string> words;
    for (const CLI::Option* option : command.get_options()) {
        if (option->count() == 0 || option->get_lnames().empty())
            continue;
        const std::string& name = option->get_lnames().front();
        if (std::find(std::begin(kOfTheWhole), std::end(kOfTheWhole), name) != std::end(kOfTheWhole))
            continue;
        if (option->get_items_expected_max() == 0)
            words.push_back("--" + name);
        else
            for (const std::string& value : option->results())
                words.push_back("--" + name + "=" + value);
    }
    return words;
}

void addReports(CLI::App& command, std::string& htmlFile, std::string& jsonFile, bool& json)
{
    command.add_option("--report", htmlFile, "write a page with the animated figures and plots")
        ->type_name("FILE.html")
        ->check(fileName());
    command.add_option("--report-json", jsonFile, "write the report as JSON")
        ->type_name("FILE")
        ->check(fileName());
    command.add_flag("--json", json, "write the report to the standard output as JSON");
}

void addTrack(CLI::App& program, Action& action)
{
    auto options = std::make_shared<TrackOptions>();
    CLI::App* command =
        program.add_subcommand("track", "Solves a motion anew from the motion of a few of its joints.");
    command
        ->add_option("IN", options->files,
                     "file with the source motion: BVH or glTF (.bvh, .gltf,\n.glb, .vrm), - for the "
                     "standard input; or "
                     "several files")
        ->type_name("")
        ->check(fileName())
        ->required();
    command
        ->add_option("-o,--output", options->output,
                     "the same file with the solved motion: .bvh for BVH, .glb\nfor glTF; - for the standard "
                     "output; a "
                     "folder for several")
        ->type_name("OUT")
        ->check(fileName())
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
        ->check(number(0.01, 1000))
        ->type_name("HZ");
    addSolveOptions(*command, options->settings);
    command
        ->add_option(
            "--max-mean-error", options->maxMeanError,
            "exit with 1 when the mean residual is larger: a share of\nthe figure's height, as in 0.1%, or a "
            "length in file units")
        ->type_name("LIMIT");
    addReports(*command, options->htmlFile, options->jsonFile, options->json);
    addBatch(*command, options->batch);
    addMotionOptions(*command, options->motion);
    command->footer(
        "Exit codes: 0 done, 1 done but --max-mean-error was missed, 2 bad input, 3 internal error.\n"
        "Of several files a bad one doesn't stop the others.\n\n"
        "Examples:\n"
        "  sinew track walk.bvh -o solved.bvh --report solved.html\n"
        "  sinew track walk.bvh -o solved.bvh --goal LeftHand --goal Head:both --frames 0:99\n"
        "  sinew track fox.glb -o solved.glb --animation Run\n"
        "  sinew track clips/*.bvh -o results --jobs 4\n");
    command->callback([options, command, &action] {
        options->batch.words = givenWords(*command);
        action = [options] { return runTrack(*options); };
    });
}

void addRetargetLimits(CLI::App& command, RetargetLimits& limits)
{
    const auto add = [&](const char* name, std::optional<double>& value, const char* what, const char* type) {
        command.add_option(name, value, std::string("exit with 1 when ") + what)
            ->type_name(type)
            ->check(number(0, kMostNumber));
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
                     "SOURCE TARGET: BVH or glTF files (.bvh, .gltf, .glb,\n.vrm), one of them - for the "
                     "standard input; with several\nsources the target stands last")
        ->type_name("")
        ->check(fileName())
        ->required();
    command
        ->add_option(
            "-o,--output", options->output,
            "the target's file with the new motion, .bvh or .glb; - for\nthe standard output; a folder for "
            "several sources")
        ->check(fileName())
        ->type_name("OUT");
    command->add_option("--format", options->format, "of `-o -`: bvh or glb; without: that of the target")
        ->type_name("NAME")
        ->check(CLI::IsMember({"bvh", "glb"}));
    command->add_option("--map", options->map, "pair joints as this file says")
        ->type_name("FILE")
        ->check(fileName());
    command
        ->add_option("--write-map", options->writeMap,
                     "write the map that was found, to be edited; without -o\nnothing else is done")
        ->check(fileName())
        ->type_name("FILE");
    command->add_option("--animation", options->settings.animation, "of a glTF source, from 0")
        ->type_name("INDEX")
        ->check(wholeNumber(0, 1'000'000))
        ->capture_default_str();
    command->add_flag("--body", options->settings.body,
                      "give the bones of a BVH target simple solid shapes\nin a .glb");
    command->add_flag_callback(
        "--no-positions", [options] { options->settings.positions = false; },
        "orientations and hips alone: hands and feet follow no\npositions");
    addSteps(*command, options->settings.steps, options->settings.tolerance);
    addRetargetLimits(*command, options->limits);
    addReports(*command, options->htmlFile, options->jsonFile, options->json);
    addBatch(*command, options->batch);
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
    command->callback([options, command, &action] {
        options->batch.words = givenWords(*command);
        action = [options] { return runRetarget(*options); };
    });
}

void addBench(CLI::App& program, Action& action)
{
    auto options = std::make_shared<BenchOptions>();
    CLI::App* command = program.add_subcommand("bench", "Measures the solver on this machine.");
    command->add_flag("--json", options->json, "write JSON to the standard output");
    command->add_flag("--hash-only", options->hashOnly,
                      "only the pose hashes, a line per work: equal on every machine and build");
    command->add_option("--repeat", options->repeat, "runs of each work; the fastest counts")
        ->check(wholeNumber(1, 1000))
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
    command->add_option("--time-limit", options->seconds, "that one check may take")
        ->type_name("SECONDS")
        ->check(wholeNumber(1, 3600))
        ->capture_default_str();
    command->add_option("--passed-to", options->passedTo)->group(""); // from this program to itself
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
        "leaves the scene as it was and ends the script. The commands `commands` and `help NAME`\n"
        "tell what there is.\n"
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
    command
        ->add_option("FILE", options->file,
                     "BVH or glTF file, or a scene (.sinew.json); - for the\nstandard input")
        ->type_name("")
        ->check(fileName())
        ->required();
    command
        ->add_option(
            "-o,--output", options->output,
            "the picture to write: PNG, or JPEG where the name ends in\n.jpg; - for a PNG on the standard "
            "output")
        ->type_name("PICTURE")
        ->check(fileName())
        ->required();
    command->add_option("--time", options->time, "seconds; of a sheet, where it begins")
        ->type_name("T")
        ->check(number(-kMostTime, kMostTime))
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
        ->type_name("COUNT")
        ->check(wholeNumber(1, kMostMoments));
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

/// ` Did you mean 'track'?`, or nothing.
std::string didYouMean(std::string_view typed, const std::vector<std::string>& known)
{
    refhost::NearMiss near(typed);
    for (const std::string& word : known)
        near.offer(word);
    return near.question();
}

/// The first word that looks like an option and is none of the subcommand's.
std::optional<std::string> unknownOption(const CLI::App& command)
{
    for (const std::string& word : command.remaining())
        if (word.size() > 1 && word.front() == '-')
            return word.substr(0, word.find('='));
    return std::nullopt;
}

std::string optionMessage(const CLI::App& command, const std::string& option)
{
    std::vector<std::string> known;
    for (const CLI::Option* one : command.get_options())
        for (const std::string& name : one->get_lnames())
            known.push_back("--" + name);
    return fmt::format("{} is no option of `sinew {}`.{} See `sinew {} --help`", option, command.get_name(),
                       didYouMean(option, known), command.get_name());
}

/// What to say of words that the options don't cover, with the help that covers them.
std::string parseMessage(const CLI::App& program, const CLI::ParseError& error)
{
    const std::vector<CLI::App*> chosen = program.get_subcommands();
    if (chosen.empty())
        return fmt::format("{}; see `sinew --help`", error.what());
    const CLI::App& command = *chosen.front();
    if (const std::optional<std::string> option = unknownOption(command))
        return optionMessage(command, *option);
    return fmt::format("{}; see `sinew {} --help`", error.what(), command.get_name());
}

std::vector<std::string> subcommandNames(const CLI::App& program)
{
    std::vector<std::string> names;
    for (const CLI::App* command : program.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    return names;
}

std::string usageText(const CLI::App& program)
{
    std::string text = "no subcommand is given; there are\n";
    for (const CLI::App* command : program.get_subcommands([](const CLI::App*) { return true; }))
        text += fmt::format("  {:<9} {}\n", command->get_name(), command->get_description());
    return text + "`sinew help` tells more, and `sinew help SUBCOMMAND` all about one, with examples.\n";
}

/// The words with `help` and `version` put as the options that they stand for.
std::vector<const char*> wordsOf(int argc, const char* const* argv)
{
    std::vector<const char*> words(argv, argv + argc);
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "version")
        words[1] = "--version";
    if (first != "help")
        return words;
    words.erase(words.begin() + 1);
    words.push_back("--help");
    return words;
}

} // namespace

int runCommandLine(int argc, const char* const* argv)
{
    CLI::App program("Sinew: full-body inverse kinematics for character animation", "sinew");
    program.set_version_flag("--version", fmt::format("sinew {}", kVersion));
    program.require_subcommand(1);
    program.get_formatter()->column_width(34);
    program.footer("`sinew help SUBCOMMAND` tells more, with examples.");
    Action action;
    for (const auto add : kSubcommands)
        add(program, action);
    if (argc < 2) {
        print("sinew: " + usageText(program), stderr);
        return kExitBadInput;
    }
    const std::vector<const char*> words = wordsOf(argc, argv);
    const std::vector<std::string> names = subcommandNames(program);
    if (const std::string_view first = words[1];
        !first.starts_with('-') && std::find(names.begin(), names.end(), first) == names.end()) {
        complain(fmt::format("'{}' is no subcommand.{} `sinew --help` lists them.", first,
                             didYouMean(first, names)));
        return kExitBadInput;
    }
    try {
        program.parse(static_cast<int>(words.size()), words.data());
    } catch (const CLI::Success& success) {
        return program.exit(success) == 0 && std::fflush(stdout) == 0 ? kExitDone : kExitInternal;
    } catch (const CLI::ParseError& error) {
        complain(parseMessage(program, error));
        return kExitBadInput;
    }
    return runGuarded(action);
}

} // namespace app
