/* SPDX-License-Identifier: MIT
 * Drives the module from plain C through its raw tables: what a host in any language may rely on.
 *
 * Usage: abi_tests PATH/ik.zx */
#include "ArmScene.h"
#include "Check.h"
#include "ServerFacts.h"

/* Every header of the contract, so that each stands up to a C compiler. */
#include <zx/ZxChannel.h>
#include <zx/ZxCommand.h>
#include <zx/ZxDraw.h>
#include <zx/ZxEvaluation.h>
#include <zx/ZxGraph.h>
#include <zx/ZxItem.h>
#include <zx/ZxMesh.h>
#include <zx/ZxModule.h>
#include <zx/ZxPackage.h>
#include <zx/ZxScene.h>
#include <zx/ZxSelection.h>
#include <zx/ZxTool.h>
#include <zx/ZxTypes.h>

#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

static const ZxId kUnknownInterface = {0x0123456789abcdefull, 0xfedcba9876543210ull};

/** Slot of an object's table. */
#define CALL(Table, object, slot) ((const Table*)(object)->table)->slot

static int isSame(const ZxId* a, const ZxId* b) { return a->high == b->high && a->low == b->low; }

static void release(ZxObject* object)
{
    if (object)
        object->table->release(object);
}

/** Another interface of an object, or null with a failed check. */
static ZxObject* query(ZxObject* object, const ZxId* id)
{
    ZxObject* found = NULL;
    CHECK_RESULT(object->table->query(object, id, &found), 0);
    CHECK(found != NULL);
    return found;
}

static ZxObject* makeServer(ZxObject* module, const ServerFact* fact)
{
    ZxObject* server = NULL;
    CHECK_RESULT(CALL(ZxModuleTable, module, server)(module, fact->name, fact->firstInterface, &server), 0);
    CHECK(server != NULL);
    return server;
}

static const ServerFact* factNamed(const char* name)
{
    uint32_t i;
    for (i = 0; i < kServerCount; ++i)
        if (strcmp(kServers[i].name, name) == 0)
            return &kServers[i];
    return NULL;
}

static void moduleOffersItsInterfacesAsOneObject(ZxObject* module)
{
    static const ZxId* const kIds[] = {&kZxIdModule, &kZxIdTagDescription, &kZxIdNeedContext};
    ZxObject* identity = query(module, &kZxIdObject);
    ZxObject* none = module;
    size_t i;
    for (i = 0; i < sizeof kIds / sizeof kIds[0]; ++i) {
        ZxObject* face = query(module, kIds[i]);
        ZxObject* same = query(face, &kZxIdObject);
        ZxObject* back = query(face, &kZxIdModule);
        CHECK(same == identity);
        CHECK(back == module);
        release(back);
        release(same);
        release(face);
    }
    CHECK_RESULT(module->table->query(module, &kUnknownInterface, &none), 0x80000017u);
    CHECK(none == NULL);
    release(identity);
}

static void tagsNameTheServersInOrder(ZxObject* module)
{
    ZxObject* tags = query(module, &kZxIdTagDescription);
    const ZxTagDescriptionTable* ops = (const ZxTagDescriptionTable*)tags->table;
    uint32_t i, count = 0;
    const char *key = NULL, *value = NULL;
    const ZxId* id = NULL;
    CHECK_RESULT(ops->tagCount(tags, &count), 0);
    CHECK(count == kServerCount);
    for (i = 0; i < count && i < kServerCount; ++i) {
        CHECK_RESULT(ops->tag(tags, i, &key, &value, &id), 0);
        CHECK_TEXT(key, "server");
        CHECK_TEXT(value, kServers[i].name);
        CHECK(id && isSame(id, kServers[i].firstInterface));
    }
    CHECK_RESULT(ops->tag(tags, count, &key, &value, &id), 0x80000015u);
    CHECK_RESULT(ops->tag(tags, 0xffffffffu, &key, &value, &id), 0x80000015u);
    release(tags);
}

static void entryRegistersTheServersOnce(ZxModuleEntry entry)
{
    ZxObject* again = entry();
    if (CHECK(again != NULL)) {
        tagsNameTheServersInOrder(again);
        release(again);
    }
}

