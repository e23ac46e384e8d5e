#include "VintrelCore/model/ProcessItem.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"

#include <algorithm>

namespace VintrelCore {

int32_t ProcessItem::shownPID() const {
    const auto shown = std::ranges::find(folded, FoldedAs::shown, &FoldedProcess::as);
    return shown != folded.end() ? shown->pid : pid;
}

std::string_view ProcessItem::displayLabel() const {
    return customLabel ? *customLabel : label(kind);
}

std::string ProcessItem::displayPath() const {
    std::string_view rest = command;
    const std::string_view executable = Text::takeWord(rest);
    if (!executable.starts_with('/')) {
        return std::string(executable);
    }
    const std::string_view name = Path::lastComponent(executable);
    const std::string_view folder = Path::lastComponent(Path::parent(executable));
    if (name.empty()) { // the root itself
        return "/";
    }
    return folder.empty() ? std::string(name) : std::string(folder) + "/" + std::string(name);
}

bool ProcessItem::isTTYAttached(std::string_view tty) {
    const std::string_view name = Text::trimmed(tty);
    return !name.empty() && name != "??" && name != "?" && name != "-";
}

} // namespace VintrelCore
