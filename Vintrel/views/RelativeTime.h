#pragma once

#include "VintrelCore/log/CleanEvent.h"

#include <memory>
#include <string>

namespace Vintrel {

/// Says how long ago something was, as people of a language do in short: "5 min. ago", "yesterday".
class RelativeTime {
public:
    /// `locale` is an ICU name such as "de_DE"; "" is the user's. The plain C locale speaks English.
    explicit RelativeTime(const std::string& locale = {});
    RelativeTime(const RelativeTime&) = delete;
    RelativeTime& operator=(const RelativeTime&) = delete;
    ~RelativeTime();

    /// In the largest unit, from years to seconds, of which a whole one has passed. What is less than a
    /// second ago, or yet to come, is now. "" when the language data is missing.
    [[nodiscard]] std::string text(VintrelCore::Instant then, VintrelCore::Instant now) const;

private:
    struct Formatter;

    std::unique_ptr<Formatter> m_formatter; // absent without language data
};

} // namespace Vintrel
