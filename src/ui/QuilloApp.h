#pragma once

#include "platform/defaults/UserDefaults.h"
#include "platform/desktop/IdleMemory.h"
#include "platform/desktop/LoginItem.h"
#include "platform/desktop/NotificationCenter.h"
#include "platform/desktop/TerminationSignals.h"
#include "platform/desktop/Workspace.h"
#include "platform/secrets/SecretStore.h"
#include "platform/tray/StatusItem.h"
#include "store/AppStore.h"
#include "ui/MenuBarContent.h"
#include "ui/MenuTracking.h"
#include "ui/SingleWindow.h"
#include "ui/ViewUpdates.h"

#include <memory>

namespace quillo {

class MenuRenderer;
class SingleInstance;

/// The application's root: owns the store for the life of the process, makes sure the program starts at
/// login, and declares what the user can see of it. Only the status item is visible at first.
class QuilloApp {
public:
    /// Needs a `QApplication`. What others ask of the instance is answered from now on.
    explicit QuilloApp(SingleInstance& instance);
    QuilloApp(const QuilloApp&) = delete;
    QuilloApp& operator=(const QuilloApp&) = delete;
    ~QuilloApp();

private:
    [[nodiscard]] MenuActions makeActions();
    [[nodiscard]] QWidget* makeLedger();
    [[nodiscard]] WindowScene withMenuBar(WindowScene scene);
    void connectStatusItem();
    void renderStatusItem(const AppState& state);
    void openStatusMenu();

    // In the order in which they are made; each uses only those before it.
    LoginItem loginItem;
    SystemClock clock;
    NotificationCenter notifications;
    Workspace workspace;
    TerminationSignals termination; ///< outlives the settings: no signal cuts short what they write last
    UserDefaults defaults;
    SecretStore secrets;
    AppStore store;
    MenuActions actions;
    std::unique_ptr<QObject> sleepMonitor;
    std::unique_ptr<QObject> activity = watchActivity(notifications);
    MenuTracking menuTracking{notifications};
    SingleWindow ledger;
    SingleWindow settings;
    Observation ledgerRequests;
    StatusItem statusItem;
    std::unique_ptr<MenuRenderer> statusMenu; ///< made when a panel first asks for it
    ViewUpdates statusUpdates;
    IdleMemory memory;
    Observation storeActivity = store.objectWillChange.observe([this] { memory.noteActivity(); });
};

} // namespace quillo
