/* SPDX-License-Identifier: MIT
 * The smallest scene with a rig, in plain C. Stricter than it need be: modes and phases of channels are
 * checked. */
#include "ArmScene.h"

#include "Check.h"

#include <zx/ZxChannel.h>
#include <zx/ZxEvaluation.h>
#include <zx/ZxGraph.h>
#include <zx/ZxItem.h>
#include <zx/ZxModule.h>
#include <zx/ZxScene.h>

#include <stdio.h>
#include <string.h>

enum { kMostChannels = 128, kMostPackages = 4, kMostEntries = 512, kMostEvaluations = 4 };
enum { kLocatorType = 11, kSolverBaseType, kFullBodyType };

typedef struct ArmMatrix {
    CountedObject counted;
    ArmChannel* channel;
    int writing;
} ArmMatrix;

struct ArmChannel {
    char name[48];
    double number;
    int32_t integer;
    int isMatrix;
    double nine[9], three[3];
    ArmMatrix reading, writing;
};

typedef struct ArmItem {
    CountedObject counted;
    const char* name;
    int parent; /* -1 at the top */
    ArmChannel channels[kMostChannels];
    int32_t channelCount;
    char packages[kMostPackages][24];
    int packageCount;
} ArmItem;

typedef struct ArmGraph {
    CountedObject counted;
    const char* name;
    int links[4][2]; /* from, to */
    uint32_t linkCount;
} ArmGraph;

typedef struct ArmEvaluation {
    CountedObject counted;
    struct {
        ArmChannel* channel;
        uint32_t mode;
    } entries[kMostEntries];
    uint32_t count;
    int evaluating;
} ArmEvaluation;

static CountedObject context, sceneService, scene, chanLinks, editRead;
static ArmItem items[kItemCount];
static ArmGraph graphs[] = {
    {.name = "ikRefs", .links = {{kShoulder, kElbow}, {kElbow, kWrist}, {kWrist, kHand}}, .linkCount = 3},
    {.name = "ikTasks", .links = {{kSolver, kHand}}, .linkCount = 1},
    {.name = "ikRetarget"}};
static ArmEvaluation evaluations[kMostEvaluations];
static int evaluationCount = 0;

static ArmItem* itemBehind(ZxObject* object)
{
    const ArmItem* item = (ArmItem*)object;
    CHECK(item >= items && item < items + kItemCount);
    return (ArmItem*)object;
}

static ArmChannel* channelOf(ArmItem* item, int32_t index)
{
    return index >= 0 && index < item->channelCount ? &item->channels[index] : NULL;
}

static ArmChannel* find(ArmItem* item, const char* name)
{
    int32_t i;
    for (i = 0; i < item->channelCount; ++i)
        if (strcmp(item->channels[i].name, name) == 0)
            return &item->channels[i];
    return NULL;
}

static zxresult giveItem(int item, ZxObject** to, zxresult withoutItem)
{
    return countedGive(item >= 0 ? &items[item].counted : NULL, to, withoutItem);
}

/* Item */

static zxresult identifier(ZxObject* self, uint64_t* number)
{
    *number = (uint64_t)(itemBehind(self) - items) + 1;
    return kZxOk;
}

static zxresult name(ZxObject* self, const char** text)
{
    *text = itemBehind(self)->name;
    return kZxOk;
}

static uint32_t typeOf(const ArmItem* item) { return item == &items[kSolver] ? kFullBodyType : kLocatorType; }

static zxresult itemTypeCode(ZxObject* self, uint32_t* code)
{
    *code = typeOf(itemBehind(self));
    return kZxOk;
}

/* Types are numbered so that each derives from those below it. */
static zxresult isType(ZxObject* self, uint32_t code)
{
    return code <= typeOf(itemBehind(self)) ? kZxTrue : kZxFalse;
}

static zxresult hasPackage(ZxObject* self, const char* package)
{
    const ArmItem* item = itemBehind(self);
    int i;
    for (i = 0; i < item->packageCount; ++i)
        if (strcmp(item->packages[i], package) == 0)
            return kZxTrue;
    return kZxFalse;
}

