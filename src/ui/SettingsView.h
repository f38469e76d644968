#pragma once

#include "core/Published.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QCheckBox;
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

private:
    [[nodiscard]] QWidget* makeSections();
    void addRefresh();
    [[nodiscard]] QVBoxLayout* addSection(const QString& title);
    QLineEdit* addSetting(QVBoxLayout* section, const QString& title, Published<QString>& setting);
    QCheckBox* addSetting(QVBoxLayout* section, const QString& title, Published<bool>& setting);
    void applyColours();
    void render();
    void showError(const std::optional<QString>& error);

    AppStore& store;
    QScrollArea* form = nullptr;
    QVBoxLayout* sections = nullptr;
    std::vector<std::function<void()>> renderings; ///< show each setting in its control
    QLabel* loginItemStatus = nullptr;
    QWidget* lastErrorSection = nullptr;
    QLabel* lastError = nullptr;
    bool isAnswerAwaited = false; ///< "Refresh now" was pressed, and its outcome is not shown yet
    std::vector<QLabel*> notes;   ///< of less importance than the controls above them
};

} // namespace quillo
