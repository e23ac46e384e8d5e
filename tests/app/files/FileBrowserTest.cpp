#include "Vintrel/shell/linux/DesktopFileBrowser.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <vector>

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <gtest/gtest.h>

namespace Vintrel {

using VintrelTests::SessionBus;
using VintrelTests::spinFor;
using VintrelTests::spinUntil;

namespace {

const QString service = QStringLiteral("org.freedesktop.FileManager1");
const QString path = QStringLiteral("/org/freedesktop/FileManager1");

/// A file manager within the test's event loop.
class PreparedFileManager : public QDBusVirtualObject {
public:
    explicit PreparedFileManager(SessionBus& bus) : m_bus(bus.connect()) {
        m_bus.registerVirtualObject(path, this);
        m_bus.registerService(service);
    }

    ~PreparedFileManager() override { m_bus.unregisterObject(path); }

    [[nodiscard]] QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        asked.push_back(message);
        return connection.send(refuses ? message.createErrorReply(QDBusError::Failed, QStringLiteral("no"))
                                       : message.createReply());
    }

    bool refuses = false;
    std::vector<QDBusMessage> asked;

private:
    QDBusConnection m_bus;
};

} // namespace

class FileBrowserTest : public VintrelTests::AppTest {
protected:
    [[nodiscard]] DesktopFileBrowser::OpenFolder taker() {
        return [this](const QUrl& folder) { opened.push_back(folder); };
    }

    SessionBus bus;
    std::vector<QUrl> opened;
};

TEST_F(FileBrowserTest, theFileManagerIsAskedToShowTheFolder) {
    PreparedFileManager manager(bus);
    DesktopFileBrowser browser(bus.connect(), taker());
    browser.reveal("/srv/shop & söhne/50%");
    ASSERT_TRUE(spinUntil([&] { return !manager.asked.empty(); }));
    const QDBusMessage& message = manager.asked.front();
    EXPECT_EQ(message.interface(), service);
    EXPECT_EQ(message.member(), "ShowItems");
    EXPECT_EQ(message.signature(), "ass");
    EXPECT_EQ(message.arguments().at(0).toStringList(),
              QStringList("file:///srv/shop%20&%20s%C3%B6hne/50%25"));
    spinFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(opened.empty());
}

TEST_F(FileBrowserTest, withoutAFileManagerTheFolderIsOpened) {
    DesktopFileBrowser browser(bus.connect(), taker());
    browser.reveal("/srv/shop");
    ASSERT_TRUE(spinUntil([&] { return !opened.empty(); }));
    EXPECT_EQ(opened, std::vector{QUrl("file:///srv/shop")});
}

TEST_F(FileBrowserTest, aFileManagerThatRefusesLeavesItToOpening) {
    PreparedFileManager manager(bus);
    manager.refuses = true;
    DesktopFileBrowser browser(bus.connect(), taker());
    browser.reveal("/srv/shop");
    ASSERT_TRUE(spinUntil([&] { return !opened.empty(); }));
    EXPECT_EQ(opened, std::vector{QUrl("file:///srv/shop")});
}

TEST_F(FileBrowserTest, withoutABusTheFolderIsOpened) {
    const QDBusConnection connection = bus.connect();
    bus.end();
    ASSERT_TRUE(spinUntil([&] { return !connection.isConnected(); }));
    DesktopFileBrowser browser(connection, taker());
    browser.reveal("/srv/shop");
    EXPECT_TRUE(spinUntil([&] { return !opened.empty(); }));
    EXPECT_EQ(opened, std::vector{QUrl("file:///srv/shop")});
}

TEST_F(FileBrowserTest, theLabelNamesNoProgramOfAnotherSystem) {
    EXPECT_EQ(DesktopFileBrowser(bus.connect(), taker()).revealLabel(),
              "Reveal working directory in File Manager");
}

} // namespace Vintrel