static zxresult parentOf(ZxObject* self, ZxObject** parent)
{
    return giveItem(itemBehind(self)->parent, parent, kZxNotFound);
}

/* The `index`th child, or -1; `count` receives how many there are. */
static int childOf(ZxObject* self, uint32_t index, uint32_t* count)
{
    const int parent = (int)(itemBehind(self) - items);
    int i, found = -1;
    *count = 0;
    for (i = 0; i < kItemCount; ++i)
        if (items[i].parent == parent && (*count)++ == index)
            found = i;
    return found;
}

static zxresult childCount(ZxObject* self, uint32_t* count)
{
    childOf(self, 0, count);
    return kZxOk;
}

static zxresult childByIndex(ZxObject* self, uint32_t index, ZxObject** child)
{
    uint32_t count;
    return giveItem(childOf(self, index, &count), child, kZxOutOfRange);
}

static zxresult channelIndex(ZxObject* self, const char* channel, int32_t* index)
{
    ArmItem* item = itemBehind(self);
    const ArmChannel* found = find(item, channel);
    *index = found ? (int32_t)(found - item->channels) : -1;
    return found ? kZxOk : kZxNotFound;
}

static zxresult sceneOfItem(ZxObject* self, ZxObject** to)
{
    itemBehind(self);
    return countedGive(&scene, to, kZxFailure);
}

static const ZxItemTable kItemTable = {COUNTED_OPS,  identifier,   name,         name,
                                       itemTypeCode, isType,       hasPackage,   parentOf,
                                       childCount,   childByIndex, channelIndex, sceneOfItem};

/* Graphs */

/* The `index`th item linked to `item`, or -1; `side` 0 looks along the links, 1 against them. */
static int linked(ZxObject* self, ZxObject* item, int side, uint32_t index, uint32_t* count)
{
    const ArmGraph* graph = (ArmGraph*)self;
    const int from = (int)(itemBehind(item) - items);
    uint32_t i;
    int found = -1;
    *count = 0;
    for (i = 0; i < graph->linkCount; ++i)
        if (graph->links[i][side] == from && (*count)++ == index)
            found = graph->links[i][1 - side];
    return found;
}

static zxresult forwardCount(ZxObject* self, ZxObject* item, uint32_t* count)
{
    linked(self, item, 0, 0, count);
    return kZxOk;
}

static zxresult forwardByIndex(ZxObject* self, ZxObject* item, uint32_t index, ZxObject** target)
{
    uint32_t count;
    return giveItem(linked(self, item, 0, index, &count), target, kZxOutOfRange);
}

static zxresult reverseCount(ZxObject* self, ZxObject* item, uint32_t* count)
{
    linked(self, item, 1, 0, count);
    return kZxOk;
}

static zxresult reverseByIndex(ZxObject* self, ZxObject* item, uint32_t index, ZxObject** source)
{
    uint32_t count;
    return giveItem(linked(self, item, 1, index, &count), source, kZxOutOfRange);
}

static const ZxItemGraphTable kItemGraphTable = {COUNTED_OPS, forwardCount, forwardByIndex, reverseCount,
                                                 reverseByIndex};

/* No channel of this scene is linked. */
static zxresult channelLinkCount(ZxObject* self, ZxObject* item, int32_t channel, uint32_t* count)
{
    (void)self;
    *count = 0;
    return channelOf(itemBehind(item), channel) ? kZxOk : kZxNotFound;
}

static zxresult channelLink(ZxObject* self, ZxObject* item, int32_t channel, uint32_t index, ZxObject** other,
                            int32_t* otherChannel)
{
    (void)self, (void)item, (void)channel, (void)index, (void)otherChannel;
    *other = NULL;
    return kZxOutOfRange;
}

static const ZxChannelGraphTable kChannelGraphTable = {COUNTED_OPS, channelLinkCount, channelLink,
                                                       channelLinkCount, channelLink};

/* Scene and its service */

