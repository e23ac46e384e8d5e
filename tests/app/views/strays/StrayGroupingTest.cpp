// Which groups there are, and the order of groups and of rows.
#include "Vintrel/views/StrayList.h"
#include "VintrelCore/VintrelCore.h"
#include "tests/app/support/PreparedSources.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <QLocale>
#include <gtest/gtest.h>

namespace Vintrel {

using StrayList::Cwds;
using StrayList::Group;
using StrayList::Items;
using VintrelCore::ProcessKind;
using VintrelCore::RiskTier;
using VintrelTests::cwdOf;
using VintrelTests::pidsOf;
using VintrelTests::safeItem;
using PIDs = std::vector<int32_t>;

namespace {

/// Items of one kind, each with its project, by pid.
struct Prepared {
    Items items;
    Cwds cwds;

    explicit Prepared(const std::vector<std::pair<int32_t, std::string>>& projects) {
        for (const auto& [pid, project] : projects) {
            items.push_back(safeItem(pid));
            cwds.insert_or_assign(pid, cwdOf("~/work/" + project));
        }
    }

    [[nodiscard]] PIDs sorted() const {
        const std::vector<Group> groups = StrayList::grouped(items, cwds);
        EXPECT_EQ(groups.size(), 1U);
        return groups.empty() ? PIDs{} : pidsOf(groups.front().items);
    }
};

/// The user's locale, until the end of the scope.
class ScopedLocale {
public:
    explicit ScopedLocale(const QLocale& locale) { QLocale::setDefault(locale); }

    ScopedLocale(const ScopedLocale&) = delete;
    ScopedLocale& operator=(const ScopedLocale&) = delete;

    ~ScopedLocale() { QLocale::setDefault(m_before); }

private:
    QLocale m_before;
};

/// Of a user who chose none, and of two who did.
std::vector<QLocale> locales() {
    return {QLocale::c(), QLocale(QLocale::English, QLocale::UnitedStates),
            QLocale(QLocale::German, QLocale::Germany)};
}

} // namespace

TEST(StrayGrouping, ofNothingIsNothing) {
    EXPECT_TRUE(StrayList::grouped({}, {}).empty());
}

TEST(StrayGrouping, followsTheOrderInWhichKindsAreDeclared) {
    Items items;
    int32_t pid = 100;
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        items.insert(items.begin(), safeItem(pid++));
        items.front().kind = kind;
    }
    const std::vector<Group> groups = StrayList::grouped(items, {});
    ASSERT_EQ(groups.size(), VintrelCore::ProcessKinds::allCases.size());
    for (size_t index = 0; index < groups.size(); ++index) {
        EXPECT_EQ(groups[index].kind, VintrelCore::ProcessKinds::allCases[index]);
        EXPECT_EQ(pidsOf(groups[index].items), PIDs{100 + static_cast<int32_t>(index)});
    }
}

TEST(StrayGrouping, goesNeitherBySizeNorByAge) {
    Items items{safeItem(1), safeItem(2), safeItem(3), safeItem(4)};
    items[3].kind = ProcessKind::docker;
    items[3].elapsed = 1;
    items[0].kind = ProcessKind::cargo;
    const std::vector<Group> groups = StrayList::grouped(items, {});
    ASSERT_EQ(groups.size(), 3U) << "empty groups are left out";
    EXPECT_EQ(groups[0].kind, ProcessKind::docker);
    EXPECT_EQ(groups[1].kind, ProcessKind::vite);
    EXPECT_EQ(pidsOf(groups[1].items), (PIDs{2, 3}));
    EXPECT_EQ(groups[2].kind, ProcessKind::cargo);
}

TEST(StrayGrouping, keepsBothBucketsOfAKindInOneGroup) {
    const Items items{VintrelTests::reviewItem(1), safeItem(2)};
    const std::vector<Group> groups = StrayList::grouped(items, {});
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(pidsOf(groups[0].items), (PIDs{1, 2}));
}

