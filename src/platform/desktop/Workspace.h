#pragma once

#include <QDesktopServices>
#include <QUrl>

#include <functional>
#include <utility>

namespace quillo {

/// The user's desktop, as far as this program asks it to show things.
class Workspace {
public:
    using Opener = std::function<bool(const QUrl&)>;

    /// Hands pages to `given`, which returns whether it accepted them.
    explicit Workspace(Opener given = &QDesktopServices::openUrl) : opener(std::move(given)) {}

    /// Opens the page in the user's default browser, without waiting for it. Anything that is not a valid
    /// `http` or `https` URL with a host is refused, so that no text from elsewhere can start a program or
    /// open a file. False when it was refused or no browser could be started.
    bool open(const QUrl& url) const {
        const auto scheme = url.scheme(); // QUrl keeps it in lower case
        const bool isPage = scheme == QLatin1StringView("http") || scheme == QLatin1StringView("https");
        return isPage && url.isValid() && !url.host().isEmpty() && opener(url);
    }

private:
    Opener opener;
};

} // namespace quillo
