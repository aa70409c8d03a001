// SPDX-License-Identifier: MIT
// The engine against traces of an independent, slow implementation, record by record.
#include "support/DataFolder.h"
#include "support/ScenarioReplay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>

namespace {

using json = nlohmann::json;
namespace fs = std::filesystem;

json readJson(const fs::path& path)
{
    std::ifstream file(path);
    return json::parse(file);
}

/// Collects the worst deviation of each group and the first place where it is beyond the tolerance.
class Comparison {
public:
    explicit Comparison(const json& tolerance) : m_Tolerance(tolerance) { }

    void numbers(const std::string& where, const char* group, const json& expected, const json& actual,
                 bool relative = false)
    {
        if (expected.size() != actual.size())
            return fail(where + ": " + std::to_string(actual.size()) + " numbers in place of "
                        + std::to_string(expected.size()));
        for (std::size_t i = 0; i < expected.size(); ++i) {
            // JSON has no NaN: both sides write null.
            if (expected[i].is_null() && actual[i].is_number() && !std::isfinite(actual[i].get<double>()))
                continue;
            const double e = expected[i].get<double>(), a = actual[i].get<double>();
            const double scale = relative ? std::max(1.0, std::fabs(e)) : 1.0;
            if (!(std::fabs(e - a) <= m_Tolerance[group].get<double>() * scale))
                fail(where + "[" + std::to_string(i) + "]: " + std::to_string(a) + " in place of "
                     + std::to_string(e));
        }
    }
    void fail(const std::string& text)
    {
        if (m_Failures++ < 5)
            m_Text += "\n  " + text;
    }
    std::string text() const
    {
        return m_Failures ? std::to_string(m_Failures) + " deviations:" + m_Text : std::string();
    }

private:
    json m_Tolerance;
    int m_Failures = 0;
    std::string m_Text;
};

std::string compare(const json& trace, const json& records)
{
    Comparison c(trace["tolerance"]);
    if (trace["records"].size() != records.size())
        return "wrong number of records";
    for (std::size_t i = 0; i < records.size(); ++i) {
        const json &e = trace["records"][i], &a = records[i];
        const std::string at = e["label"].get<std::string>() + " ";
        if (e["result"] != a["result"] || e["status"] != a["status"])
            c.fail(at + "result or status");
        if (e["queries"].size() != a["queries"].size())
            c.fail(at + "number of queries");
        for (std::size_t q = 0; q < std::min(e["queries"].size(), a["queries"].size()); ++q)
            c.numbers(at + "query " + std::to_string(q), "query", e["queries"][q], a["queries"][q], true);
        c.numbers(at + "com", "len", e["com"], a["com"]);
        for (std::size_t b = 0; b < e["bones"].size(); ++b)
            for (const auto& [field, group] :
                 {std::pair{"q", "rot"}, {"gq", "rot"}, {"t", "len"}, {"gp", "len"}})
                c.numbers(at + "bone " + std::to_string(b) + " " + field, group, e["bones"][b][field],
                          a["bones"][b][field]);
        for (const auto& [key, error] : e["tasks"].items())
            c.numbers(at + "error of " + key, "len", error, a["tasks"].value(key, json::array()));
        if (e["internal"]["iteration"] != a["internal"]["iteration"])
            c.fail(at + "iteration");
        c.numbers(at + "largest step", "step", json::array({e["internal"]["maxJointStep"]}),
                  json::array({a["internal"]["maxJointStep"]}));
    }
    return c.text();
}

struct Scenario {
    fs::path folder; ///< with the folders `scenarios` and `traces`
    std::string name;
};

std::vector<Scenario> scenariosIn(const fs::path& folder)
{
    std::vector<Scenario> found;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder / "scenarios", none))
        found.push_back({folder, entry.path().stem().string()});
    std::sort(found.begin(), found.end(),
              [](const Scenario& a, const Scenario& b) { return a.name < b.name; });
    return found;
}
fs::path outside() { return support::dataFolder() / "solver"; }

class ReferenceScenario : public testing::TestWithParam<Scenario> { };

TEST_P(ReferenceScenario, HoldsWithinItsTolerance)
{
    const auto& [folder, name] = GetParam();
    const json scenario = readJson(folder / "scenarios" / (name + ".json"));
    const json trace = readJson(folder / "traces" / (name + ".json"));
    EXPECT_EQ(compare(trace, support::replayScenario(scenario)), "");
}

const auto kNameOf = [](const auto& scenario) { return scenario.param.name; };
INSTANTIATE_TEST_SUITE_P(Ours, ReferenceScenario, testing::ValuesIn(scenariosIn(SINEW_TEST_DATA "/solver")),
                         kNameOf);
INSTANTIATE_TEST_SUITE_P(Outside, ReferenceScenario, testing::ValuesIn(scenariosIn(outside())), kNameOf);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ReferenceScenario);

TEST(ReferenceScenarios, OutsideOfTheProjectArePresent)
{
    if (scenariosIn(outside()).empty())
        GTEST_SKIP() << "only the nine scenarios of the project were run: there are none below " << outside()
                     << "; set SINEW_DATA to the folder with sample files and reference values";
}

} // namespace
