#include "VintrelCore/base/DamagedFile.h"

#include "VintrelCore/base/AtomicFile.h"

#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

namespace VintrelCore::DamagedFile {

namespace {

bool isFree(const std::string& name) {
    struct stat status{};
    return ::lstat(name.c_str(), &status) != 0;
}

/// A damaged file under a name of its own. Until it is replaced, it is in its own place, too, where the file
/// system can do that.
class KeptAside {
public:
    explicit KeptAside(const std::string& path);

    /// Whether it could be kept. If not, all is as it was.
    explicit operator bool() const { return !m_name.empty(); }

    /// For when it was not replaced: gives it back its own name alone.
    void undo() const;

private:
    const std::string& m_path;
    std::string m_name;
    bool m_isSecondName = false; // it still has its own, too
};

KeptAside::KeptAside(const std::string& path) : m_path(path) {
    constexpr int mostNames = 1'000;
    for (int number = 1; number <= mostNames && m_name.empty(); ++number) {
        const std::string name =
            nameBeside(path) + (number > 1 ? "-" + std::to_string(number) : std::string());
        m_isSecondName = ::link(path.c_str(), name.c_str()) == 0;
        // There are file systems without second names.
        const bool isKept = m_isSecondName || (isFree(name) && ::rename(path.c_str(), name.c_str()) == 0);
        if (isKept) {
            m_name = name;
        } else if (isFree(name)) {
            return;
        }
    }
}

void KeptAside::undo() const {
    if (m_isSecondName) {
        ::unlink(m_name.c_str());
    } else if (isFree(m_path)) {
        ::rename(m_name.c_str(), m_path.c_str());
    }
}

} // namespace

std::string nameBeside(const std::string& path) {
    return path + ".damaged";
}

bool replace(const std::string& path, std::string_view bytes) {
    const KeptAside kept(path);
    if (!kept) {
        return false;
    }
    const bool isWritten = AtomicFile::write(path, bytes);
    if (!isWritten) {
        kept.undo();
    }
    return isWritten;
}

} // namespace VintrelCore::DamagedFile
