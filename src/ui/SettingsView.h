#pragma once

#include <QWidget>

#include <optional>
#include <vector>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QScrollArea;
class QVBoxLayout;

namespace quillo {

class AppStore;

/// The settings: a form whose every control writes through at once. There is nothing to save or to cancel.
class SettingsView final : public QWidget {
    Q_OBJECT
public:
    static constexpr QSize contentSize{460, 380};

    explicit SettingsView(AppStore& store, QWidget* parent = nullptr);

protected:
    bool event(QEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] QWidget* makeSections();
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
    void showError(const std::optional<QString>& error);

    AppStore& store;
    QScrollArea* form = nullptr;
    QVBoxLayout* sections = nullptr;
    QLineEdit* backend = nullptr;
    QCheckBox* verifyTLS = nullptr;
    QLineEdit* apiKey = nullptr;
    QComboBox* interval = nullptr;
    QCheckBox* launchAtLogin = nullptr;
    QLabel* loginItemStatus = nullptr;
    QCheckBox* hotKey = nullptr;
    QGroupBox* lastErrorSection = nullptr;
    QLabel* lastError = nullptr;
    bool isAnswerAwaited = false; ///< "Refresh now" was pressed, and its outcome is not shown yet
    std::vector<QLabel*> notes;   ///< of less importance than the controls above them
};

} // namespace quillo
