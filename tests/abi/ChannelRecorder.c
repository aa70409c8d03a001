/* SPDX-License-Identifier: MIT
 * Records what a package declares. */
#include "ChannelRecorder.h"

#include "Check.h"

#include <zx/ZxPackage.h>

#include <stdio.h>
#include <string.h>

static const char* const kTypes[] = {"boolean", "integer",  "float", "percent",
                                     "angle",   "distance", "text",  "storage"};

/** The channel opened last. A package that speaks before it opened one is told off, and of no effect. */
static RecordedChannel* current(ZxObject* self)
{
    static RecordedChannel nowhere;
    ChannelRecorder* recorder = (ChannelRecorder*)self;
    return CHECK(recorder->count > 0) ? &recorder->channels[recorder->count - 1] : &nowhere;
}

static zxresult add(ZxObject* self, const char* name, const char* type)
{
    ChannelRecorder* recorder = (ChannelRecorder*)self;
    RecordedChannel* channel;
    uint32_t i, known = 0;
    for (i = 0; i < sizeof kTypes / sizeof kTypes[0]; ++i)
        known |= strcmp(kTypes[i], type) == 0;
    for (i = 0; i < recorder->count; ++i)
        CHECK(strcmp(recorder->channels[i].name, name) != 0);
    if (!CHECK(known) || !CHECK(recorder->count < kMostRecordedChannels))
        return kZxInvalidArgument;
    channel = &recorder->channels[recorder->count++];
    memset(channel, 0, sizeof *channel);
    snprintf(channel->name, sizeof channel->name, "%s", name);
    snprintf(channel->type, sizeof channel->type, "%s", type);
    ++recorder->slots;
    return kZxOk;
}

static zxresult setStorage(ZxObject* self, const char* storage)
{
    CHECK_TEXT(current(self)->type, "storage");
    snprintf(current(self)->type, sizeof current(self)->type, "%s", storage);
    return kZxOk;
}

static zxresult setVector(ZxObject* self, const char* components)
{
    CHECK_TEXT(components, "XYZ");
    current(self)->isVector = 1;
    ((ChannelRecorder*)self)->slots += 2;
    return kZxOk;
}

static zxresult setDefault(ZxObject* self, double number, int32_t integer)
{
    CHECK(!current(self)->isVector);
    current(self)->number = number;
    current(self)->integer = integer;
    return kZxOk;
}

static zxresult setDefaultVector(ZxObject* self, double x, double y, double z)
{
    const double values[3] = {x, y, z};
    CHECK(current(self)->isVector);
    memcpy(current(self)->vector, values, sizeof values);
    return kZxOk;
}

static zxresult setHint(ZxObject* self, const ZxHint* hints)
{
    RecordedChannel* channel = current(self);
    for (; hints->text; ++hints) {
        const size_t used = strlen(channel->hints);
        snprintf(channel->hints + used, sizeof channel->hints - used, "%s%s=%ld", used ? " " : "",
                 hints->text, (long)hints->value);
    }
    CHECK(hints->value == -1);
    return kZxOk;
}

static zxresult indexOfLast(ZxObject* self, uint32_t* index)
{
    *index = ((ChannelRecorder*)self)->slots - (current(self)->isVector ? 3u : 1u);
    return kZxOk;
}

static zxresult markSetupSwitch(ZxObject* self)
{
    current(self)->setupSwitch = 1;
    return kZxOk;
}

static const ZxAddChannelTable kTable = {COUNTED_OPS,      add,     setStorage,  setVector,      setDefault,
                                         setDefaultVector, setHint, indexOfLast, markSetupSwitch};

void channelRecorderInit(ChannelRecorder* recorder)
{
    memset(recorder, 0, sizeof *recorder);
    recorder->counted.object.table = &kTable.object;
    recorder->counted.id = &kZxIdAddChannel;
}
