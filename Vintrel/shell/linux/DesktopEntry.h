#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Vintrel {

/// The text of a desktop entry file, as lines. What nobody changes stays as it stands, byte by byte:
/// comments, other groups, other keys and their order. Keys are those of the group "Desktop Entry".
class DesktopEntry {
public:
    explicit DesktopEntry(std::string_view text);

    [[nodiscard]] std::string text() const;

    /// The value with its escapes resolved; absent when the key is not there. Of several the last counts.
    [[nodiscard]] std::optional<std::string> value(std::string_view key) const;

    /// Absent when the key is not there or is neither true nor false.
    [[nodiscard]] std::optional<bool> flag(std::string_view key) const;

    /// The pieces of a value that is a list; absent when the key is not there.
    [[nodiscard]] std::optional<std::vector<std::string>> list(std::string_view key) const;

    /// Changes the key, or adds it to the end of the group; makes the group when there is none.
    void set(std::string_view key, std::string_view value);

    void remove(std::string_view key);

    /// Whether nothing stands here but these keys: no comment, no other group, no translation.
    [[nodiscard]] bool holdsOnly(std::span<const std::string_view> keys) const;

    /// A program without arguments, as the value of `Exec`. Absent for one that the format cannot name.
    [[nodiscard]] static std::optional<std::string> commandFor(std::string_view program);

private:
    struct Line {
        std::string text; // without its end
        bool isInGroup{}; // of "Desktop Entry"; a header belongs to the group that it begins
        [[nodiscard]] std::string_view key() const;
        [[nodiscard]] std::string_view rawValue() const;
    };

    [[nodiscard]] const Line* last(std::string_view key) const;

    std::vector<Line> m_lines;
};

} // namespace Vintrel
