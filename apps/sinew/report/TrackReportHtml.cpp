// SPDX-License-Identifier: MIT
// Puts the report's data, quantised, into the page.
#include "report/TrackReportHtml.h"

#include "report/TrackReportJson.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace app {

namespace {

constexpr double kQuantum = 65535;

std::string base64(const std::vector<std::uint8_t>& bytes)
{
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = (group << 8) | (k < left ? bytes[i + k] : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            out += k <= left ? kDigits[(group >> (18 - 6 * k)) & 63] : '=';
    }
    return out;
}

struct Box {
    double low[3] = {0, 0, 0};
    double size = 1; // longest side
};

/// The box of the source motion with room for the solved one; a diverged frame far outside is drawn at its
/// edge.
Box boxOf(const TrackReport& report)
{
    const std::vector<float>& points = report.animation.source;
    Box box;
    double longest = 0;
    for (std::size_t a = 0; a < 3 && !points.empty(); ++a) {
        double low = points[a], high = points[a];
        for (std::size_t i = a; i < points.size(); i += 3) {
            low = std::min(low, static_cast<double>(points[i]));
            high = std::max(high, static_cast<double>(points[i]));
        }
        box.low[a] = low - report.height;
        longest = std::max(longest, high - low);
    }
    box.size = longest + 2 * report.height;
    return box;
}

/// Positions as 16-bit steps in the box: finer than a screen shows, at a quarter of the text's size.
std::string quantised(const std::vector<float>& points, const Box& box)
{
    std::vector<std::uint8_t> bytes;
    bytes.reserve(points.size() * 2);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double share = (static_cast<double>(points[i]) - box.low[i % 3]) / box.size;
        const auto step = static_cast<std::uint32_t>(
            std::isfinite(share) ? std::lround(std::clamp(share, 0.0, 1.0) * kQuantum) : 0);
        bytes.push_back(static_cast<std::uint8_t>(step & 0xFF));
        bytes.push_back(static_cast<std::uint8_t>(step >> 8));
    }
    return base64(bytes);
}

/// The largest value in each run of `stride` frames, so that no spike is lost, with four significant digits.
template <class Get>
Json series(const TrackReport& report, Get get)
{
    Json values = Json::array();
    const std::size_t stride = report.animation.stride;
    for (std::size_t i = 0; i < report.frames.size(); i += stride) {
        double largest = 0;
        for (std::size_t k = i; k < std::min(i + stride, report.frames.size()); ++k)
            largest = std::max(largest, static_cast<double>(get(report.frames[k])));
        if (largest > 0 && std::isfinite(largest)) {
            const double unit = std::pow(10.0, std::floor(std::log10(largest)) - 3);
            largest = std::round(largest / unit) * unit;
            char text[32];
            std::snprintf(text, sizeof text, "%.4g", largest);
            largest = std::strtod(text, nullptr);
        }
        values.push_back(largest);
    }
    return values;
}

Json pageData(const TrackReport& report)
{
    const TrackAnimation& animation = report.animation;
    const Box box = boxOf(report);
    Json data = {{"report", trackReportJson(report)},
                 {"stride", animation.stride},
                 {"names", animation.names},
                 {"parents", animation.parents},
                 {"box", {{"low", box.low}, {"size", box.size}}},
                 {"source", quantised(animation.source, box)},
                 {"solved", quantised(animation.solved, box)}};
    Json facts = Json::array();
    for (const auto& [name, text] : report.facts)
        facts.push_back({name, text});
    data["facts"] = std::move(facts);
    data["directions"] = directionsJson(report);
    data["title"] = report.title;
    Json goals = Json::array();
    for (const GoalReport& goal : report.goals)
        goals.push_back(goal.jointIndex);
    data["goals"] = std::move(goals);
    const auto percent = [&](float length) { return report.percent(static_cast<double>(length)); };
    data["series"] = {
        {"mean", series(report, [&](const FrameReport& frame) { return percent(frame.meanDistance); })},
        {"worst", series(report, [&](const FrameReport& frame) { return percent(frame.worstDistance); })},
        {"sourceStep", series(report, [](const FrameReport& frame) { return frame.sourceStepDegrees; })},
        {"solvedStep", series(report, [](const FrameReport& frame) { return frame.solvedStepDegrees; })},
        {"micros", series(report, [](const FrameReport& frame) { return frame.seconds * 1e6f; })},
    };
    return data;
}

void replaceMark(std::string& page, std::string_view mark, std::string_view text)
{
    if (const std::size_t at = page.find(mark); at != std::string::npos)
        page.replace(at, mark.size(), text);
}

} // namespace

std::string trackReportHtml(const TrackReport& report)
{
    // In a script element only `<` could end the data or start a comment.
    std::string data;
    for (const char c : pageData(report).dump(-1, ' ', false, Json::error_handler_t::replace))
        data += c == '<' ? std::string("\\u003c") : std::string(1, c);
    std::string page(kReportPageHTML);
    replaceMark(page, "/*STYLE*/", kReportPageCSS);
    replaceMark(page, "/*SCRIPT*/", kReportPageJS);
    replaceMark(page, "/*DATA*/", data);
    return page;
}

} // namespace app
