// SPDX-License-Identifier: MIT
// What single operations do, one line of tests/data/facts.json each: a figure, what is done to it, what it
// answers.
#include "support/ScenarioReplay.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

namespace {

using json = nlohmann::json;

const json& table()
{
    static const json data = json::parse(std::ifstream(SINEW_TEST_DATA "/facts.json"));
    return data;
}

/// Numbers are expected to a part in 100,000; {"near": , "within": }, {"above": } and {"below": } ask for
/// less.
void expectValues(const json& expected, const std::vector<double>& actual)
{
    const bool plain = !expected.is_object();
    const json& wanted = plain        ? expected
        : expected.contains("within") ? expected["near"]
                                      : *expected.begin();
    const auto values =
        wanted.is_array() ? wanted.get<std::vector<double>>() : std::vector{wanted.get<double>()};
    ASSERT_EQ(values.size(), actual.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double within =
            plain ? 1e-5 * std::max(1.0, std::fabs(values[i])) : expected.value("within", 0.0);
        if (plain || within > 0)
            EXPECT_NEAR(actual[i], values[i], within) << "number " << i;
        else
            EXPECT_TRUE(expected.contains("above") ? actual[i] > values[i] : actual[i] < values[i])
                << "number " << i << " is " << actual[i];
    }
}

class Fact : public testing::TestWithParam<std::size_t> { };

TEST_P(Fact, Holds)
{
    const json& fact = table()["facts"][GetParam()];
    SCOPED_TRACE(fact["fact"].get<std::string>());
    const json bones = fact.contains("bones") ? fact["bones"] : table()["figures"][fact["on"]];
    json setup = json::array();
    for (const json& bone : bones)
        if (!fact.contains("bare")) // neither pulled to a pose nor limited
            for (const char* operation : {"setFullRetargeting", "setHoldOrientation", "enableLimits"})
                setup.push_back({"bone", bone["name"], operation, false});
    const json action = {{"label", "fact"}, {"do", fact["do"]}};
    const json records =
        support::replayScenario({{"bones", bones}, {"setup", setup}, {"actions", json::array({action})}});
    const json &expected = fact["is"], &actual = records[0]["queries"];
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE("answer " + std::to_string(i));
        expectValues(expected[i], actual[i].get<std::vector<double>>());
    }
}

std::string nameOf(const testing::TestParamInfo<std::size_t>& info)
{
    std::string name = table()["facts"][info.param]["fact"].get<std::string>();
    for (char& c : name)
        c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, Fact, testing::Range(std::size_t{0}, table()["facts"].size()), nameOf);

} // namespace
