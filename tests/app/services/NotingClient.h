#pragma once

#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace VintrelTests {

/// A client of a container engine that notes the words of every command, one command a line, and answers as
/// `answers` (a shell script) says.
class NotingClient {
public:
    explicit NotingClient(const std::string& answers)
        : m_script(m_folder.write("client", "#!/bin/sh\n"
                                            "for word in \"$@\"; do printf '<%s>' \"$word\" >> " +
                                                file("notes") + "; done; echo >> " + file("notes") + "\n" +
                                                "folder=" + m_folder.path().string() + "\n" + answers)) {}

    [[nodiscard]] const std::filesystem::path& script() const { return m_script; }

    /// What it was asked so far.
    [[nodiscard]] std::string asked() const { return contentOf("notes"); }

    /// A file that the answers have written to "$folder".
    [[nodiscard]] std::string contentOf(const std::string& name) const {
        std::ifstream stream(file(name));
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    [[nodiscard]] std::string file(const std::string& name) const {
        return (m_folder.path() / name).string();
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_script;
};

} // namespace VintrelTests
