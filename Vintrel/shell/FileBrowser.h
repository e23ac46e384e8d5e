#pragma once

#include <string>

#include <QString>

namespace Vintrel {

/// The desktop's program for files and folders.
class FileBrowser {
public:
    FileBrowser() = default;
    FileBrowser(const FileBrowser&) = delete;
    FileBrowser& operator=(const FileBrowser&) = delete;
    virtual ~FileBrowser() = default;

    /// What a menu item is called that shows a working directory there.
    [[nodiscard]] virtual QString revealLabel() const = 0;

    /// Shows a folder. Returns at once; what becomes of it is not told.
    virtual void reveal(const std::string& folder) = 0;
};

} // namespace Vintrel
