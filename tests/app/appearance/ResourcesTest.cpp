// The list of resources and the files agree, and every symbol that the program knows is there.
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include <QFile>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

const fs::path resources = VINTREL_RESOURCES;

/// What the list says: the file behind every address.
std::map<std::string, std::string> listed() {
    std::map<std::string, std::string> files;
    QFile list(QString::fromStdString((resources / "vintrel.qrc").string()));
    EXPECT_TRUE(list.open(QIODevice::ReadOnly));
    QXmlStreamReader reader(&list);
    std::string prefix;
    while (!reader.atEnd()) {
        reader.readNext();
        if (!reader.isStartElement()) {
            continue;
        }
        if (reader.name() == QLatin1String("qresource")) {
            prefix = reader.attributes().value("prefix").toString().toStdString();
        } else if (reader.name() == QLatin1String("file")) {
            const std::string alias = reader.attributes().value("alias").toString().toStdString();
            const std::string file = reader.readElementText().toStdString();
            EXPECT_TRUE(files.emplace(prefix + "/" + (alias.empty() ? file : alias), file).second)
                << file << " is listed twice";
        }
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    return files;
}

std::set<std::string> symbolFiles() {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(resources / "symbols")) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

} // namespace

TEST(ResourcesTest, everyListedFileIsThere) {
    for (const auto& [address, file] : listed()) {
        EXPECT_TRUE(fs::is_regular_file(resources / file)) << file;
    }
}

TEST(ResourcesTest, everySymbolIsListedUnderItsName) {
    const auto list = listed();
    std::set<std::string> addresses;
    for (const std::string& name : symbolFiles()) {
        const std::string address = "/symbols/" + name;
        addresses.insert(address);
        ASSERT_TRUE(list.contains(address)) << name;
        EXPECT_EQ(list.at(address), "symbols/" + name);
    }
    for (const auto& [address, file] : list) {
        EXPECT_TRUE(addresses.contains(address) || !address.starts_with("/symbols/")) << address;
    }
}

TEST(ResourcesTest, everySymbolOfTheProgramIsThere) {
    std::set<std::string> expected;
    for (const char* name : {"arrow.clockwise",
                             "arrow.2.circlepath",
                             "gearshape",
                             "power",
                             "magnifyingglass",
                             "xmark.circle.fill",
                             "info.circle",
                             "info.circle.fill",
                             "eye.slash",
                             "lock.fill",
                             "lock.open",
                             "xmark",
                             "chevron.right",
                             "chevron.down",
                             "square.stack.3d.up",
                             "arrow.clockwise.circle",
                             "stop.circle",
                             "trash",
                             "plus",
                             "minus",
                             "exclamationmark.triangle",
                             "checkmark"}) {
        expected.insert(std::string(name) + ".svg");
    }
    EXPECT_EQ(symbolFiles(), expected);
}
