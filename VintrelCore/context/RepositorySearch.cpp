#include "VintrelCore/context/RepositorySearch.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/platform/TimedQuestion.h"

#include <map>
#include <set>
#include <utility>
#include <vector>

namespace VintrelCore {

namespace {

/// Pairs of directory and repository root, each terminated by a zero byte, which no path contains.
std::string answerOf(const std::set<std::string>& directories) {
    std::string answer;
    for (const std::string& directory : directories) {
        if (const auto root = CwdResolver::findGitRoot(directory)) {
            answer += directory + '\0' + *root + '\0';
        }
    }
    return answer;
}

} // namespace

RepositorySearch::RepositorySearch(const CwdResolver::Directories& directories, const SlowMounts& mounts,
                                   int interrupt, std::chrono::milliseconds deadline)
    : m_mounts(mounts) {
    std::map<std::string, std::set<std::string>> byMount;
    for (const auto& [pid, directory] : directories) {
        if (const auto mount = mounts.holderOf(directory)) {
            byMount[*mount].insert(directory);
        }
    }
    std::vector<Platform::TimedQuestion> questions; // all at once: one that hangs keeps no other waiting
    questions.reserve(byMount.size());
    for (const auto& [mount, slow] : byMount) {
        questions.emplace_back([&slow] { return answerOf(slow); }, deadline);
    }
    for (Platform::TimedQuestion& question : questions) {
        const auto answer = question.wait(interrupt);
        m_metDeadMount = m_metDeadMount || !answer;
        const std::string_view told = answer ? *answer : std::string_view();
        const auto pieces = Text::split(told, '\0');
        for (size_t piece = 0; piece + 1 < pieces.size(); piece += 2) {
            m_slow.emplace(pieces[piece], pieces[piece + 1]);
        }
    }
}

std::optional<std::string> RepositorySearch::rootOf(const std::string& directory) const {
    if (!m_mounts.hold(directory)) {
        return CwdResolver::findGitRoot(directory);
    }
    const auto found = m_slow.find(directory);
    return found != m_slow.end() ? std::optional(found->second) : std::nullopt;
}

} // namespace VintrelCore
