// What the program says of its interfaces: tools show it to those who call them.
#include "tests/app/support/Introspection.h"

#include "Vintrel/shell/linux/ApplicationAdaptor.h"
#include "Vintrel/shell/linux/ApplicationService.h"
#include "Vintrel/shell/linux/RunnerAdaptor.h"
#include "Vintrel/shell/linux/SearchProviderAdaptor.h"
#include "Vintrel/shell/linux/ShortcutsAdaptor.h"
#include "tests/app/instance/Caller.h"
#include "tests/app/instance/Requests.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

struct Offered {
    const char* path;
    const char* interface;
    const QMetaObject* type;
};

const Offered everything[] = {
    {"/dev/vintrel/Vintrel", "dev.vintrel.Vintrel.Shortcuts", &ShortcutsAdaptor::staticMetaObject},
    {"/dev/vintrel/Vintrel", "org.freedesktop.Application", &ApplicationAdaptor::staticMetaObject},
    {"/dev/vintrel/Vintrel/SearchProvider", "org.gnome.Shell.SearchProvider2",
     &SearchProviderAdaptor::staticMetaObject},
    {"/dev/vintrel/Vintrel/Runner", "org.kde.krunner1", &RunnerAdaptor::staticMetaObject},
};

class IntrospectionTest : public VintrelTests::AppTest {
public:
    IntrospectionTest() { EXPECT_EQ(service.claim(), ApplicationInstance::Claim::granted); }

    VintrelTests::Introspection introspect(const Offered& offered) {
        const VintrelTests::Caller caller(bus, QString::fromLatin1(offered.path),
                                          QStringLiteral("org.freedesktop.DBus.Introspectable"));
        const QString xml = caller.call(QStringLiteral("Introspect")).arguments().value(0).toString();
        return {xml, QString::fromLatin1(offered.interface)};
    }

    VintrelTests::SessionBus bus;
    VintrelTests::RecordingRequests requests;
    ApplicationService service{bus.connect(), requests, {}};
};

} // namespace

TEST_F(IntrospectionTest, namesEveryArgument) {
    for (const Offered& offered : everything) {
        const auto introspection = introspect(offered);
        EXPECT_FALSE(introspection.argumentNames.empty()) << offered.interface;
        EXPECT_TRUE(std::ranges::none_of(introspection.argumentNames, VintrelTests::isNameless))
            << offered.interface;
    }
}

TEST_F(IntrospectionTest, tellsOfTheMethodsThatAreThere) {
    for (const Offered& offered : everything) {
        const auto methods = VintrelTests::methodsOf(*offered.type);
        EXPECT_FALSE(methods.empty()) << offered.interface;
        EXPECT_EQ(introspect(offered).methods, methods) << offered.interface;
    }
}

} // namespace Vintrel
