#include "VintrelCore/log/CleanLog.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/log/CleanLogFile.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

using Events = std::vector<CleanEvent>;

void checkEvent(const CleanEvent& event) {
    require(Text::isValidUTF8(event.kind) && Text::isValidUTF8(event.projectLabel), "names are text");
    require(event.timestamp.time_since_epoch().count() % 1'000'000 == 0, "dates have no fractions");
}

/// What is written is read as it was.
void checkRoundTrip(const Events& events) {
    const auto text = CleanLogFile::encode(events);
    require(text.has_value(), "what was read can be written");
    require(CleanLogFile::decode(*text) == events, "and is read as the same events");
    require(CleanLogFile::encode(*CleanLogFile::decode(*text)) == text, "there is one form");
    for (const std::string_view tail : {"x", "]", "[]", ",", "null"}) {
        require(!CleanLogFile::decode(*text + std::string(tail)), "nothing may follow it");
    }
    require(!CleanLogFile::decode(text->substr(0, text->rfind(']'))), "and nothing may be missing");
}

void checkLists(const Events& events) {
    const auto count = static_cast<int64_t>(events.size());
    const Events sorted = CleanLog::capped(events, count + 1);
    require(sorted.size() == events.size() && std::ranges::is_sorted(sorted, {}, &CleanEvent::timestamp),
            "all of them, oldest first");
    require(std::ranges::is_permutation(sorted, events), "the same ones");
    const Events newest = CleanLog::capped(events, count / 2);
    require(std::ranges::equal(newest, std::span(sorted).last(newest.size())), "the newest ones");

    const auto stats = CleanLog::stats(events, Instant::max(), std::numeric_limits<double>::infinity());
    size_t sum = 0;
    for (const CleanLog::KindCount& kind : stats.topKinds) {
        sum += kind.count;
    }
    require(stats.count == events.size() && sum == stats.count, "each event has one kind");
}

} // namespace

/// Input: a log's text; also taken as names of an event, which may be any bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text = Fuzzing::textOf(data, size);
    if (const auto events = CleanLogFile::decode(text)) {
        std::ranges::for_each(*events, checkEvent);
        checkRoundTrip(*events);
        checkLists(*events);
    }

    const CleanEvent named{.kind = std::string(text), .projectLabel = std::string(text), .rssKB = 7};
    const auto written = CleanLogFile::encode(Events{named});
    require(written.has_value(), "no name loses an event");
    const auto read = CleanLogFile::decode(*written);
    require(read && read->size() == 1 && read->front().rssKB == 7, "nor spoils the log");
    require(!Text::isValidUTF8(text) || read->front() == named, "a name that is text stays");
    return 0;
}
