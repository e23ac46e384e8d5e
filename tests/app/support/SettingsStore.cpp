#include "tests/app/support/SettingsStore.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

#include <QString>

namespace VintrelTests {

namespace fs = std::filesystem;

namespace {

QString asQString(const fs::path& path) {
    return QString::fromStdString(path.string());
}

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace

SettingsStore::SettingsStore() {
    // Qt looks at the environment only once in a process, and this may be the second store.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, asQString(folder()));
    QSettings::setPath(QSettings::NativeFormat, QSettings::SystemScope, asQString(systemWide()));
}

void SettingsStore::fill(const std::function<void(QSettings&)>& setValues) const {
    const TemporaryFolder elsewhere;
    const fs::path draft = elsewhere.path() / "draft.conf";
    QSettings settings(asQString(draft), QSettings::IniFormat);
    setValues(settings);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        throw std::runtime_error("the settings could not be written");
    }
    fs::create_directories(file().parent_path());
    fs::copy_file(draft, file());
}

SettingsStore::Contents SettingsStore::contents() const {
    Contents contents{{".", {fs::last_write_time(folder()), ""}}};
    for (const auto& entry : fs::recursive_directory_iterator(folder())) {
        contents[entry.path().string()] = {entry.last_write_time(),
                                           entry.is_regular_file() ? bytesOf(entry.path()) : ""};
    }
    return contents;
}

} // namespace VintrelTests
