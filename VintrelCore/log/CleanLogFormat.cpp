// The form of the clean log's file.
#include "VintrelCore/base/Text.h"
#include "VintrelCore/log/CleanLogFile.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <utility>

#include <nlohmann/json.hpp>

namespace VintrelCore::CleanLogFile {

namespace {

using Json = nlohmann::json;

constexpr const char* kindKey = "kind";
constexpr const char* projectLabelKey = "projectLabel";
constexpr const char* rssKBKey = "rssKB";
constexpr const char* timestampKey = "timestamp";

/// "2025-03-14T09:26:53Z" (ISO 8601, UTC, without fractions); absent for years that have not four digits.
std::optional<std::string> formatted(Instant instant) {
    using namespace std::chrono;
    constexpr sys_days first =
        year(0) / January / 1; // the calendar's own type holds no more than five digits
    constexpr sys_days end = year(10'000) / January / 1;
    if (instant < first || instant >= end) {
        return std::nullopt;
    }
    const auto day = floor<days>(instant);
    const year_month_day date(day);
    const hh_mm_ss time(floor<seconds>(instant - day));
    std::array<char, 32> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(time.hours().count()),
                      static_cast<int>(time.minutes().count()), static_cast<int>(time.seconds().count()));
    return std::string(text.data(), static_cast<size_t>(length));
}

/// Takes `count` digits and then `separator` off the front of `rest`.
std::optional<int> takeNumber(std::string_view& rest, size_t count, char separator) {
    const std::string_view digits = rest.substr(0, count);
    const bool isNumber = digits.find_first_not_of("0123456789") == std::string_view::npos;
    if (rest.size() <= count || rest[count] != separator || !isNumber) {
        return std::nullopt;
    }
    rest.remove_prefix(count + 1);
    return Text::parseInteger<int>(digits);
}

std::optional<Instant> parsedInstant(std::string_view text) {
    using namespace std::chrono;
    const auto year = takeNumber(text, 4, '-');
    const auto month = takeNumber(text, 2, '-');
    const auto day = takeNumber(text, 2, 'T');
    const auto hour = takeNumber(text, 2, ':');
    const auto minute = takeNumber(text, 2, ':');
    const auto second = takeNumber(text, 2, 'Z');
    if (!year || !month || !day || !hour || !minute || !second || !text.empty()) {
        return std::nullopt;
    }
    const year_month_day date(std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                              std::chrono::day(static_cast<unsigned>(*day)));
    if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    return sys_days(date) + hours(*hour) + minutes(*minute) + seconds(*second);
}

/// A whole number that fits, however it is written.
std::optional<int64_t> parsedInteger(const Json& value) {
    if (value.is_number_float()) {
        constexpr double limit = 9'223'372'036'854'775'808.0;
        const auto number = value.get<double>();
        const bool fits = number > -limit && number < limit && std::trunc(number) == number;
        return fits ? std::optional(static_cast<int64_t>(number)) : std::nullopt;
    }
    if (!value.is_number_integer() ||
        (value.is_number_unsigned() && !std::in_range<int64_t>(value.get<uint64_t>()))) {
        return std::nullopt;
    }
    return value.get<int64_t>();
}

std::optional<CleanEvent> parsedEvent(const Json& object) {
    if (!object.is_object()) {
        return std::nullopt;
    }
    const auto valueOf = [&object](const char* key) {
        const auto found = object.find(key);
        return found != object.end() ? *found : Json();
    };
    const Json kind = valueOf(kindKey);
    const Json projectLabel = valueOf(projectLabelKey);
    const Json timestamp = valueOf(timestampKey);
    const auto rssKB = parsedInteger(valueOf(rssKBKey));
    if (!kind.is_string() || !projectLabel.is_string() || !timestamp.is_string() || !rssKB) {
        return std::nullopt;
    }
    const auto instant = parsedInstant(timestamp.get_ref<const std::string&>());
    if (!instant) {
        return std::nullopt;
    }
    return CleanEvent{.kind = kind.get<std::string>(),
                      .projectLabel = projectLabel.get<std::string>(),
                      .rssKB = *rssKB,
                      .timestamp = *instant};
}

} // namespace

std::optional<std::string> encode(std::span<const CleanEvent> events) {
    Json list = Json::array();
    for (const CleanEvent& event : events) {
        auto timestamp = formatted(event.timestamp);
        if (!timestamp) {
            return std::nullopt;
        }
        list.push_back({{kindKey, event.kind}, // objects sort their keys
                        {projectLabelKey, event.projectLabel},
                        {rssKBKey, event.rssKB},
                        {timestampKey, *std::move(timestamp)}});
    }
    constexpr int indent = 2;
    // A folder's name may hold any bytes; better a replaced character than a lost event.
    return list.dump(indent, ' ', /*ensure_ascii=*/false, Json::error_handler_t::replace) + "\n";
}

std::optional<std::vector<CleanEvent>> decode(std::string_view text) {
    if (text.contains('\0')) {
        return std::nullopt; // the parser would take it for the end
    }
    const Json document = Json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!document.is_array()) {
        return std::nullopt;
    }
    std::vector<CleanEvent> events;
    for (const Json& object : document) {
        auto event = parsedEvent(object);
        if (!event) {
            return std::nullopt;
        }
        events.push_back(*std::move(event));
    }
    return events;
}

} // namespace VintrelCore::CleanLogFile
