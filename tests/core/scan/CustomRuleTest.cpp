#include "VintrelCore/scan/CustomRule.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

using VintrelCore::CustomRule;
using VintrelCore::CustomRuleMatcher;

namespace {

/// The two parts of what a line parses to, divided by a bar.
std::string parsed(std::string_view line) {
    const auto rule = CustomRule::parse(line);
    return rule ? rule->substring + "|" + rule->label : "nothing";
}

/// The label of the first rule that matches. Asks both ways of matching, which have to agree.
std::string labelFor(std::string_view command, const std::vector<CustomRule>& rules) {
    const auto rule = CustomRule::firstMatch(command, rules);
    const CustomRuleMatcher matcher(rules);
    const CustomRule* const prepared = matcher.firstMatch(command);
    EXPECT_EQ(rule.has_value(), prepared != nullptr) << command;
    if (rule && prepared != nullptr) {
        EXPECT_EQ(*rule, *prepared) << command;
    }
    return rule ? rule->label : "none";
}

} // namespace

TEST(CustomRule, isAValueOfTwoTexts) {
    const CustomRule rule{"gunicorn", "Backend"};
    EXPECT_EQ(rule.substring, "gunicorn");
    EXPECT_EQ(rule.label, "Backend");
    EXPECT_EQ(rule, (CustomRule{"gunicorn", "Backend"}));
    EXPECT_NE(rule, (CustomRule{"gunicorn", "backend"}));
    EXPECT_NE(rule, (CustomRule{"Gunicorn", "Backend"}));
}

TEST(CustomRule, parsesSubstringAndLabel) {
    EXPECT_EQ(parsed("gunicorn = Backend"), "gunicorn|Backend");
    EXPECT_EQ(parsed("gunicorn=Backend"), "gunicorn|Backend");
    EXPECT_EQ(parsed("  manage.py runserver \t=\t Django  dev "), "manage.py runserver|Django  dev");
    EXPECT_EQ(parsed("größe = Größe"), "größe|Größe");
}

TEST(CustomRule, keepsFurtherEqualsSignsInTheLabel) {
    EXPECT_EQ(parsed("a = b = c"), "a|b = c");
    EXPECT_EQ(parsed("a==b"), "a|=b");
    EXPECT_EQ(parsed("a = ="), "a|=");
    EXPECT_EQ(parsed("--port=80 = Web"), "--port|80 = Web");
}

TEST(CustomRule, takesTheSubstringForAMissingLabel) {
    EXPECT_EQ(parsed("gunicorn"), "gunicorn|gunicorn");
    EXPECT_EQ(parsed("  two words "), "two words|two words");
    EXPECT_EQ(parsed("a ="), "a|a");
    EXPECT_EQ(parsed("a =  \t "), "a|a");
}

TEST(CustomRule, isNothingWithoutASubstring) {
    for (const std::string_view line : {"", "   ", "\t", "=", " = ", "  = Label", "=Label", "= a = b"}) {
        EXPECT_EQ(parsed(line), "nothing") << '"' << line << '"';
    }
}

TEST(CustomRule, serializesToOneLine) {
    EXPECT_EQ(CustomRule::serialize({"gunicorn", "Backend"}), "gunicorn = Backend");
    EXPECT_EQ(CustomRule::serialize({"a", "b = c"}), "a = b = c");
    EXPECT_EQ(CustomRule::serialize({"word", "word"}), "word = word");
}

TEST(CustomRule, survivesItsTextForm) {
    for (const CustomRule& rule : {CustomRule{"gunicorn", "Backend"}, CustomRule{"a b", "b = c"},
                                   CustomRule{"x", "="}, CustomRule{"größe", "größe"}}) {
        EXPECT_EQ(CustomRule::parse(CustomRule::serialize(rule)), rule) << rule.substring;
    }
}

TEST(CustomRule, matchesASubstringAnywhereInTheCommand) {
    const std::vector<CustomRule> rules{{"gunicorn -w", "Backend"}};
    EXPECT_EQ(labelFor("gunicorn -w 2 app", rules), "Backend");
    EXPECT_EQ(labelFor("/usr/bin/python3 /usr/bin/gunicorn -w", rules), "Backend");
    EXPECT_EQ(labelFor("xgunicorn -wx", rules), "Backend");
    EXPECT_EQ(labelFor("gunicorn  -w 2", rules), "none");
    EXPECT_EQ(labelFor("gunicorn", rules), "none");
    EXPECT_EQ(labelFor("", rules), "none");
}

TEST(CustomRule, disregardsCase) {
    EXPECT_EQ(labelFor("Gunicorn app", {{"gUNICORN", "Backend"}}), "Backend");
    EXPECT_EQ(labelFor("/srv/ÜBERSICHT/run.sh", {{"übersicht", "Overview"}}), "Overview");
    EXPECT_EQ(labelFor("/srv/übersicht/run.sh", {{"ÜBERSICHT", "Overview"}}), "Overview");
    EXPECT_EQ(labelFor("/srv/ΣΕΛΙΔΑ/run.sh", {{"σελιδα", "Page"}}), "Page");
    EXPECT_EQ(labelFor("/srv/ubersicht/run.sh", {{"übersicht", "Overview"}}), "none");
}

TEST(CustomRule, takesItsTextLiterally) {
    EXPECT_EQ(labelFor("run appxpy", {{"app.py", "App"}}), "none");
    EXPECT_EQ(labelFor("run app.py", {{"app.py", "App"}}), "App");
    EXPECT_EQ(labelFor("run anything", {{"*", "All"}}), "none");
    EXPECT_EQ(labelFor("run (a|b)[1]", {{"(a|b)[1]", "Odd"}}), "Odd");
}

TEST(CustomRule, letsTheEarlierRuleWin) {
    const CustomRule narrow{"app.py --debug", "Debug"};
    const CustomRule wide{"app.py", "App"};
    EXPECT_EQ(labelFor("python3 app.py --debug", {narrow, wide}), "Debug");
    EXPECT_EQ(labelFor("python3 app.py --debug", {wide, narrow}), "App");
    EXPECT_EQ(labelFor("python3 app.py", {narrow, wide}), "App");
    EXPECT_EQ(labelFor("python3 app.py", {{"app.py", "One"}, {"app.py", "Two"}}), "One");
}

TEST(CustomRule, matchesNothingWithoutRules) {
    EXPECT_EQ(CustomRule::firstMatch("node server.js", {}), std::nullopt);
    EXPECT_EQ(labelFor("node server.js", {}), "none");
}
