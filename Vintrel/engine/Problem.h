#pragma once

#include <string>

namespace Vintrel {

/// Something that went wrong and that the user should know of.
struct Problem {
    enum class Source {
        processes,  ///< no processes are known; what is shown is from before
        details,    ///< projects or ports are unknown
        mount,      ///< a mount does not answer, and what is protected is not known
        containers, ///< there is a client, but its engine does not answer, or not to this account
        settings,   ///< they could not be read, or not be written
        cleanLog,   ///< it could not be written
    };

    Source source = Source::processes;
    std::string text; ///< a sentence without an end: "/proc could not be read: no processes are known"

    bool operator==(const Problem&) const = default;
};

} // namespace Vintrel
