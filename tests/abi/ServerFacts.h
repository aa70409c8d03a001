/* SPDX-License-Identifier: MIT
 * What the module promises, as facts written down by hand: servers in order, their tags and channels. A new
 * server or channel is entered here and nowhere else. */
#ifndef SINEW_TESTS_ABI_SERVER_FACTS_H
#define SINEW_TESTS_ABI_SERVER_FACTS_H

#include <zx/ZxTypes.h>

/** One channel. `hints` lists the hint table as "text=value" with spaces; `vector` is null, or the defaults
 * of a vector channel. */
typedef struct ChannelFact {
    const char* name;
    const char* type;
    double number;
    int32_t integer;
    const char* hints;
    const double* vector;
    int setupSwitch;
} ChannelFact;

typedef struct TagFact {
    const char* key;
    const char* value;
} TagFact;

/** One server. `channelSlots` counts a vector channel as three; `channels` is null for what is no package. */
typedef struct ServerFact {
    const char* name;
    const ZxId* firstInterface;
    int hasStaticDesc;
    TagFact tags[4];
    const ChannelFact* channels;
    uint32_t channelCount;
    uint32_t channelSlots;
} ServerFact;

extern const ServerFact kServers[];
extern const uint32_t kServerCount;

#endif
