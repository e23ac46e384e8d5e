#pragma once

#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelTests {

/// A real container engine of a test's own, with one image of small tools (busybox) and without any network.
/// Several can run side by side. Needs root. Whatever it started ends with the object, or with the thread
/// that made it.
class ContainerEngine {
public:
    static constexpr std::string_view image = "vintrel-test/tools:1";

    ContainerEngine();
    ContainerEngine(const ContainerEngine&) = delete;
    ContainerEngine& operator=(const ContainerEngine&) = delete;
    ~ContainerEngine();

    /// What DOCKER_HOST has to be for a client of it.
    [[nodiscard]] std::string host() const;

    /// Where all of its data is.
    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder.path(); }

    /// Runs the client with `args`: its standard output, whatever becomes of it. What it complains of goes to
    /// the test's standard error.
    std::string docker(const std::vector<std::string>& args);

    /// Starts a container that runs `command` in the background: the pid, on this machine, of its first
    /// process. Asked to stop, it has one second, unless the extra arguments (of "run") say otherwise.
    int32_t start(const std::string& name, const std::vector<std::string>& command,
                  const std::vector<std::string>& extraRunArguments = {});

private:
    [[nodiscard]] bool answers() const;
    void importImage();
    void endEngine();

    TemporaryFolder m_folder;
    std::optional<Process> m_engine;
    std::vector<Ended> m_firstProcesses; // for when the engine itself has gone wrong
};

/// The processes of container engines that name this folder in their command lines.
std::vector<int32_t> engineProcessesNaming(const std::filesystem::path& folder);

} // namespace VintrelTests