static zxresult typeCode(ZxObject* self, const char* type, uint32_t* code)
{
    static const char* const kNames[] = {"locator", "ikSolver", "ikFullBody"};
    uint32_t i;
    (void)self;
    for (i = 0; i < 3; ++i) {
        if (strcmp(kNames[i], type) == 0) {
            *code = kLocatorType + i;
            return kZxOk;
        }
    }
    return kZxNotFound;
}

static const ZxSceneServiceTable kSceneServiceTable = {COUNTED_OPS, typeCode};

/* The `index`th item of the type, or -1. */
static int itemOfType(uint32_t type, uint32_t index, uint32_t* count)
{
    int i, found = -1;
    *count = 0;
    for (i = 0; i < kItemCount; ++i)
        if (type <= typeOf(&items[i]) && (*count)++ == index)
            found = i;
    return found;
}

static zxresult itemCount(ZxObject* self, uint32_t type, uint32_t* count)
{
    (void)self;
    itemOfType(type, 0, count);
    return kZxOk;
}

static zxresult itemByIndex(ZxObject* self, uint32_t type, uint32_t index, ZxObject** item)
{
    uint32_t count;
    (void)self;
    return giveItem(itemOfType(type, index, &count), item, kZxOutOfRange);
}

static zxresult graphByName(ZxObject* self, const char* graph, ZxObject** to)
{
    CountedObject* found = strcmp(graph, "chanLinks") == 0 ? &chanLinks : NULL;
    size_t i;
    (void)self;
    for (i = 0; i < sizeof graphs / sizeof graphs[0]; ++i)
        if (strcmp(graphs[i].name, graph) == 0)
            found = &graphs[i].counted;
    return countedGive(found, to, kZxNotFound);
}

static zxresult channelRead(ZxObject* self, const char* action, double time, ZxObject** read)
{
    (void)self;
    CHECK_TEXT(action, "edit");
    CHECK(time == 0);
    return countedGive(&editRead, read, kZxFailure);
}

static zxresult isSetupMode(ZxObject* self)
{
    (void)self;
    return kZxFalse;
}

static const ZxSceneTable kSceneTable = {COUNTED_OPS, itemCount,   itemByIndex,
                                         graphByName, channelRead, isSetupMode};

static zxresult service(ZxObject* self, const ZxId* id, ZxObject** to)
{
    (void)self;
    return countedGive(id->high == kZxIdSceneService.high && id->low == kZxIdSceneService.low ? &sceneService
                                                                                              : NULL,
                       to, kZxNotFound);
}

static const ZxContextTable kContextTable = {COUNTED_OPS, service};

/* Channels */

static zxresult readInteger(ZxObject* self, ZxObject* item, int32_t index, int32_t* value)
{
    const ArmChannel* channel = channelOf(itemBehind(item), index);
    (void)self;
    if (channel)
        *value = channel->integer;
    return channel ? kZxOk : kZxNotFound;
}

static zxresult readNumber(ZxObject* self, ZxObject* item, int32_t index, double* value)
{
    const ArmChannel* channel = channelOf(itemBehind(item), index);
    (void)self;
    if (channel)
        *value = channel->number;
    return channel ? kZxOk : kZxNotFound;
}

static zxresult readMatrix(ZxObject* self, ZxObject* item, int32_t index, ZxObject** value)
{
    ArmChannel* channel = channelOf(itemBehind(item), index);
    (void)self;
    return countedGive(channel && channel->isMatrix ? &channel->reading.counted : NULL, value, kZxNotFound);
}

static const ZxChannelReadTable kChannelReadTable = {COUNTED_OPS, readInteger, readNumber, readMatrix};

static zxresult get3x3(ZxObject* self, double* nine)
{
    memcpy(nine, ((ArmMatrix*)self)->channel->nine, 9 * sizeof(double));
    return kZxOk;
}

static zxresult getOffset(ZxObject* self, double* three)
{
    memcpy(three, ((ArmMatrix*)self)->channel->three, 3 * sizeof(double));
    return kZxOk;
}

