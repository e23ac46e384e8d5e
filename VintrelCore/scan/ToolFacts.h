#pragma once

#include "VintrelCore/base/Shell.h"
#include "VintrelCore/context/Lsof.h"
#include "VintrelCore/platform/Facts.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace VintrelCore {

/// Facts from ps and lsof: for systems without /proc, and for tests that compare the kernel's facts with
/// them.
class ToolFacts : public Platform::Facts {
public:
    struct Tools {
        std::string ps = Platform::psPath();
        std::string lsof = Lsof::path();
        int interrupt =
            -1; ///< a descriptor that becomes readable when the tools are to end; negative for none
        bool tellsNames = true; ///< `ProcessFacts::name` costs another run of ps
    };

    /// Starts ps and lsof's look for listeners; nothing is awaited yet.
    explicit ToolFacts(Tools tools);

    [[nodiscard]] std::span<const Platform::ProcessFacts> processes() override;
    [[nodiscard]] Platform::Shortfall shortfall() override;

    [[nodiscard]] Platform::KernelView kernelView() override { return Platform::kernelView(); }

    [[nodiscard]] std::optional<ProcStartTime> startTime(int32_t pid) override;
    [[nodiscard]] std::optional<std::vector<std::string>> arguments(int32_t pid) override;
    [[nodiscard]] std::optional<std::string> executable(int32_t pid) override;
    [[nodiscard]] std::optional<std::string> environmentValue(int32_t pid, std::string_view name) override;
    [[nodiscard]] std::optional<int64_t> residentKB(int32_t pid) override;
    [[nodiscard]] Platform::Folders folders(std::span<const int32_t> pids) override;
    [[nodiscard]] Platform::Listeners listeners(const std::set<int>& ports,
                                                std::span<const int32_t> candidates) override;
    [[nodiscard]] std::vector<Platform::OpenDescriptor>
    openDescriptors(std::span<const int32_t> pids) override;

private:
    void take(const Shell::Outcome& ps);
    void takeNames(const Shell::Outcome& ps);
    Tools m_tools;
    std::optional<ProcStartTime> m_began = Platform::startTimeOfNow(); // before ps is started
    std::optional<Shell::Run> m_ps;
    std::optional<Shell::Run> m_names;
    Lsof::Query m_listeners;
    Platform::Shortfall m_shortfall;
    std::vector<Platform::ProcessFacts> m_processes;
};

} // namespace VintrelCore
