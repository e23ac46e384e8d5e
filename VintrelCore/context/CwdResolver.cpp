#include "VintrelCore/context/CwdResolver.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/Lsof.h"

#include <algorithm>
#include <utility>

namespace VintrelCore::CwdResolver {

namespace {

/// "/proc/13878/cwd (readlink: Permission denied)" stands where lsof may not read a directory.
bool isRefusal(std::string_view name, int32_t pid) {
    const std::string start = "/proc/" + std::to_string(pid) + "/cwd (";
    return name.starts_with(start) && name.ends_with(')');
}

/// Whether a text in parentheses is what lsof puts behind a name: why it could not look at the directory, or
/// the server that a mount comes from.
bool isAnnotation(std::string_view text) {
    if (text.starts_with("stat: ") || text.starts_with("readlink: ")) {
        return !text.contains('/'); // else it began in another folder's name
    }
    const auto exported = text.find(":/");
    return exported != std::string_view::npos && exported > 0 &&
           text.substr(0, exported).find_first_of(" ()/") == std::string_view::npos;
}

size_t lengthWithoutAnnotation(std::string_view path) {
    constexpr std::string_view opening = " (";
    for (auto at = path.ends_with(')') ? path.find(opening, 1) : std::string_view::npos;
         at != std::string_view::npos; at = path.find(opening, at + 1)) {
        const std::string_view rest = path.substr(at + opening.size());
        if (isAnnotation(rest.substr(0, rest.size() - 1))) {
            return at;
        }
    }
    return path.size();
}

/// The kernel names a directory that was deleted "... (deleted)".
size_t lengthWithoutDeletedEnding(std::string_view path) {
    constexpr std::string_view ending = " (deleted)";
    return path.size() - (path.size() > ending.size() && path.ends_with(ending) ? ending.size() : 0);
}

/// A directory may also be called as if something had been put behind its name: it keeps it, and the result
/// is true.
bool shorten(std::string& directory, size_t length, bool mayTouchFiles) {
    const bool isItself = length < directory.size() && mayTouchFiles && File::exists(directory);
    directory.resize(isItself ? directory.size() : length);
    return isItself;
}

} // namespace

void dropAnnotation(std::string& directory, bool mayTouchFiles) {
    shorten(directory, lengthWithoutAnnotation(directory), mayTouchFiles);
}

std::vector<std::string> lsofArguments(std::span<const int32_t> pids) {
    return {"-a", "-p", Lsof::list(pids), "-d", "cwd", "-Fpn"};
}

std::string runLSOF(std::span<const int32_t> pids) {
    return pids.empty() ? std::string() : Lsof::ask(lsofArguments(pids)).output;
}

std::unordered_map<int32_t, std::string> parseCwds(std::string_view lsofOutput) {
    std::unordered_map<int32_t, std::string> directories;
    std::optional<int32_t> pid;
    while (const auto line = Text::takeLine(lsofOutput)) {
        const std::string_view value = line->substr(1);
        if (line->front() == 'p') {
            pid = Text::parseInteger<int32_t>(value);
        } else if (line->front() == 'n' && pid && !value.empty() && !isRefusal(value, *pid)) {
            directories.insert_or_assign(*pid, Lsof::unescaped(value));
        }
    }
    return directories;
}

std::optional<std::string> findGitRoot(const std::string& directory) {
    std::string_view current = directory;
    while (current.starts_with('/') && current != "/") {
        if (File::isEntry(std::string(current) +
                          "/.git")) { // a link may lead to a mount that does not answer
            return std::string(current);
        }
        current = Path::parent(current);
    }
    return std::nullopt;
}

std::string projectLabel(std::string_view cwd, const std::optional<std::string>& gitRoot) {
    if (!gitRoot || gitRoot->empty()) {
        const std::string_view name = Path::lastComponent(cwd);
        return std::string(name.empty() ? cwd : name);
    }
    std::string label(Path::lastComponent(*gitRoot));
    if (Path::isAtOrBelow(cwd, *gitRoot)) {
        label += cwd.substr(gitRoot->size());
    }
    return label;
}

std::string abbreviateHome(std::string_view path, std::string_view home) {
    if (home.empty() || !Path::isAtOrBelow(path, home)) {
        return std::string(path);
    }
    return "~" + std::string(path.substr(home.size()));
}

CwdMap processCwds(const ProcessCwdsOptions& options) {
    CwdMap cwds;
    if (options.forPIDs.empty()) {
        return cwds;
    }
    Lsof::Answer own;
    if (!options.lsofOutput) {
        own = Lsof::ask(lsofArguments(options.forPIDs));
    }
    const bool mayTouchFiles = options.mayTouchFiles && !own.metDeadMount;
    Directories directories = parseCwds(options.lsofOutput.value_or(own.output));
    for (auto& [pid, directory] : directories) {
        dropAnnotation(directory, mayTouchFiles);
    }
    const GitRootFinder none = [](const std::string&) { return std::nullopt; };
    return cwdsOf(std::move(directories),
                  {.home = options.home,
                   .gitRootFinder = mayTouchFiles ? options.gitRootFinder : none,
                   .mayTouch = [mayTouchFiles](const std::string&) { return mayTouchFiles; }});
}

CwdMap cwdsOf(Directories directories, const CwdsOfOptions& options) {
    CwdMap cwds;
    const std::string home = options.home.value_or("");
    std::unordered_map<std::string, std::optional<std::string>> gitRoots; // many processes share a directory
    for (auto& [pid, directory] : directories) {
        const size_t length = lengthWithoutDeletedEnding(directory);
        if (length < directory.size()) { // else nothing is to be asked
            shorten(directory, length, options.mayTouch(directory));
        }
        const auto [known, isNew] = gitRoots.try_emplace(directory);
        if (isNew) {
            known->second = options.gitRootFinder(directory);
        }
        const std::optional<std::string>& gitRoot = known->second;
        ProcessCwd cwd{.label = projectLabel(directory, gitRoot),
                       .fullPath = abbreviateHome(directory, home)};
        if (gitRoot) {
            cwd.projectRoot = abbreviateHome(*gitRoot, home);
        }
        cwds.emplace(pid, std::move(cwd));
    }
    return cwds;
}

bool isUnderPrefix(std::string_view path, std::string_view prefix) {
    if (prefix.ends_with('/')) {
        prefix.remove_suffix(1);
    }
    return !prefix.empty() && Path::isAtOrBelow(path, prefix);
}

bool isProtected(std::string_view fullPath, std::span<const std::string> protectedProjects,
                 std::string_view home) {
    return std::ranges::any_of(protectedProjects, [&](const std::string& entry) {
        const std::string_view project = Path::withoutTrailingSlashes(entry);
        return isUnderPrefix(fullPath, project) || isUnderPrefix(fullPath, abbreviateHome(project, home));
    });
}

} // namespace VintrelCore::CwdResolver