static void serversThatAreNotThereAreNotFound(ZxObject* module)
{
    const ZxModuleTable* ops = (const ZxModuleTable*)module->table;
    static const struct {
        const char* name;
        const ZxId* id;
    } kWrong[] = {
        {"ik.nothing", &kZxIdPackage}, {"", &kZxIdPackage},          {"IKFB", &kZxIdEvalModifier},
        {"ikf", &kZxIdEvalModifier},   {"ikfb", &kUnknownInterface}, {"ikfb", &kZxIdPackage},
        {"ikfb", &kZxIdStaticDesc}, /* offered, but not first */
    };
    size_t i;
    for (i = 0; i < sizeof kWrong / sizeof kWrong[0]; ++i) {
        ZxObject* server = module;
        CHECK_RESULT(ops->server(module, kWrong[i].name, kWrong[i].id, &server), 0x80000017u);
        CHECK(server == NULL);
    }
}

static void staticDescriptionIsAsStated(ZxObject* server, const ServerFact* fact)
{
    ZxObject* description = NULL;
    const ZxStaticDescTable* ops;
    const char *key = NULL, *value = NULL;
    uint32_t i, count = 0, expected = 0;
    const zxresult result = server->table->query(server, &kZxIdStaticDesc, &description);
    if (!fact->hasStaticDesc) {
        CHECK_RESULT(result, 0x80000017u);
        return;
    }
    if (!CHECK_RESULT(result, 0))
        return;
    while (fact->tags[expected].key)
        ++expected;
    ops = (const ZxStaticDescTable*)description->table;
    CHECK_RESULT(ops->tagCount(description, &count), 0);
    CHECK(count == expected);
    for (i = 0; i < count && i < expected; ++i) {
        CHECK_RESULT(ops->tag(description, i, &key, &value), 0);
        CHECK_TEXT(key, fact->tags[i].key);
        CHECK_TEXT(value, fact->tags[i].value);
    }
    CHECK_RESULT(ops->tag(description, count, &key, &value), 0x80000015u);
    release(description);
}

static void channelsAreAsStated(const ChannelRecorder* recorded, const ServerFact* fact)
{
    uint32_t i, c;
    CHECK(recorded->count == fact->channelCount);
    CHECK(recorded->slots == fact->channelSlots);
    for (i = 0; i < recorded->count && i < fact->channelCount; ++i) {
        const RecordedChannel* actual = &recorded->channels[i];
        const ChannelFact* expected = &fact->channels[i];
        checkSubject(expected->name);
        CHECK_TEXT(actual->name, expected->name);
        CHECK_TEXT(actual->type, expected->type);
        CHECK_TEXT(actual->hints, expected->hints);
        CHECK(actual->number == expected->number);
        CHECK(actual->integer == expected->integer);
        CHECK(actual->isVector == (expected->vector != NULL));
        for (c = 0; c < 3 && expected->vector; ++c)
            CHECK(actual->vector[c] == expected->vector[c]);
        CHECK(actual->setupSwitch == expected->setupSwitch);
    }
    checkSubject(fact->name);
}

/** Lets a package declare its channels; false for what is no package. */
static int declare(ZxObject* module, const char* package, ChannelRecorder* recorder)
{
    ZxObject* server = makeServer(module, factNamed(package));
    channelRecorderInit(recorder);
    CHECK_RESULT(CALL(ZxPackageTable, server, setupChannels)(server, &recorder->counted.object), 0);
    CHECK(recorder->counted.references == 0);
    release(server);
    return recorder->count > 0;
}

/** What an attached instance keeps of its item returns: by `cleanUp`, or with the instance itself. */
static void attachGivesAnInstance(ZxObject* package)
{
    const ZxPackageTable* ops = (const ZxPackageTable*)package->table;
    const long before = countedReferences();
    int cleansUp;
    CHECK_RESULT(ops->testInterface(package, &kZxIdPackageInstance), 0);
    CHECK_RESULT(ops->testInterface(package, &kUnknownInterface), 1);
    for (cleansUp = 0; cleansUp < 2; ++cleansUp) {
        ZxObject *object = NULL, *instance;
        CHECK_RESULT(ops->attach(package, &object), 0);
        if (!CHECK(object != NULL))
            return;
        instance = query(object, &kZxIdPackageInstance);
        CHECK_RESULT(CALL(ZxPackageInstanceTable, instance, initialise)(instance, armItem(kElbow)), 0);
        CHECK(countedReferences() > before);
        if (cleansUp) {
            CHECK_RESULT(CALL(ZxPackageInstanceTable, instance, cleanUp)(instance), 0);
            CHECK(countedReferences() == before);
        }
        release(instance);
        release(object);
        CHECK(countedReferences() == before);
    }
}

