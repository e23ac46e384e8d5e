#pragma once

#include "tests/app/instance/InstanceTest.h"
#include "tests/app/notifications/PreparedServer.h"

#include <chrono>
#include <string>
#include <vector>

namespace VintrelTests {

/// A test of links with the program itself: what comes of them is seen by what it notifies its user of.
class LinksTest : public InstanceTest {
public:
    LinksTest() {
        settings().write("[General]\nscanInterval=3600\nelapsedThreshold=0.000001\n"
                         "notificationsEnabled=true\n");
    }

    /// What the user was notified of, once it is that many; their titles.
    std::vector<std::string> titles(size_t count) {
        EXPECT_TRUE(spinUntil([&] { return server.asked.size() >= count; }));
        spinFor(std::chrono::milliseconds(50));
        std::vector<std::string> titles;
        for (const AskedToShow& notification : server.asked) {
            titles.push_back(notification.summary.toStdString());
        }
        return titles;
    }

    PreparedServer server{bus};
};

} // namespace VintrelTests
