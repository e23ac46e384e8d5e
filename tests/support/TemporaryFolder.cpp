#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace VintrelTests {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (fs::canonical(fs::temp_directory_path()) / "vintrel-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    if (::testing::Test::HasFailure()) {
        std::cerr << "kept for a look: " << m_path << '\n';
        return;
    }
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

fs::path TemporaryFolder::makeFolder(const fs::path& relative) const {
    fs::create_directories(m_path / relative);
    return m_path / relative;
}

fs::path TemporaryFolder::write(const fs::path& relative, std::string_view bytes) const {
    fs::path file = m_path / relative;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
}

} // namespace VintrelTests