static void serversAreAsStated(ZxObject* module)
{
    uint32_t i;
    for (i = 0; i < kServerCount; ++i) {
        const ServerFact* fact = &kServers[i];
        ZxObject* server;
        ChannelRecorder recorder;
        checkSubject(fact->name);
        server = makeServer(module, fact);
        if (!server)
            continue;
        staticDescriptionIsAsStated(server, fact);
        if (fact->channels) {
            declare(module, fact->name, &recorder);
            channelsAreAsStated(&recorder, fact);
            attachGivesAnInstance(server);
        }
        release(server);
    }
}

static void commandsAreAsStated(ZxObject* module)
{
    uint32_t i, a, count, flags;
    for (i = 0; i < kCommandCount; ++i) {
        const CommandFact* fact = &kCommands[i];
        ZxObject *command = makeServer(module, factNamed(fact->name)), *attributes, *value = NULL, *reference;
        const ZxCommandTable* ops = (const ZxCommandTable*)command->table;
        const ZxAttributesTable* arguments;
        const char *name = NULL, *text = NULL;
        checkSubject(fact->name);
        attributes = query(command, &kZxIdAttributes);
        release(query(command, &kZxIdAttributesUI));
        arguments = (const ZxAttributesTable*)attributes->table;
        CHECK_RESULT(ops->flags(command, &flags), 0);
        CHECK(flags == 0x06000000u);
        for (a = 0; a < 2; ++a) {
            CHECK_RESULT(ops->notifier(command, a, &name, &text), 0);
            CHECK_TEXT(name, fact->notifiers[a].key);
            CHECK_TEXT(text, fact->notifiers[a].value);
        }
        CHECK_RESULT(ops->notifier(command, 2, &name, &text), 0x80000015u);
        CHECK_RESULT(arguments->count(attributes, &count), 0);
        for (a = 0; fact->arguments[a].name; ++a) {
            CHECK_RESULT(arguments->name(attributes, a, &name), 0);
            CHECK_TEXT(name, fact->arguments[a].name);
            CHECK_RESULT(arguments->type(attributes, a, &text), 0);
            CHECK_TEXT(text, fact->arguments[a].type);
            CHECK_RESULT(arguments->flags(attributes, a, &flags), 0);
            CHECK(flags == fact->arguments[a].flags);
        }
        CHECK(count == a);
        CHECK_RESULT(arguments->name(attributes, a, &name), 0x80000015u);
        /* Argument 0 is an item: it counts as given once it was taken for writing, until it is cleared. */
        CHECK_RESULT(arguments->value(attributes, 0, 1, &value), 0);
        reference = query(value, &kZxIdValueReference);
        CHECK_RESULT(CALL(ZxValueReferenceTable, reference, set)(reference, armItem(kElbow)), 0);
        release(reference);
        release(value);
        CHECK_RESULT(arguments->flags(attributes, 0, &flags), 0);
        CHECK(flags == (fact->arguments[0].flags | 0x10000u));
        CHECK_RESULT(arguments->clear(attributes, 0), 0);
        CHECK_RESULT(arguments->flags(attributes, 0, &flags), 0);
        CHECK(flags == fact->arguments[0].flags);
        CHECK_RESULT(ops->icon(command, &text), fact->icon ? 0 : 0x80000017u);
        if (fact->icon)
            CHECK_TEXT(text, fact->icon);
        /* A host without selection and commands: refused, and nothing to do. */
        CHECK_RESULT(ops->enable(command, NULL), fact->enabled);
        CHECK_RESULT(ops->execute(command, 0), 0);
        release(attributes);
        release(command);
    }
}