static zxresult set3x3(ZxObject* self, const double* nine)
{
    if (!CHECK(((ArmMatrix*)self)->writing))
        return kZxNotAvailable;
    memcpy(((ArmMatrix*)self)->channel->nine, nine, 9 * sizeof(double));
    return kZxOk;
}

static zxresult setOffset(ZxObject* self, const double* three)
{
    if (!CHECK(((ArmMatrix*)self)->writing))
        return kZxNotAvailable;
    memcpy(((ArmMatrix*)self)->channel->three, three, 3 * sizeof(double));
    return kZxOk;
}

static const ZxMatrixTable kMatrixTable = {COUNTED_OPS, get3x3, getOffset, set3x3, setOffset};

/* Evaluation */

static zxresult addChannel(ZxObject* self, ZxObject* item, const char* channel, uint32_t mode,
                           uint32_t* index)
{
    ArmEvaluation* evaluation = (ArmEvaluation*)self;
    ArmChannel* found = find(itemBehind(item), channel);
    if (!CHECK(!evaluation->evaluating) || !CHECK(mode >= kZxRead && mode <= kZxReadWrite)
        || !CHECK(evaluation->count < kMostEntries))
        return kZxNotAvailable;
    if (!found)
        return kZxNotFound;
    evaluation->entries[evaluation->count].channel = found;
    evaluation->entries[evaluation->count].mode = mode;
    *index = evaluation->count++;
    return kZxOk;
}

/* The channel of an entry that was added for `mode`; null, and a failed check, if there is none. */
static ArmChannel* entry(ZxObject* self, uint32_t index, uint32_t mode)
{
    const ArmEvaluation* evaluation = (ArmEvaluation*)self;
    if (!CHECK(evaluation->evaluating) || !CHECK(index < evaluation->count)
        || !CHECK(evaluation->entries[index].mode & mode))
        return NULL;
    return evaluation->entries[index].channel;
}

static zxresult evaluatedInteger(ZxObject* self, uint32_t index, int32_t* value)
{
    const ArmChannel* channel = entry(self, index, kZxRead);
    if (channel)
        *value = channel->integer;
    return channel ? kZxOk : kZxNotAvailable;
}

static zxresult evaluatedNumber(ZxObject* self, uint32_t index, double* value)
{
    const ArmChannel* channel = entry(self, index, kZxRead);
    if (channel)
        *value = channel->number;
    return channel ? kZxOk : kZxNotAvailable;
}

static zxresult evaluatedMatrix(ZxObject* self, uint32_t index, uint32_t writing, ZxObject** matrix)
{
    ArmChannel* channel = entry(self, index, writing ? kZxWrite : kZxRead);
    ArmMatrix* face = !channel || !CHECK(channel->isMatrix) ? NULL
        : writing                                           ? &channel->writing
                                                            : &channel->reading;
    return countedGive(face ? &face->counted : NULL, matrix, kZxNotAvailable);
}

static const ZxEvaluationTable kEvaluationTable = {COUNTED_OPS, addChannel, evaluatedInteger, evaluatedNumber,
                                                   evaluatedMatrix};

/* Making it all */

static void place(CountedObject* counted, const ZxObjectOps* table, const ZxId* id)
{
    counted->object.table = table;
    counted->id = id;
}

static void placeMatrix(ArmMatrix* matrix, ArmChannel* channel, int writing)
{
    place(&matrix->counted, &kMatrixTable.object, &kZxIdMatrix);
    matrix->channel = channel;
    matrix->writing = writing;
}

static ArmChannel* addSlot(ArmItem* item, const char* prefix, const char* suffix)
{
    static const double kIdentity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    ArmChannel* channel = &item->channels[item->channelCount];
    CHECK(++item->channelCount <= kMostChannels);
    snprintf(channel->name, sizeof channel->name, "%s%s", prefix, suffix);
    memcpy(channel->nine, kIdentity, sizeof kIdentity);
    placeMatrix(&channel->reading, channel, 0);
    placeMatrix(&channel->writing, channel, 1);
    return channel;
}

