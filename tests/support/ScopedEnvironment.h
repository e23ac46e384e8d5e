#pragma once

#include <optional>
#include <string>

namespace VintrelTests {

/// Sets an environment variable, or takes it away, until the end of the scope.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, const std::optional<std::string>& value);
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    ~ScopedEnvironment();

private:
    std::string m_name;
    std::optional<std::string> m_before;
};

} // namespace VintrelTests