static void theToolIsAsStated(ZxObject* module)
{
    static const struct {
        const char *name, *type;
        double value;
    } kAttributes[] = {
        {"offsetX", "float", 0},       {"offsetY", "float", 0},          {"offsetZ", "float", 0},
        {"mode", "integer", 0},        {"posTaskWeight", "float", 1},    {"posTaskPrecision", "float", 2},
        {"rotTaskWeight", "float", 1}, {"rotTaskPrecision", "float", 2}, {"rootWeight", "float", 1},
    };
    ZxObject *tool = makeServer(module, factNamed("ik.pose")), *model, *attributes, *value = NULL,
             *type = tool;
    const ZxToolModelTable* ops;
    const ZxAttributesTable* settings;
    const char* text = NULL;
    uint32_t i, number = 0;
    double read = -1;
    checkSubject("ik.pose");
    model = query(tool, &kZxIdToolModel);
    attributes = query(tool, &kZxIdAttributes);
    ops = (const ZxToolModelTable*)model->table;
    settings = (const ZxAttributesTable*)attributes->table;
    CHECK_RESULT(ops->flags(model, &number), 0);
    CHECK(number == 0x71030u);
    CHECK_RESULT(CALL(ZxToolTable, tool, task)(tool, &number), 0);
    CHECK(number == 0x41435452u);
    CHECK_RESULT(CALL(ZxToolTable, tool, order)(tool, &text), 0);
    CHECK(text && (unsigned char)text[0] == 0xF0 && text[1] == 0);
    CHECK_RESULT(settings->count(attributes, &number), 0);
    CHECK(number == sizeof kAttributes / sizeof kAttributes[0]);
    for (i = 0; i < number; ++i) {
        CHECK_RESULT(settings->name(attributes, i, &text), 0);
        CHECK_TEXT(text, kAttributes[i].name);
        CHECK_RESULT(settings->type(attributes, i, &text), 0);
        CHECK_TEXT(text, kAttributes[i].type);
        CHECK_RESULT(settings->value(attributes, i, 1, &value), 0);
        CHECK_RESULT(CALL(ZxValueTable, value, number)(value, &read), 0);
        CHECK(read == kAttributes[i].value);
        CHECK_RESULT(CALL(ZxValueTable, value, setNumber)(value, 77), 0);
        CHECK_RESULT(CALL(ZxToolTable, tool, reset)(tool), 0);
        CHECK_RESULT(CALL(ZxValueTable, value, number)(value, &read), 0);
        CHECK(read == kAttributes[i].value);
        release(value);
    }
    /* A host without packets, views and selection: refused, and nothing to do. */
    CHECK_RESULT(CALL(ZxToolTable, tool, vectorType)(tool, &type), 0x80000017u);
    CHECK(type == NULL);
    CHECK_RESULT(ops->enable(model, NULL), 0x84800004u);
    CHECK_RESULT(ops->initialise(model, NULL), 0);
    CHECK_RESULT(ops->draw(model, NULL, NULL), 0);
    CHECK_RESULT(ops->hitTest(model, NULL, NULL), 0);
    CHECK_RESULT(ops->buttonDown(model, NULL, NULL), 0);
    CHECK_RESULT(ops->move(model, NULL, NULL), 0);
    CHECK_RESULT(CALL(ZxToolTable, tool, evaluate)(tool, NULL), 0);
    CHECK_RESULT(ops->buttonUp(model, NULL, NULL), 0);
    CHECK_RESULT(ops->dropped(model), 0);
    release(attributes);
    release(model);
    release(tool);
}

static void setArgument(ZxObject* attributes, uint32_t index, int32_t number)
{
    ZxObject* value = NULL;
    CHECK_RESULT(CALL(ZxAttributesTable, attributes, value)(attributes, index, 1, &value), 0);
    CHECK_RESULT(CALL(ZxValueTable, value, setInteger)(value, number), 0);
    release(value);
}

static void iconsGoByArguments(ZxObject* module)
{
    uint32_t i;
    for (i = 0; i < kIconCount; ++i) {
        const IconFact* fact = &kIcons[i];
        ZxObject* command = makeServer(module, factNamed(fact->command));
        ZxObject* attributes = query(command, &kZxIdAttributes);
        const char* icon = NULL;
        checkSubject(fact->command);
        setArgument(attributes, fact->first, fact->firstValue);
        setArgument(attributes, fact->second, fact->secondValue);
        CHECK_RESULT(CALL(ZxCommandTable, command, icon)(command, &icon), fact->icon ? 0 : 0x80000017u);
        if (fact->icon)
            CHECK_TEXT(icon, fact->icon);
        release(attributes);
        release(command);
    }
}

