#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace VintrelTests {

/// What the system shall do wrong.
struct Trouble {
    size_t failingCall = 0;    ///< the number of the call that fails, from 1; 0 for none
    int error = 0;             ///< with this error
    bool writesLittle = false; ///< each write takes seven bytes at the most
    bool isInterrupted =
        false; ///< each read, write and flush is interrupted by a signal once, before it works
};

/// One call of the system that has to do with files.
struct SystemCall {
    std::string name;
    bool isFolder = false;        ///< of a descriptor: it is a folder's
    bool isOpenForOthers = false; ///< of a descriptor: others than the user may read or write the file
};

/// Watches the calls of the code under test, and makes trouble, until the end of the scope. The program has
/// to be linked with the wrappers of SystemCalls.cpp.
class WatchedCalls {
public:
    explicit WatchedCalls(const Trouble& trouble = {});
    WatchedCalls(const WatchedCalls&) = delete;
    WatchedCalls& operator=(const WatchedCalls&) = delete;
    ~WatchedCalls();

    [[nodiscard]] const std::vector<SystemCall>& made() const;

    /// The names alone.
    [[nodiscard]] std::vector<std::string> names() const;
};

} // namespace VintrelTests
