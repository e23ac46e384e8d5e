#include "tests/core/log/SystemCalls.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <set>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VintrelTests {

namespace {

bool isWatching = false;
Trouble trouble;
std::vector<SystemCall> calls;

/// Notes a call; whether it is to fail, and then errno is set.
bool fails(const char* name, int descriptor = -1) {
    if (!isWatching) {
        return false;
    }
    struct stat status{};
    const bool isKnown = descriptor >= 0 && ::fstat(descriptor, &status) == 0;
    calls.push_back({.name = name,
                     .isFolder = isKnown && S_ISDIR(status.st_mode),
                     .isOpenForOthers = isKnown && S_ISREG(status.st_mode) && (status.st_mode & 077) != 0});
    if (calls.size() == trouble.failingCall) {
        errno = trouble.error;
        return true;
    }
    return false;
}

size_t allowed(size_t size) {
    return isWatching && trouble.writesLittle ? std::min<size_t>(size, 7) : size;
}

} // namespace

WatchedCalls::WatchedCalls(const Trouble& wanted) {
    calls.clear();
    trouble = wanted;
    isWatching = true;
}

WatchedCalls::~WatchedCalls() {
    isWatching = false;
}

const std::vector<SystemCall>& WatchedCalls::made() const {
    return calls;
}

std::vector<std::string> WatchedCalls::names() const {
    std::vector<std::string> all;
    for (const SystemCall& call : calls) {
        all.push_back(call.name);
    }
    return all;
}

} // namespace VintrelTests

// The linker sends the calls of the code under test here (--wrap).

using VintrelTests::allowed;
using VintrelTests::fails;

extern "C" {

int __real_open(const char* path, int flags, ...);
int __real_openat(int folder, const char* path, int flags, ...);
int __real_mkstemp(char* pattern);
int __real_mkostemp(char* pattern, int flags);
int __real_mkostemps(char* pattern, int ending, int flags);
ssize_t __real_read(int descriptor, void* bytes, size_t size);
ssize_t __real_write(int descriptor, const void* bytes, size_t size);
int __real_fsync(int descriptor);
int __real_fdatasync(int descriptor);
int __real_fchmod(int descriptor, mode_t mode);
int __real_flock(int descriptor, int operation);
int __real_rename(const char* from, const char* to);
int __real_renameat(int fromFolder, const char* from, int toFolder, const char* to);
int __real_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags);
int __real_link(const char* from, const char* to);
int __real_linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags);

int __wrap_open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : mode_t{0};
    va_end(rest);
    return fails("open") ? -1 : __real_open(path, flags, mode);
}

int __wrap_openat(int folder, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const auto mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : mode_t{0};
    va_end(rest);
    return fails("open") ? -1 : __real_openat(folder, path, flags, mode);
}

int __wrap_mkstemp(char* pattern) {
    return fails("open") ? -1 : __real_mkstemp(pattern);
}

int __wrap_mkostemp(char* pattern, int flags) {
    return fails("open") ? -1 : __real_mkostemp(pattern, flags);
}

int __wrap_mkostemps(char* pattern, int ending, int flags) {
    return fails("open") ? -1 : __real_mkostemps(pattern, ending, flags);
}

ssize_t __wrap_read(int descriptor, void* bytes, size_t size) {
    return fails("read", descriptor) ? -1 : __real_read(descriptor, bytes, size);
}

ssize_t __wrap_write(int descriptor, const void* bytes, size_t size) {
    return fails("write", descriptor) ? -1 : __real_write(descriptor, bytes, allowed(size));
}

int __wrap_fsync(int descriptor) {
    return fails("flush", descriptor) ? -1 : __real_fsync(descriptor);
}

int __wrap_fdatasync(int descriptor) {
    return fails("flush", descriptor) ? -1 : __real_fdatasync(descriptor);
}

int __wrap_fchmod(int descriptor, mode_t mode) {
    return fails("chmod", descriptor) ? -1 : __real_fchmod(descriptor, mode);
}

int __wrap_flock(int descriptor, int operation) {
    return fails("lock", descriptor) ? -1 : __real_flock(descriptor, operation);
}

int __wrap_rename(const char* from, const char* to) {
    return fails("rename") ? -1 : __real_rename(from, to);
}

int __wrap_renameat(int fromFolder, const char* from, int toFolder, const char* to) {
    return fails("rename") ? -1 : __real_renameat(fromFolder, from, toFolder, to);
}

int __wrap_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    return fails("rename") ? -1 : __real_renameat2(fromFolder, from, toFolder, to, flags);
}

int __wrap_link(const char* from, const char* to) {
    return fails("link") ? -1 : __real_link(from, to);
}

int __wrap_linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
    return fails("link") ? -1 : __real_linkat(fromFolder, from, toFolder, to, flags);
}
}