static void resetNeedsAScene(ZxObject* module)
{
    static const char* const kModifiers[] = {"ikfb", "iktask"};
    size_t i;
    for (i = 0; i < 2; ++i) {
        ZxObject *modifier = makeServer(module, factNamed(kModifiers[i])), *item = modifier;
        uint32_t attribute = 7;
        CHECK_RESULT(CALL(ZxEvalModifierTable, modifier, reset)(modifier, NULL), 0x80000004u);
        CHECK_RESULT(CALL(ZxEvalModifierTable, modifier, reset)(modifier, armScene()), 0);
        CHECK_RESULT(CALL(ZxEvalModifierTable, modifier, reset)(modifier, NULL), 0x80000004u);
        CHECK(countedReferences() == 1); /* the context alone: the scene is given up with all that is its */
        CHECK_RESULT(CALL(ZxEvalModifierTable, modifier, next)(modifier, &item, &attribute), 0);
        CHECK(item == NULL);
        release(modifier);
    }
}

/** Packages and rest poses; the local matrices are the rest pose too. */
static void buildArm(ZxObject* module)
{
    static const double kOffsets[kJointCount][3] = {{0.5, 1, 0}, {0, 1, 0}, {0, 1, 0.1}, {0, 0.5, 0}};
    static const char* const kRestPos[3] = {"ikRestPos.X", "ikRestPos.Y", "ikRestPos.Z"};
    static const char* const kPackages[] = {"ik.package", "ik.joint"};
    ChannelRecorder recorder;
    int joint, c, p;
    for (p = 0; p < 2; ++p)
        if (CHECK(declare(module, kPackages[p], &recorder)))
            for (joint = 0; joint < kJointCount; ++joint)
                armAddPackage(joint, kPackages[p], &recorder);
    if (CHECK(declare(module, "ik.positionTask", &recorder)))
        armAddPackage(kHand, "ik.positionTask", &recorder);
    if (CHECK(declare(module, "ikFullBody", &recorder)))
        armAddPackage(kSolver, "ikFullBody", &recorder);
    for (joint = 0; joint < kJointCount; ++joint) {
        for (c = 0; c < 3; ++c) {
            armOffset(joint, "localMatrix")[c] = kOffsets[joint][c];
            armSetNumber(joint, kRestPos[c], kOffsets[joint][c]);
        }
    }
}

/** Makes the one node that a modifier wants. */
static ZxObject* makeNode(ZxObject* module, const char* name, int expectedItem, ZxObject* evaluation)
{
    ZxObject* modifier = makeServer(module, factNamed(name));
    const ZxEvalModifierTable* ops = (const ZxEvalModifierTable*)modifier->table;
    ZxObject *item = NULL, *none = modifier, *node = NULL;
    uint32_t attribute = 7;
    checkSubject(name);
    CHECK_RESULT(ops->reset(modifier, armScene()), 0);
    CHECK_RESULT(ops->next(modifier, &item, &attribute), 0);
    CHECK(item == armItem(expectedItem));
    CHECK(attribute == 0);
    CHECK_RESULT(ops->next(modifier, &none, &attribute), 0);
    CHECK(none == NULL);
    if (item) {
        CHECK_RESULT(ops->allocate(modifier, item, attribute, evaluation, &node), 0);
        release(item);
    }
    release(modifier); /* nodes outlive the modifier that made them */
    CHECK(node != NULL);
    armBeginEvaluate(evaluation);
    return node;
}

/** Makes the node of a modifier, runs it once and lets it go. */
static void runModifier(ZxObject* module, const char* name, int expectedItem, uint32_t writtenChannels)
{
    ZxObject *evaluation = armNewEvaluation(), *node = makeNode(module, name, expectedItem, evaluation);
    double figure = -1;
    long held;
    if (!node)
        return;
    CHECK(armWrittenChannels(evaluation) == writtenChannels);
    held = countedReferences();
    CHECK_RESULT(CALL(ZxModifierTable, node, evaluate)(node), 0);
    CHECK(countedReferences() == held); /* no matrix is kept beyond the evaluation */
    CHECK_RESULT(CALL(ZxModifierTable, node, figure)(node, "ik.nothing", &figure), 0x80000017u);
    if (expectedItem == kSolver) {
        CHECK_RESULT(CALL(ZxModifierTable, node, figure)(node, "iterations", &figure), 0);
        CHECK(figure >= 1 && figure <= 1000);
        CHECK_RESULT(CALL(ZxModifierTable, node, figure)(node, "converged", &figure), 0);
        CHECK(figure == 1);
    }
    release(node);
}

