#include "VintrelCore/docker/DockerCore.h"

#include "tests/core/docker/Printing.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace VintrelCore {

namespace DockerCore {

namespace {

Container shopContainer() {
    return {.id = "abc123",
            .name = "web-1",
            .image = "nginx:1",
            .status = "Up 3 minutes",
            .ports = "0.0.0.0:8080->80/tcp",
            .composeProject = "shop"};
}

const std::string shopLine = "abc123\tweb-1\tnginx:1\tUp 3 minutes\t0.0.0.0:8080->80/tcp\tshop";

} // namespace

TEST(DockerCoreTest, asksForTextWithTabsBetweenTheColumns) {
    EXPECT_EQ(psFormat, "{{.ID}}"
                        "\t"
                        "{{.Names}}"
                        "\t"
                        "{{.Image}}"
                        "\t"
                        "{{.Status}}"
                        "\t"
                        "{{.Ports}}"
                        "\t"
                        "{{.Label \"com.docker.compose.project\"}}");
    EXPECT_EQ(statsFormat, "{{.ID}}\t{{.CPUPerc}}\t{{.MemUsage}}");
    EXPECT_EQ(inspectOwnerFormat, "{{.State.Pid}}\t{{.Name}}");
}

TEST(DockerCoreTest, readsAContainer) {
    EXPECT_EQ(parseLine(shopLine), shopContainer());
}

TEST(DockerCoreTest, theComposeProjectMayBeMissing) {
    Container plain = shopContainer();
    plain.composeProject.reset();
    EXPECT_EQ(parseLine("abc123\tweb-1\tnginx:1\tUp 3 minutes\t0.0.0.0:8080->80/tcp\t"), plain);
    EXPECT_EQ(parseLine("abc123\tweb-1\tnginx:1\tUp 3 minutes\t0.0.0.0:8080->80/tcp\t  "), plain);
}

TEST(DockerCoreTest, theIdAndTheComposeProjectAreTrimmed) {
    EXPECT_EQ(parseLine("  abc123 \tweb-1\tnginx:1\tUp 3 minutes\t0.0.0.0:8080->80/tcp\t shop \r"),
              shopContainer());
    EXPECT_EQ(parseLine("abc123\tw\ti\tu\t\tMein Laden").value().composeProject, "Mein Laden");
}

TEST(DockerCoreTest, theOtherColumnsAreKeptAsPrinted) {
    EXPECT_EQ(parseLine("a\t web \t image \t Up 2 hours (healthy) \t p1, p2 \t"),
              (Container{"a", " web ", " image ", " Up 2 hours (healthy) ", " p1, p2 ", std::nullopt}));
    EXPECT_EQ(parseLine("a\tweb,db/alias\t店\t\t\t"),
              (Container{"a", "web,db/alias", "店", "", "", std::nullopt}));
}

TEST(DockerCoreTest, emptyColumnsKeepTheirPlace) {
    EXPECT_EQ(parseLine("a\t\t\t\t\tshop"), (Container{"a", "", "", "", "", "shop"}));
    EXPECT_EQ(parseLine("a\tweb\timage\tUp\t\tshop"), (Container{"a", "web", "image", "Up", "", "shop"}));
}

TEST(DockerCoreTest, columnsBehindTheSixthAreIgnored) {
    EXPECT_EQ(parseLine(shopLine + "\tmore\tand more"), shopContainer());
}

TEST(DockerCoreTest, aLineWithoutAnIdOrWithTooFewColumnsIsNoContainer) {
    for (const std::string line : {"\tweb\tnginx\tUp\t\t", "  \tweb\tnginx\tUp\t\t", "\t\t\t\t\t", "",
                                   "abc123", "abc123\tweb-1\tnginx:1\tUp 3 minutes\t0.0.0.0:8080->80/tcp",
                                   "abc123 web-1 nginx:1 Up ports shop"}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(parseLine(line), std::nullopt);
    }
}

TEST(DockerCoreTest, readsAListingInItsOrder) {
    EXPECT_EQ(parsePS("b\tweb\ti\tUp\t\t\n" + shopLine + "\na\tdb\ti\tUp\t\tshop\n"),
              (std::vector<Container>{{"b", "web", "i", "Up", "", std::nullopt},
                                      shopContainer(),
                                      {"a", "db", "i", "Up", "", "shop"}}));
    EXPECT_EQ(parsePS(shopLine), std::vector<Container>{shopContainer()}) << "no line feed at the end";
    EXPECT_EQ(parsePS(""), std::vector<Container>{});
    EXPECT_EQ(parsePS("\n\n"), std::vector<Container>{});
}

TEST(DockerCoreTest, aMalformedLineDoesNotHideTheOthers) {
    EXPECT_EQ(parsePS("\nrubbish\n\tno\tid\tat\tall\t\n\n" + shopLine + "\ntoo\tfew\n"),
              std::vector<Container>{shopContainer()});
}

TEST(DockerCoreTest, theSameLineTwiceIsTwoRows) {
    EXPECT_EQ(parsePS(shopLine + "\n" + shopLine + "\n"),
              (std::vector<Container>{shopContainer(), shopContainer()}));
}

TEST(DockerCoreTest, readsWhatContainersUse) {
    EXPECT_EQ(parseStats("abc123\t0.15%\t12.5MiB / 7.6GiB"), (StatsMap{{"abc123", {"0.15%", "12.5MiB"}}}));
    EXPECT_EQ(parseStats("a\t0.15%\t12.5MiB / 7.6GiB\nb\t101.20%\t1GiB / 2GiB\n"),
              (StatsMap{{"a", {"0.15%", "12.5MiB"}}, {"b", {"101.20%", "1GiB"}}}));
    EXPECT_EQ(parseStats(""), StatsMap{});
    EXPECT_EQ(parseStats("\n\n"), StatsMap{});
}

TEST(DockerCoreTest, whatIsUsedIsThePartBeforeTheLimit) {
    struct Case {
        std::string column;
        std::string memory;
    };

    const std::vector<Case> cases = {
        {"12.5MiB / 7.6GiB", "12.5MiB"},
        {"  12.5MiB  /  7.6GiB", "12.5MiB"},
        {"12.5MiB", "12.5MiB"},
        {"12.5MiB/7.6GiB", "12.5MiB/7.6GiB"},
        {"a / b / c", "a"},
        {"-- / --", "--"},
        {" / 7.6GiB", ""},
        {"", ""},
    };
    for (const auto& [column, memory] : cases) {
        SCOPED_TRACE(column);
        EXPECT_EQ(parseStats("a\t1%\t" + column), (StatsMap{{"a", {"1%", memory}}}));
    }
}

TEST(DockerCoreTest, columnsOfStatsAreTrimmedAndFurtherOnesIgnored) {
    EXPECT_EQ(parseStats(" a \t 0.15% \t 12.5MiB / 7.6GiB \r\n"), (StatsMap{{"a", {"0.15%", "12.5MiB"}}}));
    EXPECT_EQ(parseStats("a\t0.15%\t1B / 2B\tmore"), (StatsMap{{"a", {"0.15%", "1B"}}}));
    EXPECT_EQ(parseStats("a\t\t\n"), (StatsMap{{"a", {"", ""}}}));
}

TEST(DockerCoreTest, statsWithoutAnIdOrWithTooFewColumnsAreSkipped) {
    EXPECT_EQ(parseStats("\t0.15%\t1B / 2B\n  \t0.15%\t1B / 2B\nabc\nabc\t0.15%\n\nb\t1%\t1B / 2B\n"),
              (StatsMap{{"b", {"1%", "1B"}}}));
}

TEST(DockerCoreTest, theLastStatsOfAContainerCount) {
    EXPECT_EQ(parseStats("a\t1%\t1B / 9B\nb\t2%\t2B / 9B\n a\t3%\t3B / 9B\n"),
              (StatsMap{{"a", {"3%", "3B"}}, {"b", {"2%", "2B"}}}));
}

TEST(DockerCoreTest, readsWhoOwnsWhichProcess) {
    EXPECT_EQ(parseContainerOwners("4242\t/web-1\n0\t/stopped\n"), (OwnerMap{{4242, "web-1"}}));
    EXPECT_EQ(parseContainerOwners("4242\t/web-1\n4300\tdb\n2147483647\t/last"),
              (OwnerMap{{4242, "web-1"}, {4300, "db"}, {2147483647, "last"}}));
    EXPECT_EQ(parseContainerOwners(""), OwnerMap{});
    EXPECT_EQ(parseContainerOwners("\n\n"), OwnerMap{});
}

TEST(DockerCoreTest, oneSlashBeforeANameIsRemoved) {
    EXPECT_EQ(parseContainerOwners("1\t/a\n2\t//a\n3\ta/b\n4\t/a/b\n5\ta/\n"),
              (OwnerMap{{1, "a"}, {2, "/a"}, {3, "a/b"}, {4, "a/b"}, {5, "a/"}}));
}

TEST(DockerCoreTest, ownersAreTrimmedAndFurtherColumnsIgnored) {
    EXPECT_EQ(parseContainerOwners("  4242 \t /web-1 \r\n7\t/db\tmore\n"),
              (OwnerMap{{4242, "web-1"}, {7, "db"}}));
}

TEST(DockerCoreTest, ownersWithoutANumberOrANameAreSkipped) {
    for (const std::string line :
         {"4242", "4242 /web-1", "\t/web-1", "pid\t/web-1", "4242x\t/web-1", "0x10\t/web-1", "42.0\t/web-1",
          "2147483648\t/web-1", "0\t/web-1", " 0 \t/web-1", "4242\t", "4242\t ", "4242\t/", "4242\t / "}) {
        SCOPED_TRACE(line);
        EXPECT_EQ(parseContainerOwners(line + "\n7\t/db\n"), (OwnerMap{{7, "db"}}));
    }
}

TEST(DockerCoreTest, readsWhatAStopGoesBy) {
    using Stops = std::vector<ContainerStop>;
    EXPECT_EQ(parseStops("abc\t4242\t2026-11-22T08:40:10.456947772Z\t45\ndef\t0\t0001-01-01T00:00:00Z\t0\n"),
              (Stops{{.id = "abc", .pid = 4242, .startedAt = 1'795'336'810, .timeout = 45},
                     {.id = "def", .pid = 0, .startedAt = -62'135'596'800, .timeout = 0}}));
    EXPECT_EQ(parseStops(""), Stops{});
}

TEST(DockerCoreTest, aContainerWithoutATimeoutOfItsOwnHasTheUsualOne) {
    for (const std::string timeout : {"<nil>", "<no value>", "", "-1", "ten", "99999999999"}) {
        const auto stops = parseStops("abc\t1\t2026-11-22T08:40:10Z\t" + timeout);
        ASSERT_EQ(stops.size(), 1U) << timeout;
        EXPECT_EQ(stops.front().timeout, 10) << timeout;
    }
}

TEST(DockerCoreTest, aStartThatIsNotInUTCIsUnknown) {
    for (const std::string time :
         {"", "Z", "yesterday", "2026-11-22T08:40:10", "2026-11-22T08:40:10+01:00", "2026-11-22 08:40:10Z",
          "2026-13-22T08:40:10Z", "2026-02-30T08:40:10Z", "2026-11-2xT08:40:10Z", "+026-11-22T08:40:10Z"}) {
        const auto stops = parseStops("abc\t1\t" + time + "\t10");
        ASSERT_EQ(stops.size(), 1U) << time;
        EXPECT_EQ(stops.front().startedAt, std::nullopt) << time;
    }
}

TEST(DockerCoreTest, malformedLinesOfStopsAreSkipped) {
    for (const std::string line : {"abc\t1\t2026-11-22T08:40:10Z", "\t1\t2026-11-22T08:40:10Z\t10",
                                   "abc\tx\t2026-11-22T08:40:10Z\t10", "abc", "abc\t1\tx\t10\tmore"}) {
        EXPECT_TRUE(parseStops(line + "\n").empty()) << line;
    }
}

TEST(DockerCoreTest, theLastOwnerOfAProcessCounts) {
    EXPECT_EQ(parseContainerOwners("7\t/before\n8\t/db\n7\t/after\n"), (OwnerMap{{7, "after"}, {8, "db"}}));
}

} // namespace DockerCore
} // namespace VintrelCore
