// SPDX-License-Identifier: MIT
// A scene that is worked by lines of text, as a user would, in a host that names messages by table and
// number.
#pragma once

#include "e2e/RigScene.h"

#include <gtest/gtest.h>
#include <refhost/Commands.h>

#include <string>
#include <string_view>
#include <vector>

namespace e2e {

/// A message that the rig's commands and channels can show.
struct MessageFact {
    const char* table;
    std::uint32_t number;
};
extern const std::vector<MessageFact> kMessageFacts;

class CommandScene : public RigScene {
public:
    /// In setup mode, with nothing in it. Sentences become `TABLE NUMBER`.
    CommandScene();

    refhost::Commands& commands() { return refhost::Commands::of(host); }
    /// Runs lines that have to work.
    void run(std::initializer_list<std::string_view> lines);
    void run(std::string_view line) { run({line}); }
    /// Runs a line; empty when it was done, else its message, and nothing may have changed.
    std::string answer(std::string_view line);
    /// What the enable test says of a line: `yes`, `no`, or the message.
    std::string enabled(std::string_view line);
    /// What a query prints, lines parted by `; `.
    std::string ask(std::string_view line);
    std::string links(const char* graph) { return ask(std::string("links ") + graph); }
    /// Added packages, parted by blanks.
    std::string packages(std::string_view item);
    /// Unique names of the selected items, parted by blanks.
    std::string selected();
    /// A tag of an item; `none` when it isn't there.
    std::string tag(std::string_view item, const char (&code)[5]);
    /// What a layer says of a channel, keys counted at the time.
    double value(std::string_view item, std::string_view channel,
                 refhost::Layer layer = refhost::Layer::Setup, double time = 0);
    /// `name`.X, .Y and .Z of the layer.
    Vector3 values(std::string_view item, const std::string& name,
                   refhost::Layer layer = refhost::Layer::Setup, double time = 0);
    /// Tells documents apart.
    std::size_t digest() { return std::hash<std::string>()(scene().digest()); }
    /// The document without the places that removed packages leave.
    std::string content();

private:
    std::vector<std::string> m_Output;
};

/// Two rigs and what belongs to none:
///
///     R (root), its children B, A and FullBodyIK; below B are C, then D. The rig is R B C D.
///     S (root) below N, its children S1 and FullBodyIK_2; below S1 is S2. The rig is S S1 S2.
///     F, F1, F2 and L are locators outside, one below the other but L; M and GM are meshes, GM is below G.
class Stage : public CommandScene {
public:
    Stage();
};

} // namespace e2e