/** The written pose against the chain rebuilt from its own rotations: bones keep their lengths. */
static void chainHangsTogether(void)
{
    int joint, r, c;
    for (joint = kElbow; joint < kJointCount; ++joint) {
        const double* local = armOffset(joint, "localMatrix");
        const double* rotation = arm3x3(joint - 1, "wrotMatrix");
        for (r = 0; r < 3; ++r) {
            double place = armOffset(joint - 1, "wposMatrix")[r];
            for (c = 0; c < 3; ++c)
                place += rotation[3 * r + c] * local[c];
            CHECK(fabs(place - armOffset(joint, "wposMatrix")[r]) < 1e-5);
        }
    }
}

static void oneEvaluationTakesTheTipToItsGoal(ZxObject* module)
{
    static const double kGoal[3] = {1.4, 1.8, 0.9};
    static const char* const kGoalChannels[3] = {"ikptPos.X", "ikptPos.Y", "ikptPos.Z"};
    double squared = 0;
    int c;
    checkSubject("evaluation");
    buildArm(module);
    for (c = 0; c < 3; ++c)
        armSetNumber(kHand, kGoalChannels[c], kGoal[c]);
    runModifier(module, "iktask", kHand, 1);
    for (c = 0; c < 3; ++c)
        CHECK(armOffset(kHand, "ikptMatrix")[c] == kGoal[c]);
    runModifier(module, "ikfb", kSolver, 3 * kJointCount);
    checkSubject("pose");
    for (c = 0; c < 3; ++c) {
        const double error = armOffset(kHand, "wposMatrix")[c] - kGoal[c];
        squared += error * error;
    }
    printf("tip at %.4f %.4f %.4f, %.6f from its goal\n", armOffset(kHand, "wposMatrix")[0],
           armOffset(kHand, "wposMatrix")[1], armOffset(kHand, "wposMatrix")[2], sqrt(squared));
    CHECK(sqrt(squared) < 1e-3);
    chainHangsTogether();
}

enum { kPoseNumbers = 12 * kJointCount };
typedef struct ArmPose {
    double numbers[kPoseNumbers];
} ArmPose;

/** Runs the node and reads what it wrote. */
static ArmPose poseOf(ZxObject* node)
{
    ArmPose pose;
    int joint;
    CALL(ZxModifierTable, node, evaluate)(node);
    for (joint = 0; joint < kJointCount; ++joint) {
        memcpy(pose.numbers + 12 * joint, arm3x3(joint, "wrotMatrix"), 9 * sizeof(double));
        memcpy(pose.numbers + 12 * joint + 9, armOffset(joint, "wposMatrix"), 3 * sizeof(double));
    }
    return pose;
}

static double poseDifference(const ArmPose* a, ArmPose b)
{
    double largest = 0;
    int i;
    for (i = 0; i < kPoseNumbers; ++i) {
        const double d = fabs(a->numbers[i] - b.numbers[i]);
        largest = isnan(d) ? INFINITY : fmax(largest, d);
    }
    return largest;
}

/** Numbers that are none, in every kind of input: the evaluation after them is as if they had never been. A
 * warm rig may carry on from another pose than that of rest. */
