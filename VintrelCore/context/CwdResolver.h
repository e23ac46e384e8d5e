#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// Where a process works, and which project that is.
struct ProcessCwd {
    std::string label;                        ///< the project, as people know it
    std::string fullPath;                     ///< the working directory; "~" stands for the home folder
    std::optional<std::string> projectRoot{}; ///< the git repository around it, written in the same way

    bool operator==(const ProcessCwd&) const = default;
};

/// Working directories, by way of lsof, and what they say about projects. No state.
namespace CwdResolver {

using CwdMap = std::unordered_map<int32_t, ProcessCwd>;
using GitRootFinder = std::function<std::optional<std::string>(const std::string& directory)>;

/// The nearest folder, from `directory` upwards, that has an entry named ".git"; never the root of the file
/// system.
[[nodiscard]] std::optional<std::string> findGitRoot(const std::string& directory);

struct ProcessCwdsOptions {
    std::vector<int32_t> forPIDs{};
    std::optional<std::string_view> lsofOutput{}; ///< prepared output; lsof runs only without it
    std::optional<std::string> home{};            ///< the folder to write as "~"
    GitRootFinder gitRootFinder = findGitRoot;
    /// False when a mount is known not to answer: any look at a file there would hang. Repositories stay
    /// unknown.
    bool mayTouchFiles = true;
};

/// An entry for every process whose working directory lsof could tell.
[[nodiscard]] CwdMap processCwds(const ProcessCwdsOptions& options);

/// What lsof prints for these processes, in its field format. "" when it failed, and for no processes at all.
[[nodiscard]] std::string runLSOF(std::span<const int32_t> pids);

/// The arguments behind `runLSOF`, for callers that overlap it with other tools. `pids` must not be empty:
/// lsof would list every process of the machine.
[[nodiscard]] std::vector<std::string> lsofArguments(std::span<const int32_t> pids);

/// Directories by pid, from lsof's field format. Source of the format: the manual page lsof(8), "output for
/// other programs". What lsof says in place of a directory that it may not read is no directory.
[[nodiscard]] std::unordered_map<int32_t, std::string> parseCwds(std::string_view lsofOutput);

/// Takes away what lsof puts behind a directory's name: why it could not look at it, or the server that a
/// mount comes from. A directory of that very name keeps it, as far as files may be touched.
void dropAnnotation(std::string& directory, bool mayTouchFiles);

using Directories = std::unordered_map<int32_t, std::string>;

struct CwdsOfOptions {
    std::optional<std::string> home{}; ///< the folder to write as "~"
    GitRootFinder gitRootFinder = findGitRoot;
    /// Whether a directory's existence may be checked; false on a mount that may never answer.
    std::function<bool(const std::string& directory)> mayTouch = [](const std::string&) { return true; };
};

/// An entry for each directory. They are named as the kernel does it: a deleted one ends with " (deleted)".
[[nodiscard]] CwdMap cwdsOf(Directories directories, const CwdsOfOptions& options);

/// A project's name: the last component of its root, and the way from there to `cwd`.
[[nodiscard]] std::string projectLabel(std::string_view cwd, const std::optional<std::string>& gitRoot);

[[nodiscard]] std::string abbreviateHome(std::string_view path, std::string_view home);

/// Whether `path` is the folder `prefix` or lies below it, compared as text. Nothing lies below "/" or "".
[[nodiscard]] bool isUnderPrefix(std::string_view path, std::string_view prefix);

/// Whether a working directory belongs to a protected project. Beside the abbreviated form, an entry may be
/// written as an absolute path below home.
[[nodiscard]] bool isProtected(std::string_view fullPath, std::span<const std::string> protectedProjects,
                               std::string_view home);

} // namespace CwdResolver
} // namespace VintrelCore
