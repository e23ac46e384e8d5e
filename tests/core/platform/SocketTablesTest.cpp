#include "VintrelCore/platform/SocketTables.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace VintrelCore;

namespace {

using Sockets = std::vector<SocketTables::Socket>;

std::string row(const std::string& local, const std::string& remote, const std::string& inode) {
    return "   0: " + local + " " + remote + " 01 00000000:00000000 00:00000000 00000000     0        0 " +
           inode + " 1 0000000000000000 20 4 30 10 -1\n";
}

} // namespace

TEST(SocketTables, findThoseThatListen) {
    using Listening = std::vector<SocketTables::ListeningSocket>;
    const std::string heading =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   "
        "uid  timeout inode\n";
    const auto line = [](const std::string& local, const std::string& state, const std::string& inode) {
        return "   0: " + local + " 00000000:0000 " + state +
               " 00000000:00000000 00:00000000 00000000     0" + "        0 " + inode +
               " 1 0000000000000000 100 0 0 10 0\n";
    };
    EXPECT_EQ(SocketTables::parseListening(heading + line("0100007F:1435", "0A", "4711") +
                                           line("0100007F:1436", "01", "4712") +
                                           line("00000000:1F40", "0A", "4713")),
              (Listening{{.inode = 4711, .port = 5173}, {.inode = 4713, .port = 8000}}));
    EXPECT_EQ(SocketTables::parseListening(line("00000000000000000000000001000000:1F40", "0A", "9")),
              (Listening{{.inode = 9, .port = 8000}}))
        << "an address of the sixth version";
    EXPECT_EQ(SocketTables::parseListening(heading), Listening{});
    EXPECT_EQ(SocketTables::parseListening(line("0100007F", "0A", "1") + line("0100007F:", "0A", "2") +
                                           line("0100007F:14351", "0A", "3") + line("0100007F:x", "0A", "4") +
                                           line(":", "0A", "5") + line("0:1435", "0A", "0") +
                                           line("0:1435", "0A", "-6") + "0A\n"),
              Listening{});
}

TEST(SocketTables, takeTheNumberOfASocketOnly) {
    EXPECT_EQ(SocketTables::parseDescriptor("socket:[4711]"), 4711U);
    for (const char* other : {"pipe:[4711]", "socket:[]", "socket:[0]", "socket:[-1]", "socket:[4711",
                              "/tmp/socket:[4711]", "socket:[4711] (deleted)", "socket:", ""}) {
        EXPECT_EQ(SocketTables::parseDescriptor(other), std::nullopt) << other;
    }
}

TEST(SocketTables, nameBothEndsOfASocketOfTheInternet) {
    const std::string nowhere = "00000000:0000";
    const std::string nowhere6 = "00000000000000000000000000000000:0000";
    EXPECT_EQ(SocketTables::parseInternet(
                  "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  "
                  "timeout inode\n" +
                  row("0100007F:144F", nowhere, "1") + row("00000000:15B3", nowhere, "2") +
                  row("0100007F:A31C", "0100007F:144F", "3") + row("0101A8C0:0016", "08080808:01BB", "4")),
              (Sockets{{.inode = 1, .name = "localhost:5199"},
                       {.inode = 2, .name = "*:5555"},
                       {.inode = 3, .name = "localhost:41756->localhost:5199"},
                       {.inode = 4, .name = "192.168.1.1:22->8.8.8.8:443"}}));
    EXPECT_EQ(SocketTables::parseInternet(row("00000000000000000000000001000000:144D", nowhere6, "5") +
                                          row("00000000000000000000000000000000:144E", nowhere6, "6") +
                                          row("B80D0120000000000000000001000000:0050", nowhere6, "7")),
              (Sockets{{.inode = 5, .name = "localhost:5197"},
                       {.inode = 6, .name = "*:5198"},
                       {.inode = 7, .name = "[2001:db8::1]:80"}}));
    EXPECT_EQ(SocketTables::parseInternet(row("00000000:0000", nowhere, "8")),
              (Sockets{{.inode = 8, .name = "*:*"}}));
}

TEST(SocketTables, skipWhatIsNoSocketOfTheInternet) {
    EXPECT_EQ(SocketTables::parseInternet(
                  row("0100007F", "00000000:0000", "1") + row("0100007F:1", "00000000", "2") +
                  row("0100007:144F", "00000000:0000", "3") + row("0100007G:144F", "00000000:0000", "4") +
                  row("0100007F0100007F:144F", "00000000:0000", "5") +
                  row("0100007F:1144F", "00000000:0000", "6") + row("0100007F:144F", "00000000:0000", "0") +
                  row("0100007F:144F", "00000000:0000", "-7") + "0: 0100007F:144F\n\n"),
              Sockets{});
}

TEST(SocketTables, nameLocalSocketsByPathAndSort) {
    EXPECT_EQ(
        SocketTables::parseLocal("Num       RefCount Protocol Flags    Type St Inode Path\n"
                                 "00000000d868eec2: 00000002 00000000 00000000 0002 01 8984332\n"
                                 "000000009b7bb141: 00000003 00000000 00000000 0001 03 8984334 /tmp/x sock\n"
                                 "00000000c18ceabd: 00000002 00000000 00010000 0005 01  901 @abstract\n"),
        (Sockets{{.inode = 8984332, .name = "type=DGRAM"},
                 {.inode = 8984334, .name = "/tmp/x sock type=STREAM"},
                 {.inode = 901, .name = "@abstract type=SEQPACKET"}}));
    EXPECT_EQ(SocketTables::parseLocal("0: 2 0 0 0009 01 12\n0: 2 0 0 0001 01 0\n0: 2 0 0 0001\nx\n"),
              Sockets{});
}
