#pragma once

#include "VintrelCore/command/CLIScan.h"

#include <functional>

/// Whether anything is known; says on standard error what is not.
[[nodiscard]] bool isUsable(const VintrelCore::CLIScan::Result& scan);

/// Does something that Ctrl+C makes stop early, through the descriptor it is given. If Ctrl+C came, the
/// program then ends by it, once all is tidied up.
void interruptibly(const std::function<void(int interrupt)>& action);
