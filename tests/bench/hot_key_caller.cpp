// Presses the system-wide hot key as a person does, and waits until the ledger is on the screen: again and
// again, the window being closed in between. Prints the milliseconds of each time as one JSON list.
//
// What shows that the window is painted is the middle of the screen, which the window covers: the background
// gets a colour that no window has, and the server does not clear a window that Qt has not painted yet.
//
// usage: hot_key_caller COUNT

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t background = 0xff00ff;
constexpr std::uint32_t colourBits = 0xffffff;
constexpr auto patience = 20s;
constexpr auto betweenLooks = 200us;

constexpr xcb_keysym_t controlKey = 0xffe3;
constexpr xcb_keysym_t shiftKey = 0xffe1;
constexpr xcb_keysym_t letterR = 0x0072;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "hot_key_caller: %s\n", what);
    std::exit(1);
}

class Screen {
public:
    Screen() : connection(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection) != 0) {
            fail("no display");
        }
        screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        xcb_change_window_attributes(connection, screen->root, XCB_CW_BACK_PIXEL, &background);
        xcb_clear_area(connection, 0, screen->root, 0, 0, 0, 0);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen() { xcb_disconnect(connection); }

    void pressHotKey() {
        const std::array keys{code(controlKey), code(shiftKey), code(letterR)};
        for (const auto key : keys) {
            xcb_test_fake_input(connection, XCB_KEY_PRESS, key, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
        }
        for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
            xcb_test_fake_input(connection, XCB_KEY_RELEASE, *key, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
        }
        xcb_flush(connection);
    }

    [[nodiscard]] bool isCovered() {
        const Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            connection,
            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root,
                          static_cast<std::int16_t>(screen->width_in_pixels / 2),
                          static_cast<std::int16_t>(screen->height_in_pixels / 2), 1, 1, ~0U),
            nullptr));
        if (!image || xcb_get_image_data_length(image.get()) < 4) {
            fail("the screen cannot be looked at");
        }
        const auto* bytes = xcb_get_image_data(image.get());
        const auto pixel = static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16);
        return (pixel & colourBits) != background;
    }

    /// Asks the window manager to close the window in front, as a task list would
    /// (Extended Window Manager Hints, _NET_CLOSE_WINDOW).
    void closeActiveWindow() {
        const Reply<xcb_get_property_reply_t> active(xcb_get_property_reply(
            connection,
            xcb_get_property(connection, 0, screen->root, atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 0, 1),
            nullptr));
        if (!active || xcb_get_property_value_length(active.get()) < 4) {
            return;
        }
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = *static_cast<xcb_window_t*>(xcb_get_property_value(active.get()));
        event.type = atom("_NET_CLOSE_WINDOW");
        event.data.data32[1] = 2; // a user's doing
        xcb_send_event(connection, 0, screen->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&event));
        xcb_flush(connection);
    }

private:
    [[nodiscard]] xcb_keycode_t code(xcb_keysym_t symbol) {
        const std::unique_ptr<xcb_key_symbols_t, decltype(&xcb_key_symbols_free)> symbols(
            xcb_key_symbols_alloc(connection), xcb_key_symbols_free);
        const Reply<xcb_keycode_t> codes(xcb_key_symbols_get_keycode(symbols.get(), symbol));
        return codes ? *codes : (fail("a key is missing"), xcb_keycode_t{0});
    }

    [[nodiscard]] xcb_atom_t atom(std::string_view name) {
        const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
            nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    xcb_connection_t* connection;
    xcb_screen_t* screen = nullptr;
};

void waitUntil(const std::function<bool()>& condition, const char* what) {
    const auto end = Clock::now() + patience;
    while (!condition()) {
        if (Clock::now() > end) {
            fail(what);
        }
        std::this_thread::sleep_for(betweenLooks);
    }
}

} // namespace

int main(int argc, char* argv[]) {
    const int count = argc == 2 ? std::atoi(argv[1]) : 0;
    if (count <= 0) {
        fail("usage: hot_key_caller COUNT");
    }
    Screen screen;
    waitUntil([&] { return !screen.isCovered(); }, "something covers the screen from the start");
    for (int round = 0; round < count; ++round) {
        const auto start = Clock::now();
        screen.pressHotKey();
        waitUntil([&] { return screen.isCovered(); }, "the hot key opened nothing");
        const std::chrono::duration<double, std::milli> took = Clock::now() - start;
        std::printf("%s%.3f", round == 0 ? "[" : ", ", took.count());
        auto asked = Clock::time_point();
        waitUntil(
            [&] {
                // Again when nothing came of it: the window may not have been in front yet.
                if (Clock::now() - asked > 500ms) {
                    asked = Clock::now();
                    screen.closeActiveWindow();
                }
                return !screen.isCovered();
            },
            "the window did not close");
        // What the program has still to clear up is not part of the next opening.
        std::this_thread::sleep_for(300ms);
    }
    std::printf("]\n");
    return 0;
}
