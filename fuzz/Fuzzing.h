#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <source_location>
#include <string_view>

/// What the fuzz targets share. Each target asserts what must hold for every input, and so finds wrong
/// answers beside crashes.
namespace Fuzzing {

/// Ends the run with a message unless the property holds; the input is then kept as a file.
inline void require(bool holds, const char* property,
                    const std::source_location& where = std::source_location::current()) {
    if (!holds) {
        std::fprintf(stderr, "%s:%u: violated: %s\n", where.file_name(), static_cast<unsigned>(where.line()),
                     property);
        std::abort();
    }
}

/// The input as text. It stands in a block of exactly its size, so that reading past its end is found.
inline std::string_view textOf(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// The part of `rest` before the next `separator`; `rest` becomes what stands behind it.
inline std::string_view takeUpTo(std::string_view& rest, std::string_view separator) {
    const auto end = rest.find(separator);
    const std::string_view part = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + separator.size());
    return part;
}

inline bool liesIn(std::string_view part, std::string_view whole) {
    return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

} // namespace Fuzzing
