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

enum { kMaximumArguments = 5 };

typedef struct ArgumentFact {
    const char* name;
    const char* type;
    uint32_t flags;
} ArgumentFact;

/** One command; `arguments` ends with a null name. `icon` is null for none, and `enabled` what the enable
 * test answers a host that has no selection. */
typedef struct CommandFact {
    const char* name;
    ArgumentFact arguments[kMaximumArguments + 1];
    TagFact notifiers[2];
    const char* icon;
    zxresult enabled;
} CommandFact;

/** The icon of a command with two integer arguments set. */
typedef struct IconFact {
    const char* command;
    uint32_t first;
    int32_t firstValue;
    uint32_t second;
    int32_t secondValue;
    const char* icon;
} IconFact;

extern const CommandFact kCommands[];
extern const uint32_t kCommandCount;
extern const IconFact kIcons[];
extern const uint32_t kIconCount;
extern const ServerFact kServers[];
extern const uint32_t kServerCount;

#endif
