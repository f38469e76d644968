#pragma once

#include "core/Signal.h"
#include "ui/ViewUpdates.h"

#include <QWidget>

#include <vector>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QVBoxLayout;

namespace quillo {

class AppStore;

/// The settings: a form whose every control writes through at once. There is nothing to save or to cancel.
class SettingsView final : public QWidget {
    Q_OBJECT
public:
    static constexpr QSize contentSize{460, 380};

    /// Takes the store from the environment.
    explicit SettingsView(QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void addBackend();
    void addAuthentication();
    void addRefresh();
    void addStartup();
    void addHotKey();
    void addLastError();
    [[nodiscard]] QVBoxLayout* addSection(const QString& title);
    [[nodiscard]] QLabel* addNote(QVBoxLayout* section, const QString& text);
    [[nodiscard]] QLabel* addNoteUnder(QCheckBox* box, QVBoxLayout* section, const QString& text);
    void applyColours();
    void render();

    AppStore& store;
    QVBoxLayout* sections;
    QLineEdit* backend = nullptr;
    QCheckBox* verifyTLS = nullptr;
    QLineEdit* apiKey = nullptr;
    QComboBox* interval = nullptr;
    QCheckBox* launchAtLogin = nullptr;
    QLabel* loginItemStatus = nullptr;
    QCheckBox* hotKey = nullptr;
    QGroupBox* lastErrorSection = nullptr;
    QLabel* lastError = nullptr;
    std::vector<QLabel*> notes; ///< of less importance than the controls above them
    ViewUpdates updates;
};

} // namespace quillo
