// SPDX-License-Identifier: MIT
// scene.*, time.set and module.load: files, setup mode, the current time, modules.
#include "commands/CommandText.h"
#include "commands/HostCommand.h"
#include "commands/Lookup.h"
#include "refhost/Host.h"
#include "refhost/Modules.h"
#include "refhost/MotionImport.h"
#include "refhost/SceneFile.h"
#include "refhost/SceneFileState.h"
#include "refhost/ViewChoice.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>

namespace refhost {
namespace {

constexpr const char* kStepIsOpen = "The scene is in the middle of a change. Finish or cancel it first.";

std::string extensionOf(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : static_cast<char>(c);
    });
    return extension;
}

constexpr const char* kImportExtensions[] = {".bvh", ".glb", ".gltf", ".vrm", ".vrma"};
constexpr const char* kExportExtensions[] = {".bvh", ".glb", ".vrm", ".vrma"};

Result requireExtension(const std::string& path, std::span<const char* const> known, const char* what)
{
    std::string list;
    for (const char* one : known) {
        if (extensionOf(path) == one)
            return {};
        list += (list.empty() ? "" : ", ") + std::string(one);
    }
    return Result::failure(shown(path) + " cannot be " + what + ": the name has to end in " + list + ".");
}

/// Opens the scene that `make` answers and closes the one that was open before.
template <class Make>
Result replaceScene(Host& host, const Make& make)
{
    Scene* former = host.currentScene();
    if (former && former->journal().isOpen())
        return Result::failure(kStepIsOpen);
    if (Result result = make(); !result.ok())
        return result;
    ViewChoice::of(host).framed = false;
    return former ? host.closeScene(*former) : Result{};
}

constexpr ArgumentRow kNewArguments[] = {
    {"name", ArgumentType::Text, false, "what the scene is called; `Untitled` otherwise"},
};
Result newScene(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    return replaceScene(invocation.host(), [&]() -> Result {
        invocation.host().newScene(arguments.isSet(0) ? arguments.text(0) : "Untitled");
        return {};
    });
}

constexpr ArgumentRow kOpenArguments[] = {
    {"file", ArgumentType::Text, true, "the scene file, as scene.save wrote it"},
};
Result openScene(Invocation& invocation)
{
    Host& host = invocation.host();
    const std::string& path = invocation.arguments().text(0);
    return replaceScene(host, [&]() -> Result {
        ResultOf<std::unique_ptr<Scene>> read = readSceneFile(host, path);
        if (!read.ok())
            return read.result();
        Scene& scene = host.addScene(std::move(read.value));
        SceneFileState& state = SceneFileState::of(scene);
        state.path = path;
        state.savedState = scene.journal().documentState();
        return {};
    });
}

constexpr ArgumentRow kSaveArguments[] = {
    {"file", ArgumentType::Text, false, "the file to write; otherwise the one that was opened or saved last"},
};
Result saveScene(Invocation& invocation)
{
    Scene& scene = *invocation.scene();
    SceneFileState& state = SceneFileState::of(scene);
    const std::string path = invocation.arguments().isSet(0) ? invocation.arguments().text(0) : state.path;
    if (path.empty())
        return Result::failure(
            "No file stands for this scene yet. Name one, as in scene.save file:walk.sinew.json");
    if (scene.journal().isOpen())
        return Result::failure(kStepIsOpen);
    if (Result result = writeSceneFile(scene, path); !result.ok())
        return result;
    state.path = path;
    state.savedState = scene.journal().documentState();
    return {};
}

constexpr ArgumentRow kImportArguments[] = {
    {"file", ArgumentType::Text, true, "a BVH or glTF file (.bvh, .glb, .gltf, .vrm, .vrma)"},
    {"offsets", ArgumentType::Text, false, "what position channels do to a joint's OFFSET; guess otherwise",
     "guess replace add"},
    {"endSites", ArgumentType::Boolean, false, "whether end sites become locators; true otherwise"},
    {"animation", ArgumentType::Integer, false,
     "which animation of a glTF file, counted from 0; 0 otherwise"},
};
Result importFile(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const std::string& path = arguments.text(0);
    if (Result result = requireExtension(path, kImportExtensions, "imported"); !result.ok())
        return result;
    MotionImportOptions options;
    for (int i = 0; arguments.isSet(1) && i < static_cast<int>(std::size(kOffsetReadingNames)); ++i) {
        if (arguments.text(1) == kOffsetReadingNames[i])
            options.offsets = static_cast<OffsetReading>(i);
    }
    options.endSites = arguments.boolean(2, true);
    if (arguments.integer(3) < 0)
        return Result::failure("'animation' is " + std::to_string(arguments.integer(3))
                               + ", but they are counted from 0.");
    options.animation = static_cast<std::size_t>(arguments.integer(3));
    const ResultOf<MotionImport> imported = importMotion(*invocation.scene(), path, options);
    const std::string prefix = path + ": ";
    for (const std::string& warning : imported.value.warnings)
        invocation.host().tell(MessageLevel::Warning, prefix + warning);
    return imported.result();
}

constexpr ArgumentRow kExportArguments[] = {
    {"file", ArgumentType::Text, true, "the file to write: .bvh, .glb, .vrm or .vrma"},
    {"item", ArgumentType::Item, false,
     "an item of the imported hierarchy or above it, where there are several"},
    {"rate", ArgumentType::Number, false,
     "keys a second of what was edited or is driven; at the source's times otherwise"},
    {"from", ArgumentType::Number, false, "seconds; where the motion begins otherwise"},
    {"to", ArgumentType::Number, false, "seconds; where all that drives the figure ends otherwise"},
    {"animation", ArgumentType::Integer, false,
     "of a glTF file: which animation is replaced, counted from 0; the one that was imported otherwise"},
    {"append", ArgumentType::Boolean, false, "of a glTF file: adds an animation and replaces none"},
};

