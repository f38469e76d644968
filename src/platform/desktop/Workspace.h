#pragma once

#include <QUrl>

#include <functional>

namespace quillo {

/// The user's desktop, as far as this program asks it to show things.
class Workspace {
public:
    using Opener = std::function<bool(const QUrl&)>;

    /// Opens pages in the user's default browser.
    Workspace();

    /// Hands pages to `opener`, which returns whether it accepted them.
    explicit Workspace(Opener opener);

    /// Opens the page in the user's default browser, without waiting for it. Anything that is not a valid
    /// `http` or `https` URL with a host is refused, so that no text from elsewhere can start a program or
    /// open a file. False when it was refused or no browser could be started.
    bool open(const QUrl& url) const;

private:
    Opener opener;
};

} // namespace quillo
