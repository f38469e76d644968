#include "platform/desktop/LoginItemWatch.h"

#include <QFileInfo>

#include <utility>

namespace quillo {

LoginItemWatch::LoginItemWatch(LoginItem watched) : item(std::move(watched)), known(item.status()) {
    QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, &watcher, [this] { look(); });
    QObject::connect(&watcher, &QFileSystemWatcher::fileChanged, &watcher, [this] { look(); });
    follow();
}

/// The folder tells what comes and goes, the file what is written into it. Where there is no folder yet, the
/// one in which it will be made tells of it.
void LoginItemWatch::follow() {
    const auto entry = item.entryPath();
    QFileInfo folder(QFileInfo(entry).path());
    while (!folder.exists() && !folder.isRoot()) {
        folder = QFileInfo(folder.path());
    }
    watcher.addPath(folder.filePath());
    if (QFileInfo::exists(entry)) {
        watcher.addPath(entry);
    }
}

void LoginItemWatch::look() {
    // Under the same name there may be another file now, which is not watched yet.
    watcher.removePaths(watcher.directories() + watcher.files());
    follow();
    if (std::exchange(known, item.status()) != known) {
        changed.emit();
    }
}

} // namespace quillo
