#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>

/// Small files, read whole.
namespace VintrelCore::File {

/// The bytes of a file of at most `maxBytes`; absent when it cannot be read, is no regular file or is larger.
[[nodiscard]] std::optional<std::string> read(const std::string& path, size_t maxBytes);

/// The same; else, the number of the error (EFBIG for a file that is too large, EINVAL for one that is not
/// regular).
[[nodiscard]] std::expected<std::string, int> readOrError(const std::string& path, size_t maxBytes);

/// The bytes of a file that the kernel makes up while it is read (its size says nothing), at most `maxBytes`
/// of them.
[[nodiscard]] std::optional<std::string> readKernelFile(const std::string& path, size_t maxBytes);

/// The same for a list that the kernel hands out piece by piece: only nothing at all is its end.
[[nodiscard]] std::optional<std::string> readKernelList(const std::string& path, size_t maxBytes);

/// Whether there is anything at `path`, links followed.
[[nodiscard]] bool exists(const std::string& path);

/// Whether there is an entry at `path`, wherever it leads if it is a link.
[[nodiscard]] bool isEntry(const std::string& path);

/// Makes a folder and those it stands in, as far as they are missing, for the user alone; whether it is there
/// now.
bool makeFolders(const std::string& folder);

} // namespace VintrelCore::File
