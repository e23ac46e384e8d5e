#pragma once

#include "VintrelCore/platform/Facts.h"

#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VintrelTests {

/// Facts that a test has prepared.
class PreparedFacts : public VintrelCore::Platform::Facts {
public:
    PreparedFacts() {
        kernel.knowsContainers = true;
        kernel.factsOf = [this](int32_t pid) {
            const auto found = kernelFacts.find(pid);
            return found != kernelFacts.end() ? std::optional(found->second) : std::nullopt;
        };
    }

    /// An orphan of a known kind, an hour old.
    void addStray(int32_t pid, const std::string& command = "/usr/bin/vitest") {
        table.push_back({.pid = pid,
                         .ppid = 1,
                         .elapsed = "01:00:00",
                         .tty = "?",
                         .cpuPercent = "0.0",
                         .rss = "1024",
                         .command = command,
                         .name = command.substr(command.rfind('/') + 1)});
        starts[pid] = {.sec = 1'000 + pid, .usec = 0};
    }

    [[nodiscard]] std::span<const VintrelCore::Platform::ProcessFacts> processes() override { return table; }

    [[nodiscard]] VintrelCore::Platform::Shortfall shortfall() override { return tableShortfall; }

    [[nodiscard]] VintrelCore::Platform::KernelView kernelView() override { return kernel; }

    [[nodiscard]] std::optional<VintrelCore::ProcStartTime> startTime(int32_t pid) override {
        return valueOf(starts, pid);
    }

    [[nodiscard]] std::optional<std::vector<std::string>> arguments(int32_t pid) override {
        return valueOf(argumentsByPID, pid);
    }

    [[nodiscard]] std::optional<std::string> executable(int32_t) override { return std::nullopt; }

    [[nodiscard]] std::optional<std::string> environmentValue(int32_t, std::string_view) override {
        return std::nullopt;
    }

    [[nodiscard]] std::optional<int64_t> residentKB(int32_t) override { return 2'048; }

    [[nodiscard]] VintrelCore::Platform::Folders folders(std::span<const int32_t> pids) override {
        foldersAskedFor.assign(pids.begin(), pids.end());
        return directories;
    }

    [[nodiscard]] VintrelCore::Platform::Listeners listeners(const std::set<int>&,
                                                             std::span<const int32_t> candidates) override {
        listenersAskedFor.assign(candidates.begin(), candidates.end());
        return listening;
    }

    [[nodiscard]] std::vector<VintrelCore::Platform::OpenDescriptor>
    openDescriptors(std::span<const int32_t>) override {
        return {};
    }

    // Answers.
    std::vector<VintrelCore::Platform::ProcessFacts> table;
    VintrelCore::Platform::Shortfall tableShortfall;
    VintrelCore::Platform::KernelView kernel;
    std::unordered_map<int32_t, VintrelCore::Platform::KernelFacts> kernelFacts;
    std::unordered_map<int32_t, VintrelCore::ProcStartTime> starts;
    std::unordered_map<int32_t, std::vector<std::string>> argumentsByPID;
    VintrelCore::Platform::Folders directories;
    VintrelCore::Platform::Listeners listening;

    // Questions.
    std::vector<int32_t> foldersAskedFor;
    std::vector<int32_t> listenersAskedFor;

private:
    template <typename Value>
    static std::optional<Value> valueOf(const std::unordered_map<int32_t, Value>& values, int32_t pid) {
        const auto found = values.find(pid);
        return found != values.end() ? std::optional(found->second) : std::nullopt;
    }
};

} // namespace VintrelTests
