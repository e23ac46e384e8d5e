#include "VintrelCore/model/ReviewReason.h"

namespace VintrelCore {

std::string_view inWords(ReviewReason reason) {
    switch (reason) {
    case ReviewReason::namedOnly:
        return "named only in its arguments";
    case ReviewReason::scriptMayDoMore:
        return "its script may do more";
    case ReviewReason::anotherMayFollow:
        return "another script may follow";
    case ReviewReason::startedOthers:
        return "its runner started others";
    case ReviewReason::runsUnknownProgram:
        return "runs an unknown program";
    case ReviewReason::partIsIgnored:
        return "part of it is ignored";
    case ReviewReason::hostsTerminal:
        return "hosts a terminal";
    }
    return {};
}

} // namespace VintrelCore
