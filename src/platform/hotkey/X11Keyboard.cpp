#include "platform/hotkey/X11Keyboard.h"

#include <algorithm>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <utility>

namespace quillo::x11 {

namespace {

// X Window System Protocol, appendix A.
constexpr xcb_keysym_t numLockSymbol = 0xff7f;
constexpr xcb_keysym_t scrollLockSymbol = 0xff14;

/// The symbols of all keys, as many a key as the server says.
class Mapping {
public:
    explicit Mapping(xcb_connection_t* connection) {
        const auto* const setup = xcb_get_setup(connection);
        first = setup->min_keycode;
        const auto count = static_cast<quint8>(setup->max_keycode - setup->min_keycode + 1);
        reply.reset(xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, first, count), nullptr));
        if (reply) {
            columns = reply->keysyms_per_keycode;
            symbols = {xcb_get_keyboard_mapping_keysyms(reply.get()),
                       static_cast<std::size_t>(xcb_get_keyboard_mapping_keysyms_length(reply.get()))};
        }
    }

    /// The keys that have the symbol in the lowest column in which any key has it: the first layout that can
    /// type it, rather than several keys of several layouts.
    [[nodiscard]] std::vector<xcb_keycode_t> keys(xcb_keysym_t symbol) const {
        std::vector<xcb_keycode_t> found;
        for (std::size_t column = 0; column < columns && found.empty(); ++column) {
            for (auto at = column; at < symbols.size(); at += columns) {
                if (symbols[at] == symbol) {
                    found.push_back(static_cast<xcb_keycode_t>(first + at / columns));
                }
            }
        }
        return found;
    }

    [[nodiscard]] bool has(xcb_keycode_t key, xcb_keysym_t symbol) const {
        if (key < first || (static_cast<std::size_t>(key - first) + 1) * columns > symbols.size()) {
            return false;
        }
        const auto ofKey = symbols.subspan(static_cast<std::size_t>(key - first) * columns, columns);
        return std::ranges::find(ofKey, symbol) != ofKey.end();
    }

private:
    Owned<xcb_get_keyboard_mapping_reply_t> reply;
    xcb_keycode_t first = 0;
    std::size_t columns = 0;
    std::span<const xcb_keysym_t> symbols;
};

/// Where the letter is on an American keyboard, in the key codes that servers take from the kernel.
std::vector<xcb_keycode_t> americanPlace(char letter) {
    struct Row {
        xcb_keycode_t first;
        std::string_view letters;
    };
    for (const auto& row : {Row{24, "qwertyuiop"}, Row{38, "asdfghjkl"}, Row{52, "zxcvbnm"}}) {
        if (const auto place = row.letters.find(letter); place != std::string_view::npos) {
            return {static_cast<xcb_keycode_t>(row.first + place)};
        }
    }
    return {};
}

/// The modifiers that the keys with one of the two lock symbols stand for, and Caps Lock's.
std::vector<quint16> lockModifiers(xcb_connection_t* connection, const Mapping& mapping) {
    std::vector<quint16> locks{XCB_MOD_MASK_LOCK};
    const Owned<xcb_get_modifier_mapping_reply_t> reply(
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
    if (!reply || reply->keycodes_per_modifier == 0) {
        return locks;
    }
    const std::span keys(xcb_get_modifier_mapping_keycodes(reply.get()),
                         static_cast<std::size_t>(xcb_get_modifier_mapping_keycodes_length(reply.get())));
    for (std::size_t at = 0; at < keys.size(); ++at) {
        if (mapping.has(keys[at], numLockSymbol) || mapping.has(keys[at], scrollLockSymbol)) {
            locks.push_back(static_cast<quint16>(1u << (at / reply->keycodes_per_modifier)));
        }
    }
    return locks;
}

quint16 modifierMask(Qt::KeyboardModifiers modifiers) {
    quint16 mask = 0;
    for (const auto& [modifier, bit] : {std::pair{Qt::ShiftModifier, XCB_MOD_MASK_SHIFT},
                                        {Qt::ControlModifier, XCB_MOD_MASK_CONTROL},
                                        // Where every usual mapping has Alt and Super.
                                        {Qt::AltModifier, XCB_MOD_MASK_1},
                                        {Qt::MetaModifier, XCB_MOD_MASK_4}}) {
        if (modifiers.testFlag(modifier)) {
            mask = static_cast<quint16>(mask | bit);
        }
    }
    return mask;
}

} // namespace

KeyGrabs keyGrabs(xcb_connection_t* connection, char letter, Qt::KeyboardModifiers modifiers) {
    const Mapping mapping(connection);
    KeyGrabs grabs;
    grabs.keys = mapping.keys(static_cast<xcb_keysym_t>(letter)); // Latin letters stand for themselves
    if (grabs.keys.empty()) {
        grabs.keys = americanPlace(letter);
    }
    std::set<quint16> states{modifierMask(modifiers)};
    for (const auto lock : lockModifiers(connection, mapping)) {
        for (const auto state : std::vector(states.begin(), states.end())) {
            states.insert(static_cast<quint16>(state | lock));
        }
    }
    grabs.modifiers.assign(states.begin(), states.end());
    return grabs;
}

} // namespace quillo::x11
