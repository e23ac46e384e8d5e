#include "VintrelCore/scan/Interpreters.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/scan/ToolNames.h"

#include <algorithm>
#include <array>

namespace VintrelCore::Interpreters {

bool canBeTitle(std::string_view command) {
    const std::string_view word = Text::takeWord(command);
    return !word.empty() && !word.contains('/') && !word.starts_with('[') && interpreterIn(word).empty();
}

std::string_view interpreterIn(std::string_view executable) {
    struct Interpreter {
        std::string_view file; // without version
        std::string_view name;
    };

    constexpr auto interpreters = std::to_array<Interpreter>({{"node", "node"},
                                                              {"nodejs", "node"},
                                                              {"bun", "bun"},
                                                              {"deno", "deno"},
                                                              {"python", "python"},
                                                              {"pypy", "python"}});
    constexpr std::string_view deleted = " (deleted)"; // it was upgraded meanwhile
    if (executable.ends_with(deleted)) {
        executable.remove_suffix(deleted.size());
    }
    const std::string_view file = ToolNames::plainName(ToolNames::lastComponent(executable));
    const auto found = std::ranges::find(interpreters, file, &Interpreter::file);
    return found != interpreters.end() ? found->name : std::string_view();
}

} // namespace VintrelCore::Interpreters
