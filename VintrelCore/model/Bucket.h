#pragma once

namespace VintrelCore {

/// Whether a bulk clean may sweep a process (safe), or a person has to decide.
enum class Bucket { safe, needsReview };

} // namespace VintrelCore
