#include "Vintrel/views/RelativeTime.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <string_view>

#include <unicode/locid.h>
#include <unicode/reldatefmt.h>
#include <unicode/udisplaycontext.h>
#include <unicode/unistr.h>
#include <unicode/utypes.h>

namespace Vintrel {

namespace {

struct Unit {
    std::chrono::seconds length;
    URelativeDateTimeUnit unit;
};

// Months and years of the calendar's average length.
constexpr std::array units{
    Unit{std::chrono::years(1), UDAT_REL_UNIT_YEAR},    Unit{std::chrono::months(1), UDAT_REL_UNIT_MONTH},
    Unit{std::chrono::weeks(1), UDAT_REL_UNIT_WEEK},    Unit{std::chrono::days(1), UDAT_REL_UNIT_DAY},
    Unit{std::chrono::hours(1), UDAT_REL_UNIT_HOUR},    Unit{std::chrono::minutes(1), UDAT_REL_UNIT_MINUTE},
    Unit{std::chrono::seconds(1), UDAT_REL_UNIT_SECOND}};

icu::Locale localeCalled(const std::string& name) {
    const icu::Locale locale = name.empty() ? icu::Locale::getDefault() : icu::Locale(name.c_str());
    const bool isPlain = std::string_view(locale.getVariant()) == "POSIX" || locale == icu::Locale::getRoot();
    return isPlain ? icu::Locale::getEnglish() : locale;
}

/// Whole seconds from one moment to a later one, however far apart.
int64_t secondsBetween(VintrelCore::Instant then, VintrelCore::Instant now) {
    constexpr uint64_t perSecond = 1'000'000;
    const uint64_t difference = static_cast<uint64_t>(now.time_since_epoch().count()) -
                                static_cast<uint64_t>(then.time_since_epoch().count());
    return static_cast<int64_t>(difference / perSecond);
}

} // namespace

struct RelativeTime::Formatter {
    icu::RelativeDateTimeFormatter icu;
};

RelativeTime::RelativeTime(const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    auto formatter = std::make_unique<Formatter>(icu::RelativeDateTimeFormatter(
        localeCalled(locale), nullptr, UDAT_STYLE_SHORT, UDISPCTX_CAPITALIZATION_NONE, status));
    if (U_SUCCESS(status)) {
        m_formatter = std::move(formatter);
    }
}

RelativeTime::~RelativeTime() = default;

std::string RelativeTime::text(VintrelCore::Instant then, VintrelCore::Instant now) const {
    if (!m_formatter) {
        return "";
    }
    double offset = 0;
    URelativeDateTimeUnit unit = UDAT_REL_UNIT_SECOND; // "this second" is now
    const int64_t passed = then < now ? secondsBetween(then, now) : 0;
    for (const Unit& candidate : units) {
        if (passed >= candidate.length.count()) {
            const int64_t count = passed / candidate.length.count();
            offset = -static_cast<double>(count);
            unit = candidate.unit;
            break;
        }
    }
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString wording;
    m_formatter->icu.format(offset, unit, wording, status);
    std::string text;
    if (U_SUCCESS(status)) {
        wording.toUTF8String(text);
    }
    return text;
}

} // namespace Vintrel
