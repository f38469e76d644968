#include "platform/secrets/SecretPortal.h"

#include <chrono>
#include <memory>
#include <mutex>

namespace quillo {

namespace {

/// Far longer than libsecret takes once it has heard the answer.
constexpr std::chrono::seconds grace{1};

/// What became of one question. One that libsecret never ends keeps its own for good.
struct Question {
    bool isDone = false;
    bool isMissed = false;
    GError* error = nullptr;
};

void onDone(GObject*, GAsyncResult* result, gpointer data) {
    auto& question = *static_cast<Question*>(data);
    g_list_free_full(secret_password_search_finish(result, &question.error), g_object_unref);
    question.isDone = true;
}

gboolean onGraceOver(gpointer data) {
    static_cast<Question*>(data)->isMissed = true;
    return G_SOURCE_REMOVE;
}

void onAnswer(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
              gpointer data) {
    auto* timer = g_timeout_source_new(std::chrono::milliseconds(grace).count());
    g_source_set_callback(timer, onGraceOver, data, nullptr);
    g_source_attach(timer, g_main_context_get_thread_default());
    g_source_unref(timer);
}

/// Asks once; the question is done or missed afterwards. In a context of its own, where nothing of it is
/// heard later.
std::unique_ptr<Question> ask(GDBusConnection* bus, const SecretSchema& schema, GHashTable* attributes) {
    auto question = std::make_unique<Question>();
    auto* context = g_main_context_new();
    g_main_context_push_thread_default(context);
    const auto answers = g_dbus_connection_signal_subscribe(
        bus, "org.freedesktop.portal.Desktop", "org.freedesktop.portal.Request", "Response", nullptr, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, onAnswer, question.get(), nullptr);
    secret_password_searchv(&schema, attributes, SECRET_SEARCH_NONE, nullptr, onDone, question.get());
    while (!question->isDone && !question->isMissed) {
        g_main_context_iteration(context, TRUE);
    }
    g_dbus_connection_signal_unsubscribe(bus, answers);
    g_main_context_pop_thread_default(context);
    g_main_context_unref(context);
    return question;
}

} // namespace

bool openSecretPortal(const SecretSchema& schema, GHashTable* attributes, GError** error) {
    static std::mutex mutex;
    static bool isOpen = false;
    const std::lock_guard lock(mutex);
    if (isOpen) {
        return true;
    }
    auto* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, error);
    if (!bus) {
        return false;
    }
    auto question = ask(bus, schema, attributes);
    while (!question->isDone) {
        static_cast<void>(question.release()); // libsecret holds on to it
        question = ask(bus, schema, attributes);
    }
    g_object_unref(bus);
    isOpen = !question->error;
    if (question->error) {
        g_propagate_error(error, question->error);
    }
    return isOpen;
}

} // namespace quillo