std::string plural(std::size_t count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// To the tenth of a millisecond.
std::string seconds(double time)
{
    char buffer[64];
    (void)std::snprintf(buffer, sizeof buffer, "%.4f", time);
    std::string text = buffer;
    text.erase(text.find_last_not_of('0') + 1);
    return text.back() == '.' ? text.substr(0, text.size() - 1) : text;
}

void tellExport(const Invocation& invocation, const std::string& path, const MotionExport& done)
{
    if (invocation.printsJson()) {
        const nlohmann::ordered_json json = {
            {"file", path},
            {"clip", done.clip.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(done.clip)},
            {"from", done.from},
            {"to", done.to},
            {"frames", done.frameCount},
            {"keys", done.keyCount},
            {"joints", done.jointCount},
            {"changed", done.changedJointCount}};
        return invocation.print(json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    }
    std::string text = path + ": ";
    if (!done.clip.empty())
        text += "animation " + shown(done.clip) + ", ";
    text += seconds(done.from) + " to " + seconds(done.to) + " seconds, ";
    text += done.frameCount > 0 ? plural(done.frameCount, "frame") : plural(done.keyCount, "key");
    text += " of " + plural(done.jointCount, "joint") + "; ";
    text += done.changedJointCount == 0 ? "all as imported"
                                        : plural(done.changedJointCount, "joint") + " changed";
    invocation.print(text + ".");
}

Result exportFile(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const std::string& path = arguments.text(0);
    if (Result result = requireExtension(path, kExportExtensions, "exported"); !result.ok())
        return result;
    MotionExportOptions options;
    options.root = arguments.item(1);
    const auto number = [&](int index) {
        return arguments.isSet(index) ? std::optional(arguments.number(index)) : std::nullopt;
    };
    options.rate = number(2);
    options.from = number(3);
    options.to = number(4);
    if (arguments.integer(5) < 0)
        return Result::failure("'animation' is " + std::to_string(arguments.integer(5))
                               + ", but they are counted from 0.");
    if (arguments.isSet(5))
        options.animation = static_cast<std::size_t>(arguments.integer(5));
    options.append = arguments.boolean(6);
    const ResultOf<MotionExport> exported = exportMotion(*invocation.scene(), path, options);
    if (!exported.ok())
        return exported.result();
    if (exported.value.lossCount > 0)
        invocation.host().tell(MessageLevel::Warning, path + ": " + exported.value.worstLoss);
    for (const std::string& note : exported.value.notes)
        invocation.host().tell(MessageLevel::Warning, path + ": " + note);
    tellExport(invocation, path, exported.value);
    return {};
}

constexpr ArgumentRow kSetupArguments[] = {
    {"on", ArgumentType::Boolean, false, "true or false; true otherwise"},
};
Result setSetup(Invocation& invocation)
{
    return invocation.scene()->setSetupMode(invocation.arguments().boolean(0, true));
}

constexpr ArgumentRow kTimeArguments[] = {
    {"time", ArgumentType::Number, true, "the current time in seconds"},
};
Result setTime(Invocation& invocation) { return invocation.host().setTime(invocation.arguments().number(0)); }

constexpr ArgumentRow kModuleArguments[] = {
    {"file", ArgumentType::Text, true, "the module's file"},
};
Result loadModule(Invocation& invocation)
{
    return Modules::of(invocation.host()).load(invocation.arguments().text(0));
}

constexpr ArgumentRow kTagArguments[] = {
    {"tag", ArgumentType::Text, true, "four characters, such as IKEN"},
    {"value", ArgumentType::Text, false, "the tag's text; without one the tag is removed"},
};
Result setSceneTag(Invocation& invocation)
{
    const Arguments& arguments = invocation.arguments();
    const ResultOf<TagCode> tag = tagFromText(arguments.text(0));
    if (!tag.ok())
        return tag.result();
    return invocation.scene()->setTag(tag.value, arguments.isSet(1) ? arguments.text(1).c_str() : nullptr);
}

constexpr CommandRow kRows[] = {
    {"scene.new", CommandKind::Session, "Opens an empty scene in place of the open one.", "scene.new Walk",
     kNewArguments, newScene, nullptr, false},
    {"scene.open", CommandKind::Session, "Opens a scene file in place of the open scene.",
     "scene.open file:walk.sinew.json", kOpenArguments, openScene, nullptr, false},
    {"scene.save", CommandKind::Query, "Writes the scene to its file, or to another one.",
     "scene.save file:walk.sinew.json", kSaveArguments, saveScene},
    {"scene.import", CommandKind::Edit, "Adds the figure and motion of a file to the scene.",
     "scene.import file:walk.bvh", kImportArguments, importFile},
    {"scene.export", CommandKind::Query,
     "Writes an imported figure's motion, as it is now, to a file, and says what it wrote.",
     "scene.export file:solved.bvh", kExportArguments, exportFile},
    {"scene.setup", CommandKind::Edit, "Switches setup mode, in which rest poses and rigs are made.",
     "scene.setup on:true", kSetupArguments, setSetup},
    {"scene.tag", CommandKind::Edit, "Sets or removes a text under a four-character code on the scene.",
     "scene.tag tag:IKEN value:disabled", kTagArguments, setSceneTag},
    {"time.set", CommandKind::Query, "Sets the current time.", "time.set 1.5", kTimeArguments, setTime,
     nullptr, false},
    {"module.load", CommandKind::Session, "Loads a module with its commands, packages and messages.",
     "module.load file:lib/ik.zx", kModuleArguments, loadModule, nullptr, false},
};

} // namespace

std::span<const CommandRow> sceneCommandRows() { return kRows; }

} // namespace refhost
