// SPDX-License-Identifier: MIT
// Fuzz target of scene files: whatever reads must write, and read again as the same document and the same
// text.
#include "refhost/Host.h"
#include "refhost/SceneFile.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool holds, const char* what, const std::string& detail = {})
{
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n%s\n", what, detail.c_str());
        std::abort();
    }
}

void registerSome(refhost::Host& host)
{
    using refhost::ChannelType;
    using refhost::numberChannel;
    (void)host.registerType("r.kind", "locator", "fuzz", {numberChannel("k", ChannelType::Integer)});
    (void)host.registerPackage("r.pack", "fuzz",
                               {numberChannel("f", ChannelType::Float), numberChannel("t", ChannelType::Text),
                                numberChannel("m", ChannelType::Matrix4)});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    refhost::Host host;
    registerSome(host);
    const auto first = refhost::readSceneText(host, text, "first");
    if (!first.ok()) {
        require(!first.value, "a refusal gives no scene");
        require(first.message.find(": ") != std::string::npos, "a refusal says where and why", first.message);
        return 0;
    }
    const auto written = refhost::sceneText(*first.value);
    require(written.ok(), "what was read can be written", written.message);
    const auto second = refhost::readSceneText(host, written.value, "second");
    require(second.ok(), "what was written reads again", second.message);
    const auto again = refhost::sceneText(*second.value);
    require(again.value == written.value, "the text is the same", written.value + again.value);
    require(first.value->digest() == second.value->digest(), "the document is the same", written.value);
    return 0;
}
