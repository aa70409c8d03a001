// SPDX-License-Identifier: MIT
// A host with one scene and two packages, and an open step for tests that edit freely.
#pragma once

#include <refhost/Host.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace support {

class HostFixture : public ::testing::Test {
protected:
    HostFixture()
    {
        using namespace refhost;
        std::vector<ChannelDefinition> limits;
        limits.push_back(numberChannel("limitOn", ChannelType::Boolean));
        limits.push_back(numberChannel("limitSpeed", ChannelType::Float, 3.3));
        appendVectorChannels(limits, "limitAxis", ChannelType::Float);
        limits.push_back(numberChannel("limitMax", ChannelType::Angle, 6.25));
        limits.back().defaultInteger = 360;
        EXPECT_TRUE(host.registerPackage("limits", "test", limits).ok());
        std::vector<ChannelDefinition> note;
        note.push_back({.name = "note", .type = ChannelType::Text, .defaultText = "none"});
        note.push_back(numberChannel("rest", ChannelType::Matrix4));
        note.push_back(numberChannel("steps", ChannelType::Integer, 1000));
        EXPECT_TRUE(host.registerPackage("note", "test", note).ok());
    }

    /// An open step; `commit` or `rollback` through the journal.
    void begin() { ASSERT_TRUE(scene.journal().begin("test").ok()); }
    void commit() { ASSERT_TRUE(scene.journal().commit().ok()); }
    refhost::Item& make(const char* name, refhost::Item* parent = nullptr)
    {
        return make(host.locatorType(), name, parent);
    }
    refhost::Item& make(const refhost::ItemType& type, const char* name, refhost::Item* parent = nullptr)
    {
        const auto made = scene.createItem(type, name, {.parent = parent});
        if (!made.ok())
            throw std::runtime_error(made.message);
        return *made.value;
    }

    refhost::Host host;
    refhost::Scene& scene = host.newScene();
};

inline std::vector<std::string> namesOf(const std::vector<refhost::Item*>& items)
{
    std::vector<std::string> out;
    for (const refhost::Item* item : items)
        out.push_back(item->uniqueName());
    return out;
}

} // namespace support
