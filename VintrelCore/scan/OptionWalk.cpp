#include "VintrelCore/scan/OptionWalk.h"

#include "VintrelCore/base/Text.h"

#include <array>

namespace VintrelCore::GoBetweens {

OptionWalk::Stop OptionWalk::next() {
    while (m_position < m_arguments.size()) {
        const std::string_view word = m_arguments[m_position];
        if (!m_optionsEnded && word == "--") {
            m_optionsEnded = true;
            ++m_position;
            continue;
        }
        if (m_optionsEnded || word.size() < 2 || word.front() != '-') {
            m_value = word;
            ++m_position;
            return Stop::operand;
        }
        switch (passOption()) {
        case Meaning::flag:
        case Meaning::valued:
            break;
        case Meaning::package:
            m_package = m_value;
            ++m_packages;
            break;
        case Meaning::code:
            return Stop::code;
        case Meaning::module:
            return Stop::module;
        case Meaning::text:
            return Stop::text;
        }
    }
    return Stop::end;
}

OptionWalk::Meaning OptionWalk::meaningOf(std::string_view option) const {
    struct List {
        std::string_view options;
        Meaning meaning;
    };

    const std::array<List, 5> lists{{{m_program->valued, Meaning::valued},
                                     {m_program->code, Meaning::code},
                                     {m_program->module, Meaning::module},
                                     {m_program->package, Meaning::package},
                                     {m_program->text, Meaning::text}}};
    for (const List& list : lists) {
        if (CommandWords::isListed(list.options, option)) {
            return list.meaning;
        }
    }
    return Meaning::flag;
}

OptionWalk::Meaning OptionWalk::passOption() {
    const std::string_view word = m_arguments[m_position];
    ++m_position;
    const auto sign = word.find('=');
    const std::string_view name = word.substr(0, sign);
    const bool isShellsFlag = m_program->sort == Sort::shell && !name.starts_with("--");
    if (const Meaning meaning = meaningOf(name); meaning != Meaning::flag && !isShellsFlag) {
        const bool isAttached = sign != std::string_view::npos;
        takeValue(isAttached ? word.substr(sign + 1) : "", isAttached);
        return meaning;
    }
    return word.starts_with("--") ? Meaning::flag : passCluster(word.substr(1));
}

OptionWalk::Meaning OptionWalk::passCluster(std::string_view letters) {
    for (size_t index = 0; index < letters.size(); ++index) {
        const std::array<char, 2> option{'-', letters[index]};
        const Meaning meaning = meaningOf({option.data(), option.size()});
        if (meaning == Meaning::text && m_program->sort == Sort::shell) {
            m_isTextNext = true; // other options may follow before the text does
        } else if (meaning != Meaning::flag) {
            takeValue(letters.substr(index + 1), index + 1 < letters.size());
            return meaning;
        }
    }
    return Meaning::flag;
}

void OptionWalk::takeValue(std::string_view attached, bool isAttached) {
    m_value = attached;
    if (!isAttached && m_position < m_arguments.size()) {
        m_value = m_arguments[m_position];
        ++m_position;
    }
}

namespace {

/// "20", "v18.2.0", "lts/iron", "node".
bool isVersionOfNode(std::string_view word) {
    const std::string_view number = word.starts_with('v') ? word.substr(1) : word;
    const bool isNumber =
        !number.empty() && number.find_first_not_of("0123456789.") == std::string_view::npos;
    return isNumber || word.starts_with("lts/") || CommandWords::isListed("node stable system", word);
}

bool isPartOfPhrase(std::string_view part, std::string_view word) {
    return part == "*" || part == word || (part == "#" && isVersionOfNode(word));
}

} // namespace

bool passPhrase(const GoBetween& program, OptionWalk& walk) {
    if (program.phrases.empty()) {
        return true;
    }
    for (std::string_view phrase : Text::split(program.phrases, '|')) {
        OptionWalk ahead = walk;
        bool isThere = true;
        for (auto word = Text::takeWord(phrase); isThere && !word.empty(); word = Text::takeWord(phrase)) {
            isThere = ahead.next() == OptionWalk::Stop::operand && isPartOfPhrase(word, ahead.value());
        }
        if (isThere) {
            walk = ahead;
            return true;
        }
    }
    return !program.needsPhrase;
}

} // namespace VintrelCore::GoBetweens
