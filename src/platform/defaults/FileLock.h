#pragma once

#include <QString>

#include <chrono>

namespace quillo {

/// Keeps other processes, and other locks of this one, from a piece of work for as long as it lives.
///
/// The lock is the kernel's (flock(2)) and ends with its process, however that ends. The file is made where
/// it is missing and stays.
class FileLock {
public:
    /// Waits at most `limit` for others to let go.
    FileLock(const QString& path, std::chrono::milliseconds limit);
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    [[nodiscard]] bool isHeld() const noexcept { return held; }

private:
    int file = -1;
    bool held = false;
};

} // namespace quillo
