#include "platform/desktop/AutostartEntry.h"

#include <QStringList>

#include <algorithm>
#include <memory>
#include <utility>

#include <glib.h>

using namespace Qt::Literals::StringLiterals;

namespace quillo::autostart {

namespace {

struct Release {
    void operator()(GKeyFile* file) const noexcept { g_key_file_unref(file); }
    void operator()(char* text) const noexcept { g_free(text); }
    void operator()(char** words) const noexcept { g_strfreev(words); }
};
using KeyFile = std::unique_ptr<GKeyFile, Release>;
using Text = std::unique_ptr<char, Release>;
using Words = std::unique_ptr<char*, Release>;

Text value(GKeyFile* file, const char* key) {
    return Text(g_key_file_get_string(file, G_KEY_FILE_DESKTOP_GROUP, key, nullptr));
}

bool isProgram(const char* name) {
    return name && *name && Text(g_find_program_in_path(name));
}

/// Section "Recognized desktop entry keys": OnlyShowIn and NotShowIn against the desktop's names.
bool isForThisDesktop(GKeyFile* file) {
    const auto names = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    const auto isNamedIn = [&](const char* key) {
        const Words desktops(
            g_key_file_get_string_list(file, G_KEY_FILE_DESKTOP_GROUP, key, nullptr, nullptr));
        return desktops && std::ranges::any_of(names, [&](const auto& name) {
                   return g_strv_contains(desktops.get(), name.toUtf8().constData());
               });
    };
    const bool isRestricted =
        g_key_file_has_key(file, G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_ONLY_SHOW_IN, nullptr);
    return (!isRestricted || isNamedIn(G_KEY_FILE_DESKTOP_KEY_ONLY_SHOW_IN)) &&
           !isNamedIn(G_KEY_FILE_DESKTOP_KEY_NOT_SHOW_IN);
}

bool startsSomething(GKeyFile* file) {
    const auto type = value(file, G_KEY_FILE_DESKTOP_KEY_TYPE);
    const auto exec = value(file, G_KEY_FILE_DESKTOP_KEY_EXEC);
    const auto tryExec = value(file, G_KEY_FILE_DESKTOP_KEY_TRY_EXEC);
    if (g_strcmp0(type.get(), G_KEY_FILE_DESKTOP_TYPE_APPLICATION) != 0 || !exec) {
        return false;
    }
    char** words = nullptr;
    if (!g_shell_parse_argv(exec.get(), nullptr, &words, nullptr)) {
        return false;
    }
    const Words owned(words);
    const auto program = QByteArray(words[0]).replace("%%", "%");
    return isProgram(program.constData()) && (!tryExec || isProgram(tryExec.get()));
}

/// The only word of an Exec key's value, quoted as section "The Exec key" asks for, whatever characters it
/// contains.
QString quotedForExec(const QString& program) {
    QString quoted;
    for (const auto character : program) {
        if (u"\"`$\\"_s.contains(character)) {
            quoted += u'\\';
        } else if (character == u'%') {
            quoted += u'%'; // a single one would begin a field code
        }
        quoted += character;
    }
    return u'"' + quoted + u'"';
}

} // namespace

Meaning meaning(const QByteArray& text) {
    const KeyFile file(g_key_file_new());
    if (!g_key_file_load_from_data(file.get(), text.constData(), static_cast<gsize>(text.size()),
                                   G_KEY_FILE_NONE, nullptr)) {
        return Meaning::nonsense;
    }
    if (g_key_file_get_boolean(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_HIDDEN,
                               nullptr)) {
        return Meaning::switchedOff;
    }
    for (const auto* const key : {"X-GNOME-Autostart-enabled", "X-MATE-Autostart-enabled"}) {
        const auto enabled = value(file.get(), key);
        if (g_strcmp0(enabled.get(), "false") == 0) {
            return Meaning::switchedOff;
        }
    }
    if (!isForThisDesktop(file.get())) {
        return Meaning::switchedOff;
    }
    return startsSomething(file.get()) ? Meaning::starts : Meaning::nonsense;
}

QByteArray entry(const QString& applicationId, const QString& program) {
    const std::pair<const char*, QString> values[]{
        {G_KEY_FILE_DESKTOP_KEY_TYPE, u"Application"_s},
        {G_KEY_FILE_DESKTOP_KEY_NAME, u"Quillo"_s},
        {G_KEY_FILE_DESKTOP_KEY_COMMENT, u"Keeps your credit card balance in view"_s},
        {G_KEY_FILE_DESKTOP_KEY_ICON, applicationId},
        {G_KEY_FILE_DESKTOP_KEY_EXEC, quotedForExec(program)},
        {G_KEY_FILE_DESKTOP_KEY_TRY_EXEC, program},
        {G_KEY_FILE_DESKTOP_KEY_TERMINAL, u"false"_s},
        {G_KEY_FILE_DESKTOP_KEY_STARTUP_NOTIFY, u"false"_s},
    };
    const KeyFile file(g_key_file_new());
    for (const auto& [key, value] : values) {
        g_key_file_set_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, key, value.toUtf8().constData());
    }
    // Desktop entries have no control characters (section "Basic format of the file"); GLib leaves tabs.
    const Text text(g_key_file_to_data(file.get(), nullptr, nullptr));
    return QByteArray(text.get()).replace('\t', "\\t");
}

} // namespace quillo::autostart
