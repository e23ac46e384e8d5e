#include "VintrelCore/scan/ShellCommands.h"

#include "VintrelCore/scan/ShellText.h"

#include <string_view>
#include <vector>

namespace VintrelCore::ShellCommands {

using CommandWords::isListed;
using CommandWords::Words;

bool runsNothingLasting(Words command, bool isFed) {
    constexpr std::string_view listed =
        "cd pushd popd export set unset true false : exit return wait sleep echo printf umask ulimit shopt "
        "setopt pwd read test [ [[ local declare typeset for case in esac fi done } date mkdir touch";
    // They end with what feeds them; on their own they may go through whole disks.
    constexpr std::string_view filters = "tee tail head cat grep sed sort uniq wc cut tr";
    if (command.empty()) {
        return true;
    }
    const std::string_view program = command.front();
    const bool choosesNode = program == "nvm" && command.size() > 1 && command[1] == "use";
    return isListed(listed, program) || choosesNode || (isFed && isListed(filters, program));
}

Words withoutPrefixes(Words command) {
    constexpr std::string_view listed = "exec command builtin time ! { if then elif else while until do";
    while (!command.empty() &&
           (CommandWords::isAssignment(command.front()) || isListed(listed, command.front()))) {
        command = command.subspan(1);
    }
    return command;
}

bool visitLasting(std::string_view text, int depth, const Look& look) {
    bool isAll = true;
    ShellText commands(text);
    while (const auto command = commands.nextCommand()) {
        const std::vector<std::string_view> all(command->begin(), command->end());
        const Words words = withoutPrefixes(all);
        if (runsNothingLasting(words, commands.isFed())) {
            continue;
        }
        if (depth > 0 && words.front() == "eval") {
            isAll = visitLasting(CommandWords::joined(words.subspan(1)), depth - 1, look) && isAll;
        } else if (depth > 0 && words.front() == "trap" && words.size() > 1) {
            const bool isNoText = words[1].empty() || words[1] == "-";
            isAll = (isNoText || visitLasting(words[1], depth - 1, look)) && isAll;
        } else {
            look(words, depth);
        }
    }
    return isAll && !commands.mayHideCommands();
}

} // namespace VintrelCore::ShellCommands