void armSceneInit(void)
{
    static const char* const kNames[kItemCount] = {"shoulder", "elbow", "wrist", "hand", "solver", "base"};
    static const int kParents[kItemCount] = {kBase, kShoulder, kElbow, kWrist, kShoulder, -1};
    static const char* const kHostChannels[] = {"localMatrix", "wposMatrix", "wrotMatrix", "wsclMatrix"};
    size_t i, k;
    place(&context, &kContextTable.object, &kZxIdContext);
    place(&sceneService, &kSceneServiceTable.object, &kZxIdSceneService);
    place(&scene, &kSceneTable.object, &kZxIdScene);
    place(&editRead, &kChannelReadTable.object, &kZxIdChannelRead);
    place(&chanLinks, &kChannelGraphTable.object, &kZxIdChannelGraph);
    for (i = 0; i < sizeof graphs / sizeof graphs[0]; ++i)
        place(&graphs[i].counted, &kItemGraphTable.object, &kZxIdItemGraph);
    for (i = 0; i < kItemCount; ++i) {
        place(&items[i].counted, &kItemTable.object, &kZxIdItem);
        items[i].name = kNames[i];
        items[i].parent = kParents[i];
        for (k = 0; k < sizeof kHostChannels / sizeof kHostChannels[0]; ++k)
            addSlot(&items[i], kHostChannels[k], "")->isMatrix = 1;
    }
}

ZxObject* armContext(void) { return &context.object; }
ZxObject* armScene(void) { return &scene.object; }
ZxObject* armItem(int item) { return &items[item].counted.object; }

void armAddPackage(int item, const char* package, const ChannelRecorder* declared)
{
    static const char* const kComponents[3] = {".X", ".Y", ".Z"};
    ArmItem* to = &items[item];
    uint32_t i, c;
    if (!CHECK(to->packageCount < kMostPackages))
        return;
    snprintf(to->packages[to->packageCount++], sizeof to->packages[0], "%s", package);
    for (i = 0; i < declared->count; ++i) {
        const RecordedChannel* fact = &declared->channels[i];
        for (c = 0; c < (fact->isVector ? 3u : 1u); ++c) {
            ArmChannel* channel = addSlot(to, fact->name, fact->isVector ? kComponents[c] : "");
            channel->number = fact->isVector ? fact->vector[c] : fact->number;
            channel->integer = fact->isVector ? (int32_t)fact->vector[c] : fact->integer;
            channel->isMatrix = strcmp(fact->type, "matrix4") == 0;
        }
    }
}

/* A channel that must be there. */
static ArmChannel* need(int item, const char* name)
{
    static ArmChannel nowhere;
    ArmChannel* channel = find(&items[item], name);
    return CHECK(channel != NULL) ? channel : &nowhere;
}

void armSetNumber(int item, const char* channel, double value)
{
    need(item, channel)->number = value;
    need(item, channel)->integer = (int32_t)value;
}

double* armNumber(int item, const char* channel) { return &need(item, channel)->number; }
double* armOffset(int item, const char* channel) { return need(item, channel)->three; }
double* arm3x3(int item, const char* channel) { return need(item, channel)->nine; }

ZxObject* armNewEvaluation(void)
{
    ArmEvaluation* evaluation = &evaluations[evaluationCount];
    CHECK(++evaluationCount <= kMostEvaluations);
    place(&evaluation->counted, &kEvaluationTable.object, &kZxIdEvaluation);
    return &evaluation->counted.object;
}

void armBeginEvaluate(ZxObject* evaluation) { ((ArmEvaluation*)evaluation)->evaluating = 1; }

uint32_t armWrittenChannels(ZxObject* self)
{
    const ArmEvaluation* evaluation = (ArmEvaluation*)self;
    uint32_t i, count = 0;
    for (i = 0; i < evaluation->count; ++i)
        count += (evaluation->entries[i].mode & kZxWrite) != 0;
    return count;
}