static void aRigGetsOverBadNumbers(ZxObject* module, int warm)
{
    const struct {
        const char* what;
        double* at;
    } kInputs[] = {
        {"goal", armOffset(kHand, "ikptMatrix") + 1},
        {"goal offset", armNumber(kHand, "ikptOffset.X")},
        {"goal scale", armNumber(kHand, "ikptScale")},
        {"weight of a task", armNumber(kHand, "ikptWeight")},
        {"precision of a task", armNumber(kHand, "ikptPrecision")},
        {"local position", armOffset(kElbow, "localMatrix")},
        {"local rotation", arm3x3(kWrist, "localMatrix") + 4},
        {"local position of the root", armOffset(kShoulder, "localMatrix") + 2},
        {"weight of a turn", armNumber(kElbow, "ikAxisXRotWeight")},
        {"weight of a slide", armNumber(kElbow, "ikAxisYPosWeight")},
        {"limit", armNumber(kWrist, "ikAxisZMax")},
        {"slide limit", armNumber(kElbow, "ikAxisYMaxTrans")},
        {"bound of a turn", armNumber(kShoulder, "ikjMaxVelocity")},
        {"offset of a target", armNumber(kWrist, "ikjTargetOffsetX.Y")},
        {"position of the parent", armOffset(kBase, "wposMatrix")},
        {"rotation of the parent", arm3x3(kBase, "wrotMatrix") + 3},
        {"scale of the parent", arm3x3(kBase, "wsclMatrix")},
        {"precision", armNumber(kSolver, "iksPrecision")},
        {"pull", armNumber(kSolver, "iksTaskPull")},
        {"tolerance", armNumber(kSolver, "iksTolerance")},
        {"weight of the root", armNumber(kSolver, "iksTransRootWeight")},
        {"gain of limits", armNumber(kSolver, "iksLimitsGain")},
        {"gain of retargeting", armNumber(kSolver, "iksRetargetGain")},
        {"scale of goals", armNumber(kSolver, "iksRetargetScale")},
        {"blend", armNumber(kSolver, "iksIKFKBlend")},
    };
    const double kBad[] = {NAN, INFINITY, -INFINITY, 1e300};
    ZxObject* node = makeNode(module, "ikfb", kSolver, armNewEvaluation());
    ArmPose expected;
    size_t i, k;
    armSetNumber(kSolver, "iksTransRoot", 1);
    armSetNumber(kElbow, "ikAxisYPosEnable", 1);
    armSetNumber(kElbow, "ikjEnableLimits", 1);
    armSetNumber(kElbow, "ikAxisYLimitsTrans", 1);
    armSetNumber(kWrist, "ikjEnableLimits", 1);
    armSetNumber(kWrist, "ikAxisZLimits", 1);
    armSetNumber(kWrist, "ikjRetargeting", warm);
    armSetNumber(kSolver, "iksSolveContinuous", 0);
    poseOf(node);
    expected = poseOf(node); /* the first one of a node differs */
    armSetNumber(kSolver, "iksSolveContinuous", warm);
    for (i = 0; i < sizeof kInputs / sizeof kInputs[0]; ++i) {
        checkSubject(kInputs[i].what);
        for (k = 0; k < sizeof kBad / sizeof kBad[0]; ++k) {
            const double good = *kInputs[i].at;
            *kInputs[i].at = kBad[k];
            poseOf(node);
            poseOf(node);
            *kInputs[i].at = good;
            CHECK(poseDifference(&expected, poseOf(node)) <= (warm ? 0.1 : 0.0));
        }
    }
    release(node);
}

static void driveModule(ZxModuleEntry entry)
{
    ZxObject *module = entry(), *needContext;
    if (!CHECK(module != NULL))
        return;
    armSceneInit();
    checkSubject("module");
    moduleOffersItsInterfacesAsOneObject(module);
    tagsNameTheServersInOrder(module);
    entryRegistersTheServersOnce(entry);
    serversThatAreNotThereAreNotFound(module);

    needContext = query(module, &kZxIdNeedContext);
    CHECK_RESULT(CALL(ZxNeedContextTable, needContext, setContext)(needContext, armContext()), 0);
    serversAreAsStated(module);
    theToolIsAsStated(module);
    commandsAreAsStated(module);
    iconsGoByArguments(module);
    checkSubject("reset");
    resetNeedsAScene(module);
    oneEvaluationTakesTheTipToItsGoal(module);
    aRigGetsOverBadNumbers(module, 0);
    aRigGetsOverBadNumbers(module, 1);

    checkSubject("unloading");
    CHECK_RESULT(CALL(ZxNeedContextTable, needContext, setContext)(needContext, NULL), 0);
    CHECK(countedReferences() == 0);
    release(needContext);
    release(module);
}

int main(int argc, char** argv)
{
    void* library;
    ZxModuleEntry entry = NULL;
    if (argc != 2) {
        fprintf(stderr, "usage: abi_tests PATH/ik.zx\n");
        return 2;
    }
    library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    *(void**)&entry = dlsym(library, ZX_MODULE_ENTRY); /* ISO C has no cast from object to function */
    if (CHECK(entry != NULL))
        driveModule(entry);
    CHECK(dlclose(library) == 0);
    if (checkFailures())
        fprintf(stderr, "%d checks failed\n", checkFailures());
    return checkFailures() ? 1 : 0;
}
