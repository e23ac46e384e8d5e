#pragma once

#include <string>

namespace Vintrel {

struct StartRequest;

/// The program as the one instance of its user's session.
class ApplicationInstance {
public:
    /// Who runs.
    enum class Claim {
        granted,       ///< this instance, and no other will
        taken,         ///< another one
        unenforceable, ///< this instance; the session keeps no book of who else does
    };

    ApplicationInstance() = default;
    ApplicationInstance(const ApplicationInstance&) = delete;
    ApplicationInstance& operator=(const ApplicationInstance&) = delete;
    virtual ~ApplicationInstance() = default;

    /// Becomes the one that runs, unless another is. From then on requests come from the event loop.
    [[nodiscard]] virtual Claim claim() = 0;

    /// Carries out one of `ApplicationActions`; false when there is none of that name.
    virtual bool activateAction(const std::string& name) = 0;
};

/// What became of a request that was meant for an instance that runs already.
enum class Handover {
    delivered, ///< it has been taken over
    nobody,    ///< no other instance runs
    noSession, ///< nobody could know
    refused,   ///< one runs, but knows no such request: it is of another version
    failed,    ///< one runs, but does not answer
};

} // namespace Vintrel
