#include "platform/defaults/FileLock.h"

#include <QDeadlineTimer>
#include <QFile>

#include <cerrno>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace quillo {

FileLock::FileLock(const QString& path, std::chrono::milliseconds limit)
    : file(::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (file < 0) {
        return;
    }
    // flock knows no time limit, and others hold the lock for milliseconds.
    const QDeadlineTimer deadline(limit);
    while (::flock(file, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired()) {
            return;
        }
        std::this_thread::sleep_for(2ms);
    }
    held = true;
}

FileLock::~FileLock() {
    if (file >= 0) {
        ::close(file);
    }
}

} // namespace quillo
