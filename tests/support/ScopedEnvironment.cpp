#include "tests/support/ScopedEnvironment.h"

#include <cstdlib>
#include <utility>

namespace VintrelTests {

namespace {

void assign(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        ::setenv(name.c_str(), value->c_str(), 1);
    } else {
        ::unsetenv(name.c_str());
    }
}

} // namespace

ScopedEnvironment::ScopedEnvironment(std::string name, const std::optional<std::string>& value)
    : m_name(std::move(name)) {
    if (const char* const before = std::getenv(m_name.c_str())) {
        m_before = before;
    }
    assign(m_name, value);
}

ScopedEnvironment::~ScopedEnvironment() {
    assign(m_name, m_before);
}

} // namespace VintrelTests
