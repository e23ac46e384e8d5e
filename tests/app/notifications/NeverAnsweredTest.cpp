// Every request is answered in the end, or a switch that waits for it stands wrong for ever. That takes as
// long as a call is given: too long to be tested every time.
#include "Vintrel/shell/linux/DesktopNotifications.h"
#include "tests/app/notifications/PreparedServer.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <chrono>
#include <optional>

#include <gtest/gtest.h>

using namespace std::chrono_literals;
using namespace VintrelTests;
using Vintrel::DesktopNotifications;

namespace {

class NeverAnsweredTest : public AppTest {
public:
    SessionBus bus;
};

} // namespace

TEST_F(NeverAnsweredTest, countsAsRefusedInTheEnd) {
    PreparedServer server(bus);
    server.fallSilent();
    DesktopNotifications notifications(bus.connect());
    std::optional<bool> granted;
    notifications.requestAuthorization([&](bool isGranted) { granted = isGranted; });
    ASSERT_TRUE(spinUntil([&] { return granted.has_value(); }, 40s));
    EXPECT_EQ(granted, false);
}
