#pragma once

namespace VintrelCore {

/// How risky it is to end a process. The order means something: a later tier is riskier.
enum class RiskTier { easy, moderate, high };

} // namespace VintrelCore
