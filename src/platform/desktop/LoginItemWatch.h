#pragma once

#include "core/Signal.h"
#include "platform/desktop/LoginItem.h"

#include <QFileSystemWatcher>

namespace quillo {

/// Tells when the state of a login item becomes another one, whoever changed it: the desktop's own settings
/// write the entry, too. For the main thread.
class LoginItemWatch {
public:
    explicit LoginItemWatch(LoginItem item);

    /// `LoginItem::status` is another one than before.
    Signal<> changed;

private:
    void follow();
    void look();

    LoginItem item;
    LoginItemStatus known;
    QFileSystemWatcher watcher;
};

} // namespace quillo
