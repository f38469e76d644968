#include "platform/hotkey/X11HotKeys.h"

#include "platform/hotkey/X11Keyboard.h"

#include <QObject>
#include <QSocketNotifier>

#include <optional>
#include <utility>

namespace quillo {

namespace {

using x11::KeyGrabs;
using x11::Owned;

class X11Registration final : public HotKeyService::Registration {
public:
    X11Registration(const QByteArray& display, const HotKeyChord& wanted, std::function<void()> onPress)
        : chord(wanted), pressed(std::move(onPress)) {
        int screenNumber = 0;
        connection.reset(xcb_connect(display.isEmpty() ? nullptr : display.constData(), &screenNumber));
        if (xcb_connection_has_error(connection.get())) {
            return;
        }
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection.get()));
        for (; screenNumber > 0 && screens.rem > 1; --screenNumber) {
            xcb_screen_next(&screens);
        }
        root = screens.data->root;
        grab(x11::keyGrabs(connection.get(), chord.letter, chord.modifiers));
        listen();
    }

    ~X11Registration() override { ungrab(); }

    [[nodiscard]] bool isGrabbed() const noexcept { return !grabs.keys.empty(); }

private:
    /// All of them or, when another program has one already, none.
    void grab(KeyGrabs wanted) {
        grabs = std::move(wanted);
        const bool granted = forEachGrab([this](xcb_keycode_t key, quint16 modifiers) {
            return xcb_grab_key_checked(connection.get(), 0, root, modifiers, key, XCB_GRAB_MODE_ASYNC,
                                        XCB_GRAB_MODE_ASYNC);
        });
        if (!granted) {
            ungrab();
        }
    }

    /// Returns only when the server has done it, so that the key is free for the next registration.
    void ungrab() {
        (void)forEachGrab([this](xcb_keycode_t key, quint16 modifiers) {
            return xcb_ungrab_key_checked(connection.get(), key, root, modifiers);
        });
        grabs = {};
    }

    /// Sends a request for each, then waits for the server. Whether it carried all of them out.
    template <typename Request>
    [[nodiscard]] bool forEachGrab(const Request& request) const {
        std::vector<xcb_void_cookie_t> cookies;
        for (const auto key : grabs.keys) {
            for (const auto modifiers : grabs.modifiers) {
                cookies.push_back(request(key, modifiers));
            }
        }
        bool done = true;
        for (const auto cookie : cookies) {
            done &= Owned<xcb_generic_error_t>(xcb_request_check(connection.get(), cookie)) == nullptr;
        }
        return done;
    }

    void listen() {
        notifier.emplace(xcb_get_file_descriptor(connection.get()), QSocketNotifier::Read);
        QObject::connect(&*notifier, &QSocketNotifier::activated, &context, [this] { takeEvents(); });
        // An event may have been read together with an answer; then the notifier is silent about it.
        QMetaObject::invokeMethod(
            &context, [this] { takeEvents(); }, Qt::QueuedConnection);
    }

    void takeEvents() {
        bool mappingChanged = false;
        while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection.get())}) {
            switch (event->response_type & 0x7f) { // the top bit says that a client sent it
            case XCB_KEY_PRESS:
                keyPressed(reinterpret_cast<const xcb_key_press_event_t&>(*event).time);
                break;
            case XCB_KEY_RELEASE:
                lastRelease = reinterpret_cast<const xcb_key_release_event_t&>(*event).time;
                break;
            case XCB_MAPPING_NOTIFY:
                mappingChanged = true;
                break;
            default:
                break;
            }
        }
        if (xcb_connection_has_error(connection.get())) {
            notifier->setEnabled(false); // or it would report the end of the connection for ever
        } else if (mappingChanged) {
            grabAnew();
        }
    }

    /// A held key repeats as releases and presses of the same instant.
    void keyPressed(xcb_timestamp_t time) const {
        if (time != lastRelease) {
            pressed();
        }
    }

    /// Servers announce changes that leave the key where it is, too.
    void grabAnew() {
        auto wanted = x11::keyGrabs(connection.get(), chord.letter, chord.modifiers);
        if (wanted != grabs) {
            ungrab();
            grab(std::move(wanted));
        }
        QMetaObject::invokeMethod(
            &context, [this] { takeEvents(); }, Qt::QueuedConnection);
    }

    HotKeyChord chord;
    std::function<void()> pressed;
    Owned<xcb_connection_t> connection;
    xcb_window_t root = XCB_NONE;
    KeyGrabs grabs;
    std::optional<xcb_timestamp_t> lastRelease;
    QObject context;
    std::optional<QSocketNotifier> notifier; // ends before the connection whose descriptor it watches
};

} // namespace

X11HotKeys::X11HotKeys(QByteArray name) : display(std::move(name)) {}

std::unique_ptr<HotKeyService::Registration> X11HotKeys::registerHotKey(const HotKeyChord& chord,
                                                                        HotKeyIdentifier identifier) {
    auto registration =
        std::make_unique<X11Registration>(display, chord, [this, identifier] { press(identifier); });
    if (!registration->isGrabbed()) {
        return nullptr;
    }
    return registration;
}

} // namespace quillo
