#include "VintrelCore/docker/DockerService.h"

#include "tests/core/context/ReplacedTool.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::DockerService {

using namespace std::chrono_literals;
using VintrelTests::exitWithVerdict;
using VintrelTests::TemporaryFolder;

namespace fs = std::filesystem;

namespace {

constexpr uid_t nobody = 65'534;

/// Files that may or may not be trusted.
class Files {
public:
    Files() { ::chmod(m_folder.path().c_str(), 0755); }

    std::string make(const std::string& name, mode_t mode, uid_t owner = ::getuid()) const {
        const fs::path path = m_folder.write(name, "#!/bin/sh\n");
        EXPECT_TRUE(owner == ::getuid() || ::chown(path.c_str(), owner, owner) == 0);
        EXPECT_EQ(::chmod(path.c_str(), mode), 0);
        return path;
    }

    std::string link(const std::string& name, const fs::path& target) const {
        fs::create_symlink(target, m_folder.path() / name);
        return m_folder.path() / name;
    }

    [[nodiscard]] const fs::path& path() const { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
};

} // namespace

TEST(DockerServiceTest, trustsRootAndTheCurrentUserUnlessEverybodyMayWrite) {
    EXPECT_TRUE(isTrustedOwnership(0, 0755, 501));
    EXPECT_TRUE(isTrustedOwnership(501, 0775, 501));
    EXPECT_FALSE(isTrustedOwnership(502, 0755, 501));
    EXPECT_FALSE(isTrustedOwnership(0, 0757, 501));

    EXPECT_TRUE(isTrustedOwnership(0, 0755, 0));
    EXPECT_FALSE(isTrustedOwnership(501, 0755, 0)) << "root does not trust what is somebody else's";
    EXPECT_TRUE(isTrustedOwnership(0, 0775, 501)) << "a group's writing is its own affair";
    EXPECT_TRUE(isTrustedOwnership(0, 0775 | 06000, 501));
    EXPECT_FALSE(isTrustedOwnership(501, 0757, 501));
    EXPECT_FALSE(isTrustedOwnership(0, 0777, 501));
    EXPECT_FALSE(isTrustedOwnership(0, 0002, 501));
    EXPECT_TRUE(isTrustedOwnership(0, 0, 501));
    EXPECT_FALSE(isTrustedOwnership(4'294'967'295, 0755, 501));
}

TEST(DockerServiceTest, trustsAnExecutableOfOnesOwn) {
    const Files files;
    EXPECT_TRUE(isTrustedExecutable(files.make("plain", 0755)));
    EXPECT_TRUE(isTrustedExecutable(files.make("private", 0700)));
    EXPECT_TRUE(isTrustedExecutable(files.make("group-writable", 0775)));
    EXPECT_TRUE(isTrustedExecutable(files.make("name with blanks 店", 0755)));
}

TEST(DockerServiceTest, doesNotTrustWhatEverybodyMayWrite) {
    const Files files;
    EXPECT_FALSE(isTrustedExecutable(files.make("docker", 0757)));
    EXPECT_FALSE(isTrustedExecutable(files.make("docker", 0777)));
    EXPECT_FALSE(isTrustedExecutable(files.make("docker", 0753)));
}

TEST(DockerServiceTest, doesNotTrustWhatCannotBeExecuted) {
    const Files files;
    EXPECT_FALSE(isTrustedExecutable(files.make("docker", 0644)));
    EXPECT_FALSE(isTrustedExecutable(files.path() / "missing"));
    EXPECT_FALSE(isTrustedExecutable(files.make("docker", 0755) + "/below"));
    EXPECT_FALSE(isTrustedExecutable(""));
}

TEST(DockerServiceTest, aFolderIsNoExecutable) {
    const Files files;
    fs::create_directory(files.path() / "docker");
    EXPECT_FALSE(isTrustedExecutable(files.path() / "docker"));
    EXPECT_FALSE(isTrustedExecutable(files.link("link", "docker")));
    EXPECT_FALSE(isTrustedExecutable("/"));
}

TEST(DockerServiceTest, aLinkIsJudgedByItsTarget) {
    const Files files;
    files.make("good", 0755);
    files.make("writable", 0757);
    files.make("data", 0644);
    EXPECT_TRUE(isTrustedExecutable(files.link("to-good", "good")));
    EXPECT_TRUE(isTrustedExecutable(files.link("to-good-by-two", "to-good")));
    EXPECT_TRUE(isTrustedExecutable(files.link("to-good-absolutely", files.path() / "good")));
    EXPECT_FALSE(isTrustedExecutable(files.link("to-writable", "writable")));
    EXPECT_FALSE(isTrustedExecutable(files.link("to-writable-by-two", "to-writable")));
    EXPECT_FALSE(isTrustedExecutable(files.link("to-data", "data")));
    EXPECT_FALSE(isTrustedExecutable(files.link("to-nothing", "missing")));
    EXPECT_FALSE(isTrustedExecutable(files.link("to-itself", "to-itself")));
}

TEST(DockerServiceTest, doesNotTrustWhatIsSomebodyElses) {
    VINTREL_NEEDS_ROOT();
    const Files files;
    EXPECT_FALSE(isTrustedExecutable(files.make("docker", 0755, nobody)));
    EXPECT_FALSE(isTrustedExecutable(files.link("link", "docker")));
}

TEST(DockerServiceTest, aLinkMayBeSomebodyElses) {
    VINTREL_NEEDS_ROOT();
    const Files files;
    files.make("good", 0755);
    const std::string link = files.link("link", "good");
    ASSERT_EQ(::lchown(link.c_str(), nobody, nobody), 0);
    EXPECT_TRUE(isTrustedExecutable(link));
}

TEST(DockerServiceDeathTest, anotherAccountTrustsItsOwnFilesAndRoots) {
    VINTREL_NEEDS_ROOT();
    const Files files;
    const std::string roots = files.make("roots", 0755);
    const std::string own = files.make("own", 0700, nobody);
    const std::string strangers = files.make("strangers", 0755, nobody - 1);
    const std::string forbidden = files.make("forbidden", 0700);
    const auto lookAsNobody = [&] {
        if (::setuid(nobody) != 0) {
            std::_Exit(2);
        }
        EXPECT_TRUE(isTrustedExecutable(roots));
        EXPECT_TRUE(isTrustedExecutable(own));
        EXPECT_FALSE(isTrustedExecutable(strangers));
        EXPECT_FALSE(isTrustedExecutable(forbidden)) << "it may not execute it";
        exitWithVerdict();
    };
    EXPECT_EXIT(lookAsNobody(), ::testing::ExitedWithCode(0), "");
}

TEST(DockerServiceTest, takesTheFirstCandidateThatCanBeTrusted) {
    const Files files;
    const std::string first = files.make("first", 0755);
    const std::string second = files.make("second", 0755);
    const std::string writable = files.make("writable", 0757);
    const std::string missing = files.path() / "missing";
    const auto pick = [](std::string_view one, std::string_view other) {
        return cliPath(std::array{one, other});
    };
    EXPECT_EQ(pick(first, second), first);
    EXPECT_EQ(pick(second, first), second);
    EXPECT_EQ(pick(writable, second), second);
    EXPECT_EQ(pick(missing, second), second);
    EXPECT_EQ(pick(missing, writable), std::nullopt);
    EXPECT_EQ(cliPath({}), std::nullopt);
}

TEST(DockerServiceTest, doesNotTakeTheCandidateOfAStranger) {
    VINTREL_NEEDS_ROOT();
    const Files files;
    const std::string strangers = files.make("strangers", 0755, nobody);
    const std::string second = files.make("second", 0755);
    EXPECT_EQ(cliPath(std::array<std::string_view, 2>{strangers, second}), second);
}

TEST(DockerServiceTest, namesTheCandidateNotWhatItLinksTo) {
    const Files files;
    files.make("good", 0755);
    const std::string link = files.link("docker", "good");
    EXPECT_EQ(cliPath(std::array<std::string_view, 1>{link}), link);
}

TEST(DockerServiceTest, looksInFixedPlaces) {
    const auto places = Platform::dockerCandidates();
    EXPECT_EQ(
        (std::vector<std::string_view>{places.begin(), places.end()}),
        (std::vector<std::string_view>{"/usr/local/bin/docker", "/usr/bin/docker", "/snap/bin/docker"}));
    EXPECT_EQ(isInstalled(), cliPath().has_value());
}

TEST(DockerServiceTest, operationsAreGivenTheContainerAsOneWord) {
    EXPECT_EQ(restartArguments("abc 123"), (Arguments{"restart", "abc 123"}));
    EXPECT_EQ(stopArguments("web-1"), (Arguments{"stop", "web-1"}));
    EXPECT_EQ(removeArguments("abc123"), (Arguments{"rm", "abc123"}));
}

TEST(DockerServiceTest, looksHaveTenSecondsAndChangesThirty) {
    const auto deadlineOf = [](Arguments arguments) {
        return command("/usr/bin/docker", std::move(arguments)).deadline;
    };
    EXPECT_EQ(deadlineOf({"ps", "-q"}), 10s);
    EXPECT_EQ(deadlineOf({"ps", "--format", "x"}), 10s);
    EXPECT_EQ(deadlineOf({"inspect", "--format", "x", "abc"}), 10s);
    EXPECT_EQ(deadlineOf({"stats", "--no-stream"}), 10s);
    EXPECT_EQ(deadlineOf(stopArguments("x")), 30s);
    EXPECT_EQ(deadlineOf(restartArguments("x")), 30s);
    EXPECT_EQ(deadlineOf(removeArguments("x")), 30s);
    EXPECT_EQ(deadlineOf(stopArguments("ps")), 30s) << "a container may have any name";
}

TEST(DockerServiceTest, aStopHasTheContainersOwnTimeAndTenSeconds) {
    const auto deadlineOf = [](int32_t timeout) {
        return command("/usr/bin/docker", stopArguments("x"), ContainerStop{.id = "x", .timeout = timeout})
            .deadline;
    };
    EXPECT_EQ(deadlineOf(0), 10s);
    EXPECT_EQ(deadlineOf(ContainerStop::usualTimeout), 20s);
    EXPECT_EQ(deadlineOf(60), 70s);
    EXPECT_EQ(deadlineOf(2'147'483'647), std::chrono::seconds(2'147'483'657));
}

TEST(DockerServiceTest, aCommandIsTheClientAndItsArguments) {
    const Shell::Command plain = command("/opt/my docker", {"stop", "a b", "", "$(c)"});
    EXPECT_EQ(plain.executable, "/opt/my docker");
    EXPECT_EQ(plain.arguments, (Arguments{"stop", "a b", "", "$(c)"}));
}

} // namespace VintrelCore::DockerService
