#pragma once

#include "VintrelCore/scan/CommandWords.h"
#include "VintrelCore/scan/GoBetweens.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace VintrelCore::GoBetweens {

/// Goes through the arguments of a program that runs others, from one word that matters to the next: its
/// operands, and the options that say what it runs. Options and their values are passed over. The arguments
/// must outlive the walk.
class OptionWalk {
public:
    enum class Stop : uint8_t {
        operand,
        code,   ///< what runs is no file
        module, ///< named by `value`
        text,   ///< `value` is for a shell
        end,
    };

    OptionWalk(const GoBetween& program, CommandWords::Words arguments)
        : m_program(&program), m_arguments(arguments) {}

    Stop next();

    /// Of the last stop.
    [[nodiscard]] std::string_view value() const { return m_value; }

    /// Behind the last stop.
    [[nodiscard]] CommandWords::Words rest() const { return m_arguments.subspan(m_position); }

    /// A shell's "-c" was passed: its first operand is the text.
    [[nodiscard]] bool isTextNext() const { return m_isTextNext; }

    /// The package that a runner takes the command from; "" without one, and for several.
    [[nodiscard]] std::string_view package() const { return m_packages == 1 ? m_package : ""; }

private:
    enum class Meaning : uint8_t { flag, valued, package, code, module, text };

    [[nodiscard]] Meaning meaningOf(std::string_view option) const;

    /// Passes an option, and its value when it has one, which `value` then is.
    Meaning passOption();
    Meaning passCluster(std::string_view letters);
    void takeValue(std::string_view attached, bool isAttached);

    const GoBetween* m_program;
    CommandWords::Words m_arguments;
    size_t m_position = 0;
    std::string_view m_value;
    std::string_view m_package;
    int m_packages = 0;
    bool m_optionsEnded = false;
    bool m_isTextNext = false;
};

/// Goes past what stands before the command, such as "run" or "tool run"; false when that is missing and
/// needed.
[[nodiscard]] bool passPhrase(const GoBetween& program, OptionWalk& walk);

} // namespace VintrelCore::GoBetweens
