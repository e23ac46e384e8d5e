#include "VintrelCore/context/PortRegistry.h"

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore::PortRegistry {

using VintrelTests::ScopedEnvironment;
using VintrelTests::TemporaryFolder;

namespace {

using ListenerMap = std::unordered_map<int32_t, PortSet>;

/// Tests of their own data folder, so that the user's ports do not mix in.
class PortRegistryTest : public ::testing::Test {
protected:
    /// The user's file.
    void writePorts(std::string_view bytes) const { m_data.write("Vintrel/ports.json", bytes); }

    [[nodiscard]] const std::filesystem::path& data() const { return m_data.path(); }

private:
    TemporaryFolder m_data;
    ScopedEnvironment m_dataHome{"XDG_DATA_HOME", m_data.path().string()};
};

} // namespace

TEST_F(PortRegistryTest, knowsTheseTwentyFivePorts) {
    EXPECT_EQ(registeredPorts,
              (PortSet{5182, 8001, 5181, 8011, 3001, 8003, 4000, 8000, 4002, 5501, 5173, 5120, 5899,
                       8899, 8004, 8005, 5188, 3002, 4321, 5184, 8006, 5183, 3003, 5185, 8007}));
    EXPECT_EQ(registeredPorts.size(), 25U);
}

TEST_F(PortRegistryTest, looksForTheUsersFileInTheDataFolder) {
    EXPECT_EQ(userPortsFileURL(), (data() / "Vintrel/ports.json").string());
}

TEST_F(PortRegistryTest, looksForTheUsersFileBelowHomeWhereThereIsNoDataFolder) {
    const ScopedEnvironment noDataHome("XDG_DATA_HOME", std::nullopt);
    const ScopedEnvironment home("HOME", "/home/dev");
    EXPECT_EQ(userPortsFileURL(), "/home/dev/.local/share/Vintrel/ports.json");
}

TEST_F(PortRegistryTest, addsThePortsOfTheUser) {
    struct Case {
        std::string json;
        PortSet merged;
    };

    const std::vector<Case> cases = {
        {R"({"shop": [4100, 4101], "docs": [6006]})", {1, 2, 4100, 4101, 6006}},
        {R"({"a": [3000], "b": []})", {1, 2, 3000}},
        {R"({"a": [3000, 3000], "b": [3000, 2]})", {1, 2, 3000}},
        {R"({"": [9], "店": [10]})", {1, 2, 9, 10}},
        {" {\r\n\t\"a\" : [ 9 ]\n} \n", {1, 2, 9}},
        {R"({"a": [3000.0, 3.1e3], "b": [-0.0, 1e18]})", {0, 1, 2, 3000, 3100}},
        {R"({"a": [2147483647, 2147483648.0, -2147483648]})", {-2'147'483'648, 1, 2, 2'147'483'647}},
        {R"({})", {1, 2}},
        {R"({"a": []})", {1, 2}},
    };
    for (const auto& [json, merged] : cases) {
        SCOPED_TRACE(json);
        EXPECT_EQ(mergedPorts({1, 2}, json), merged);
    }
    EXPECT_EQ(mergedPorts({}, R"({"a": [3000]})"), PortSet{3000});
}

TEST_F(PortRegistryTest, anythingElseThanAnObjectOfIntegerListsAddsNothing) {
    using namespace std::string_literals;
    const std::vector<std::string> damaged = {
        "{\"shop\": [4100]}\0"s,
        "",
        "[3000]",
        "3000",
        "null",
        "\"3000\"",
        "no JSON at all",
        R"({"a": 3000})",
        R"({"a": "3000"})",
        R"({"a": ["3000"]})",
        R"({"a": [3000.5]})",
        R"({"a": [true]})",
        R"({"a": [null]})",
        R"({"a": null})",
        R"({"a": [[3000]]})",
        R"({"a": {"b": [3000]}})",
        R"({"a": [3000], "b": "x"})", // one bad entry spoils the whole file
        R"({"b": "x", "a": [3000]})",
        R"({"a": [3000, "x"]})",
        R"({"a": [3000, 99999999999999999999]})",
        R"({"a": [3000.0, 1e300]})",
        R"({"a": [3000.0, 3000.5]})",
        R"({"a": [3000]}, {})",
        R"({"a": [3000])",
        R"({'a': [3000]})",
        R"({"a": [3000]} and more)",
        std::string("{\"a\0\": [3000]}", 14),
        "{\"\xff\xfe\": [3000]}",
        std::string(100'000, '['),
    };
    for (const std::string& json : damaged) {
        SCOPED_TRACE(json.substr(0, 40));
        EXPECT_EQ(mergedPorts({1, 2}, json), (PortSet{1, 2}));
    }
    EXPECT_EQ(mergedPorts({1, 2}, std::nullopt), (PortSet{1, 2}));
}

TEST_F(PortRegistryTest, readsAListenerFromALine) {
    struct Case {
        std::string line;
        Listener listener;
    };

    const std::vector<Case> cases = {
        {"node 4242 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)", {4242, 5173}},
        {"node 4242 me 24u IPv6 0x2 0t0 TCP [::1]:8000 (LISTEN)", {4242, 8000}},
        {"node 4242 me 24u IPv6 0x2 0t0 TCP [fe80::1:2]:8000 (LISTEN)", {4242, 8000}},
        {"python3 77 me 3u IPv4 0x3 0t0 TCP 127.0.0.1:8000 (LISTEN)", {77, 8000}},
        {"python3     77   me    3u  IPv4  12345      0t0  TCP 127.0.0.1:8000 (LISTEN)", {77, 8000}},
        {"  python3 77 me 3u IPv4 0x3 0t0 TCP *:8000 (LISTEN)  ", {77, 8000}},
        {"node 2147483647 me 23u IPv4 0x1 0t0 TCP *:5173", {2147483647, 5173}}, // nine columns are enough
    };
    for (const auto& [line, listener] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(parseListenerLine(line, registeredPorts), listener);
        EXPECT_EQ(parseListenerLine(line), listener) << "the set of now holds the built-in ports";
    }
}

TEST_F(PortRegistryTest, readsNothingFromAnyOtherLine) {
    const std::vector<std::string> lines = {
        "",
        "        ",
        "COMMAND     PID USER   FD   TYPE DEVICE SIZE/OFF NODE NAME",
        "COMMAND     PID USER   FD   TYPE DEVICE SIZE/OFF NODE *:5173",
        "node 4242 me 23u IPv4 0x1 0t0 *:5173", // eight columns
        "node 4242 me 23u IPv4 0x1 0t0 TCP 5173 (LISTEN)",
        "node 4242 me 23u IPv4 0x1 0t0 TCP *:http (LISTEN)",
        "node 4242 me 23u IPv4 0x1 0t0 TCP *: (LISTEN)",
        "node 4242 me 23u IPv4 0x1 0t0 TCP 5173: (LISTEN)",
        "node 4242 me 23u IPv4 0x1 0t0 TCP *:5173x (LISTEN)",
        "node 4242 me 23u IPv4 0x1 0t0 TCP *:0x1435 (LISTEN)",
        "node 4242 me 23u IPv4 0x1 0t0 TCP *:99999999999999999999 (LISTEN)",
        "node 4242 me 23u IPv4 0x1 0t0 TCP *:3000 (LISTEN)",          // not a known port
        "node 4242 me 23u IPv4 0x1 0t0 TCP *:8080 (LISTEN)",          // neither is this one
        "node 4242x me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)",         // no number
        "node 99999999999 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)",   // more than 32 bits
        "my node 4242 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)",       // every column one too far
        "node\t4242\tme\t23u\tIPv4\t0x1\t0t0\tTCP\t*:5173\t(LISTEN)", // only spaces part columns
    };
    for (const std::string& line : lines) {
        SCOPED_TRACE(line);
        EXPECT_EQ(parseListenerLine(line, registeredPorts), std::nullopt);
        EXPECT_EQ(parseListenerLine(line), std::nullopt);
    }
}

TEST_F(PortRegistryTest, aLineGoesByThePortsThatItIsGiven) {
    const std::string line = "node 4242 me 23u IPv4 0x1 0t0 TCP *:3000 (LISTEN)";
    EXPECT_EQ(parseListenerLine(line, PortSet{3000}), (Listener{4242, 3000}));
    EXPECT_EQ(parseListenerLine(line, PortSet{}), std::nullopt);
    EXPECT_EQ(parseListenerLine("node 4242 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)", PortSet{3000}),
              std::nullopt);
}

TEST_F(PortRegistryTest, aLineOnItsOwnGoesByTheUsersFileToo) {
    writePorts(R"({"shop": [3000]})");
    EXPECT_EQ(parseListenerLine("node 4242 me 23u IPv4 0x1 0t0 TCP *:3000 (LISTEN)"), (Listener{4242, 3000}));
    EXPECT_EQ(parseListenerLine("node 4242 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)"), (Listener{4242, 5173}));
}

TEST_F(PortRegistryTest, collectsThePortsOfEachProcess) {
    const std::string output = "COMMAND  PID USER   FD   TYPE DEVICE SIZE/OFF NODE NAME\n"
                               "node    4242   me   23u  IPv4 0x1         0t0  TCP *:5173 (LISTEN)\n"
                               "\n"
                               "node    4242   me   24u  IPv6 0x2         0t0  TCP *:5173 (LISTEN)\n"
                               "node    4242   me   25u  IPv4 0x3         0t0  TCP *:5174 (LISTEN)\n"
                               "node    4242   me   26u  IPv4 0x4         0t0  TCP 127.0.0.1:8000 (LISTEN)\n"
                               "cupsd    631 root    7u  IPv4 0x5         0t0  TCP 127.0.0.1:631 (LISTEN)\n"
                               "python3   77   me    3u  IPv4 0x6         0t0  TCP *:8000 (LISTEN)";
    EXPECT_EQ(listeningPorts(output), (ListenerMap{{4242, {5173, 8000}}, {77, {8000}}}));
    EXPECT_EQ(listeningPIDs(output), (std::unordered_set<int32_t>{4242, 77}));
}

TEST_F(PortRegistryTest, collectsNothingFromNoOutput) {
    for (const std::string output : {"", "\n", "\n\n"}) {
        EXPECT_TRUE(listeningPorts(output).empty());
        EXPECT_TRUE(listeningPIDs(output).empty());
    }
}

TEST_F(PortRegistryTest, collectsThePortsOfTheUsersFile) {
    writePorts(R"({"shop": [3000], "docs": [6006, 70000]})");
    EXPECT_EQ(listeningPorts("node 1 me 23u IPv4 0x1 0t0 TCP *:3000 (LISTEN)\n"
                             "node 2 me 23u IPv4 0x1 0t0 TCP *:6006 (LISTEN)\n"
                             "node 3 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)\n"
                             "node 4 me 23u IPv4 0x1 0t0 TCP *:8080 (LISTEN)\n"),
              (ListenerMap{{1, {3000}}, {2, {6006}}, {3, {5173}}}));
}

TEST_F(PortRegistryTest, aDamagedUsersFileChangesNothing) {
    writePorts(R"({"shop": [3000)");
    EXPECT_EQ(listeningPorts("node 1 me 23u IPv4 0x1 0t0 TCP *:3000 (LISTEN)\n"
                             "node 3 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)\n"),
              (ListenerMap{{3, {5173}}}));
}

TEST_F(PortRegistryTest, aFolderInPlaceOfTheUsersFileChangesNothing) {
    std::filesystem::create_directories(data() / "Vintrel/ports.json");
    EXPECT_EQ(listeningPorts("node 3 me 23u IPv4 0x1 0t0 TCP *:5173 (LISTEN)\n"), (ListenerMap{{3, {5173}}}));
}

TEST_F(PortRegistryTest, readingLeavesTheDataFolderAlone) {
    EXPECT_TRUE(listeningPorts("node 1 me 23u IPv4 0x1 0t0 TCP *:3000 (LISTEN)\n").empty());
    EXPECT_TRUE(std::filesystem::is_empty(data()));
}

TEST_F(PortRegistryTest, asksLsofForListenersWithoutLookingUpNames) {
    EXPECT_EQ(lsofArguments(), (std::vector<std::string>{"-nPi", "-sTCP:LISTEN"}));
}

} // namespace VintrelCore::PortRegistry