TEST(StrayGrouping, sortsByDescriptorWhateverTheCase) {
    for (const QLocale& locale : locales()) {
        const ScopedLocale users(locale);
        EXPECT_EQ(Prepared({{1, "gamma"}, {2, "Beta"}, {3, "alpha"}, {4, "Delta"}}).sorted(),
                  (PIDs{3, 2, 4, 1}))
            << locale.name().toStdString();
    }
}

TEST(StrayGrouping, descriptorsThatDifferInCaseOnlyGoByPid) {
    for (const QLocale& locale : locales()) {
        const ScopedLocale users(locale);
        const std::string name = locale.name().toStdString();
        EXPECT_EQ(Prepared({{5, "shop"}, {4, "Shop"}, {3, "SHOP"}, {6, "sHop"}}).sorted(), (PIDs{3, 4, 5, 6}))
            << name;
        EXPECT_EQ(Prepared({{5, "SHOP"}, {4, "Shop"}, {3, "shop"}}).sorted(), (PIDs{3, 4, 5})) << name;
        EXPECT_EQ(Prepared({{2, "ÄPFEL"}, {1, "äpfel"}}).sorted(), (PIDs{1, 2})) << name;
        EXPECT_EQ(Prepared({{2, "äpfel"}, {1, "ÄPFEL"}}).sorted(), (PIDs{1, 2})) << name;
    }
}

TEST(StrayGrouping, equalDescriptorsGoByPidAsANumber) {
    EXPECT_EQ(Prepared({{100, "shop"}, {9, "shop"}, {10, "shop"}, {2, "shop"}}).sorted(),
              (PIDs{2, 9, 10, 100}));
}

TEST(StrayGrouping, ordersLettersAsTheUsersLocaleDoes) {
    const ScopedLocale users(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(Prepared({{1, "zebra"}, {2, "Äpfel"}, {3, "banane"}, {4, "apfel"}}).sorted(),
              (PIDs{4, 2, 3, 1}));
}

TEST(StrayGrouping, usesWhateverTheDescriptorIs) {
    Items items{safeItem(1), safeItem(2), safeItem(3)};
    items[0].kind = items[1].kind = items[2].kind = ProcessKind::custom;
    items[0].customLabel = "z first";
    items[1].command = "/usr/local/bin/mine";
    const Cwds cwds{{1, cwdOf("~/a")}, {3, cwdOf("~/work/mine/middle")}};
    const std::vector<Group> groups = StrayList::grouped(items, cwds);
    ASSERT_EQ(groups.size(), 1U);
    EXPECT_EQ(pidsOf(groups[0].items), (PIDs{2, 3, 1}));
}

TEST(StrayGrouping, doesNotDependOnTheOrderOfItsItems) {
    Prepared prepared({{1, "b"}, {2, "B"}, {3, "a"}, {4, "ä"}, {5, "A"}, {6, "zz"}, {7, ""}, {8, "א"}});
    const PIDs expected = prepared.sorted();
    std::ranges::sort(prepared.items, std::ranges::greater{}, &StrayList::Item::pid);
    EXPECT_EQ(prepared.sorted(), expected);
    std::ranges::rotate(prepared.items, prepared.items.begin() + 3);
    EXPECT_EQ(prepared.sorted(), expected);
}

TEST(StrayGrouping, aGroupStartsCollapsedWhenSomethingInItIsRisky) {
    Group group{.kind = ProcessKind::vite, .items = {safeItem(1), safeItem(2)}};
    EXPECT_FALSE(StrayList::startsCollapsed(group));
    group.items[1].riskTier = RiskTier::moderate;
    EXPECT_FALSE(StrayList::startsCollapsed(group));
    group.items[1].riskTier = RiskTier::high;
    EXPECT_TRUE(StrayList::startsCollapsed(group));
}

} // namespace Vintrel
