#pragma once

#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace VintrelTests {

/// What one run of the program did.
struct VintrelOutcome {
    int status = 0; ///< the exit status, or minus the signal that ended it
    std::string output;
    std::string errors;
};

/// One row of the printed table.
struct TableRow {
    std::string bucket, kind, age, ram, project, command;
};

/// The program with a home and settings of its own.
class VintrelHome {
public:
    [[nodiscard]] const std::filesystem::path& path() const { return m_folder.path(); }

    [[nodiscard]] const TemporaryFolder& folder() const { return m_folder; }

    /// Writes the settings file, as text in the store's own form.
    void writeSettings(std::string_view text) const { m_folder.write("config/Vintrel/Vintrel.conf", text); }

    [[nodiscard]] std::map<std::string, std::string> environment() const;

    /// Runs it to its end. `prefix` is a command to run it with, such as setpriv.
    [[nodiscard]] VintrelOutcome run(const std::vector<std::string>& arguments,
                                     const std::vector<std::string>& prefix = {},
                                     const std::map<std::string, std::string>& environment = {}) const;

private:
    TemporaryFolder m_folder;
};

/// The rows of a table by pid. Fails the test when a line does not fit its headings.
[[nodiscard]] std::map<int32_t, TableRow> parseTable(const std::string& table);

} // namespace VintrelTests
