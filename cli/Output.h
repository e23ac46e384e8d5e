#pragma once

#include <cstddef>
#include <string_view>

/// What the program says, and to whom.
namespace Output {

/// Prints one line; false when standard output did not take all of it.
[[nodiscard]] bool print(std::string_view line);

/// Tells on standard error why something is not as wished.
void complain(std::string_view line);

/// Explains the output on standard error to a reader at a terminal. Anything else sees nothing of it.
void explain(std::string_view line);

/// Prints text as all there is to say; the exit status that comes of it.
[[nodiscard]] int finish(std::string_view text);

/// The width of the terminal on standard output; 0 when it is none.
[[nodiscard]] size_t terminalColumns();

/// While it lives, a terminal on standard error says what the program is at, and takes it back at the end if
/// it can. Anything else sees nothing of it.
class Progress {
public:
    explicit Progress(std::string_view line);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

private:
    bool m_isToBeTakenBack;
};

} // namespace Output
