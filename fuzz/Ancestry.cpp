#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/AncestryResolver.h"
#include "fuzz/Fuzzing.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace {

using namespace VintrelCore;
using AncestryResolver::ProcessTable;
using Fuzzing::require;

/// As the chain is meant: from parent to parent, as long as they are known and new.
std::vector<std::string> expectedChain(int32_t pid, const ProcessTable& table) {
    std::vector<std::string> labels;
    std::unordered_set<int32_t> seen;
    while (pid > 0 && table.contains(pid) && seen.insert(pid).second) {
        labels.push_back(table.at(pid).label);
        pid = table.at(pid).ppid;
    }
    return labels;
}

void checkChain(int32_t pid, const ProcessTable& table) {
    const auto chain = AncestryResolver::ancestorChain(pid, table);
    require(chain.size() <= table.size(), "a chain ends");
    require(chain == expectedChain(pid, table), "and goes from parent to parent");
}

ProcessTable expectedTable(std::string_view output) {
    ProcessTable table;
    while (const auto line = Text::takeLine(output)) {
        if (const auto entry = AncestryResolver::parseLine(*line)) {
            table.insert_or_assign(entry->pid, entry->node);
        }
    }
    return table;
}

void checkNode(int32_t pid, const ProcessNode& node, std::string_view output) {
    require(!node.label.empty() && output.contains(node.label), "a label stands in the output");
    require(AncestryResolver::compactLabel(node.label) == node.label, "and cannot be made shorter");
    const std::string line =
        " " + std::to_string(pid) + "\t" + std::to_string(node.ppid) + "  /opt/a b/" + node.label;
    const bool isName = !node.label.contains('/') && Text::trimmed(node.label) == node.label;
    require(!isName || AncestryResolver::parseLine(line) == AncestryResolver::Entry{pid, node},
            "a line that says this is read as this");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view output = Fuzzing::textOf(data, size);
    const ProcessTable table = AncestryResolver::processTable(output);
    require(table == expectedTable(output), "each line is a process or nothing; the last of a pid counts");
    for (const auto& [pid, node] : table) {
        checkNode(pid, node, output);
        checkChain(pid, table);
        checkChain(node.ppid, table);
    }
    for (const int32_t pid : {0, -1, INT32_MIN}) {
        require(AncestryResolver::ancestorChain(pid, table).empty(), "nobody is above nobody");
    }
    return 0;
}
