#pragma once

#include <utility>

#include <unistd.h>

namespace VintrelCore {

/// Owns an open file descriptor, or none.
class FileDescriptor {
public:
    FileDescriptor() = default;

    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}

    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    ~FileDescriptor() { close(); }

    /// The number, negative when there is none.
    [[nodiscard]] int get() const { return m_descriptor; }

    explicit operator bool() const { return m_descriptor >= 0; }

    /// The number, which the caller owns from now on.
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }

    void close() {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    int m_descriptor = -1;
};

} // namespace VintrelCore
