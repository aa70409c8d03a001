/* SPDX-License-Identifier: MIT
 * Records what a package declares: an AddChannel in plain C. */
#ifndef SINEW_TESTS_ABI_CHANNEL_RECORDER_H
#define SINEW_TESTS_ABI_CHANNEL_RECORDER_H

#include "CountedObject.h"

enum { kMostRecordedChannels = 64 };

typedef struct RecordedChannel {
    char name[40];
    char type[16]; /**< a storage channel's storage in its place */
    double number;
    int32_t integer;
    char hints[96]; /**< "text=value" with spaces */
    int isVector;
    double vector[3];
    int setupSwitch;
} RecordedChannel;

typedef struct ChannelRecorder {
    CountedObject counted;
    RecordedChannel channels[kMostRecordedChannels];
    uint32_t count;
    uint32_t slots; /**< a vector counts as three */
} ChannelRecorder;

void channelRecorderInit(ChannelRecorder* recorder);

#endif
