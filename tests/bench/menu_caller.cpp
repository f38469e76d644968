// Asks for a menu as panels do, in their place: calls a program's menu again and again and prints how long
// each answer took. It speaks to the bus without a thread or an event loop of its own, so that what is
// measured is the bus and the program.
//
// usage: menu_caller BUS-NAME COUNT
//
// Prints one JSON object: for each method the milliseconds of every call, in the order of the calls.
// "Version" is the shortest answer that the program can give, and so the share of the way there and back.

#include <dbus/dbus.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr auto menuPath = "/MenuBar";
constexpr auto menuInterface = "com.canonical.dbusmenu";
constexpr int patienceMilliseconds = 10'000;

struct Unref {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, Unref>;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "menu_caller: %s\n", what);
    std::exit(1);
}

Message call(const char* name, const char* interface, const char* method) {
    Message message(dbus_message_new_method_call(name, menuPath, interface, method));
    return message ? std::move(message) : (fail("no memory"), nullptr);
}

/// The whole menu with all properties.
Message getLayout(const char* name) {
    auto message = call(name, menuInterface, "GetLayout");
    const std::int32_t root = 0;
    const std::int32_t depth = -1;
    const char* const* names = nullptr;
    dbus_message_append_args(message.get(), DBUS_TYPE_INT32, &root, DBUS_TYPE_INT32, &depth, DBUS_TYPE_ARRAY,
                             DBUS_TYPE_STRING, &names, 0, DBUS_TYPE_INVALID);
    return message;
}

Message aboutToShow(const char* name) {
    auto message = call(name, menuInterface, "AboutToShow");
    const std::int32_t root = 0;
    dbus_message_append_args(message.get(), DBUS_TYPE_INT32, &root, DBUS_TYPE_INVALID);
    return message;
}

Message version(const char* name) {
    auto message = call(name, "org.freedesktop.DBus.Properties", "Get");
    const char* interface = menuInterface;
    const char* property = "Version";
    dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &interface, DBUS_TYPE_STRING, &property,
                             DBUS_TYPE_INVALID);
    return message;
}

double milliseconds(DBusConnection* bus, const Message& message) {
    const auto start = std::chrono::steady_clock::now();
    const Message reply(
        dbus_connection_send_with_reply_and_block(bus, message.get(), patienceMilliseconds, nullptr));
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    if (!reply) {
        fail("the program gave no answer");
    }
    return took.count();
}

struct Method {
    const char* name;
    Message (*make)(const char* busName);
    std::vector<double> times = {};
};

} // namespace

int main(int argc, char* argv[]) {
    const int count = argc == 3 ? std::atoi(argv[2]) : 0;
    if (count <= 0) {
        fail("usage: menu_caller BUS-NAME COUNT");
    }
    DBusConnection* const bus = dbus_bus_get(DBUS_BUS_SESSION, nullptr);
    if (!bus) {
        fail("no session bus");
    }
    std::array methods{Method{"Version", version}, Method{"AboutToShow", aboutToShow},
                       Method{"GetLayout", getLayout}};
    for (int round = 0; round < count; ++round) {
        for (auto& method : methods) {
            method.times.push_back(milliseconds(bus, method.make(argv[1])));
        }
    }
    const char* separator = "{";
    for (const auto& method : methods) {
        std::printf("%s\"%s\": [", separator, method.name);
        for (std::size_t index = 0; index < method.times.size(); ++index) {
            std::printf("%s%.4f", index == 0 ? "" : ", ", method.times[index]);
        }
        std::printf("]");
        separator = ", ";
    }
    std::printf("}\n");
    return 0;
}
