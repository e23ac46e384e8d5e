#pragma once

#include "Vintrel/engine/Preferences.h"

#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include <QSettings>
#include <QString>

/// The file that the settings are kept in, for reading and for writing them. Internal to Preferences.
namespace Vintrel::PreferencesStore {

extern const QString organisation;
extern const QString application;

/// The name of a value in the file.
[[nodiscard]] QString nameOf(Preferences::Key key);

/// The path of the settings file. Afterwards QSettings uses the same path for these names. Does not open the
/// file, because opening a FIFO would block.
[[nodiscard]] QString file();

/// Whether it is a file of text, as opposed to a system's own format.
[[nodiscard]] bool isText(const QString& path);

/// The bytes of a settings file, or the number of the error, as `VintrelCore::File::readOrError` gives it.
[[nodiscard]] std::expected<std::string, int> read(const std::string& path);

/// Whether the bytes of a file of text cannot be such settings. Those that can may still not parse.
[[nodiscard]] bool areDamaged(std::string_view bytes);

/// Whether all of an opened file makes sense.
[[nodiscard]] bool isWhole(const QSettings& store);

/// A list of texts; empty when there is none.
[[nodiscard]] std::vector<std::string> texts(const QSettings& store, Preferences::Key key);

} // namespace Vintrel::PreferencesStore
