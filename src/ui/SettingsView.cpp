#include "ui/SettingsView.h"

#include "settings/IntervalPreset.h"
#include "store/AppStore.h"
#include "ui/Colours.h"
#include "ui/Environment.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace quillo {

namespace {

constexpr double captionScale = 0.85;

void colourText(QLabel* text, const QColor& colour) {
    auto palette = text->palette();
    palette.setColor(QPalette::WindowText, colour);
    text->setPalette(palette);
}

/// Leaves the text alone while it says the same, so that a change elsewhere does not move the cursor.
void showText(QLineEdit* field, const QString& text) {
    if (field->text() != text) {
        const QSignalBlocker blocker(field);
        field->setText(text);
    }
}

void showState(QCheckBox* box, bool isOn) {
    const QSignalBlocker blocker(box);
    box->setChecked(isOn);
}

void addField(QVBoxLayout* section, const QString& title, QWidget* field) {
    auto* row = new QFormLayout;
    row->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    row->addRow(title, field);
    section->addLayout(row);
    field->setAccessibleName(title);
}

} // namespace

SettingsView::SettingsView(QWidget* parent)
    : QWidget(parent), store(Environment::store()), updates(store, [this] { render(); }) {
    auto* form = new QWidget;
    sections = new QVBoxLayout(form);
    sections->setSpacing(10);
    addBackend();
    addAuthentication();
    addRefresh();
    addStartup();
    addHotKey();
    addLastError();
    sections->addStretch(1);

    auto* scrolled = new QScrollArea(this);
    scrolled->setFrameShape(QFrame::NoFrame);
    scrolled->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrolled->setWidgetResizable(true);
    scrolled->setFocusPolicy(Qt::NoFocus);
    scrolled->setWidget(form);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(scrolled);
    setFixedSize(contentSize);
    render();
}

QVBoxLayout* SettingsView::addSection(const QString& title) {
    auto* box = new QGroupBox(title);
    sections->addWidget(box);
    return new QVBoxLayout(box);
}

QLabel* SettingsView::addNote(QVBoxLayout* section, const QString& text) {
    auto* note = new QLabel(text);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    auto caption = note->font();
    caption.setPointSizeF(caption.pointSizeF() * captionScale);
    note->setFont(caption);
    colourText(note, Colours::on(palette()).secondary);
    section->addWidget(note);
    return note;
}

void SettingsView::addBackend() {
    auto* section = addSection(QStringLiteral("Backend"));
    backend = new QLineEdit;
    connect(backend, &QLineEdit::textChanged, this,
            [this](const QString& text) { store.settings.backend = text; });
    addField(section, QStringLiteral("URL"), backend);
    verifyTLS = new QCheckBox(QStringLiteral("Verify TLS certificate"));
    connect(verifyTLS, &QCheckBox::toggled, this, [this](bool isOn) { store.settings.verifyTLS = isOn; });
    section->addWidget(verifyTLS);
}

void SettingsView::addAuthentication() {
    auto* section = addSection(QStringLiteral("Authentication"));
    apiKey = new QLineEdit;
    apiKey->setEchoMode(QLineEdit::Password);
    connect(apiKey, &QLineEdit::textChanged, this,
            [this](const QString& text) { store.settings.apiKey = text; });
    addField(section, QStringLiteral("X-API-Key"), apiKey);
    addNote(section, QStringLiteral("Stored in macOS Keychain."));
}

void SettingsView::addRefresh() {
    auto* section = addSection(QStringLiteral("Refresh"));
    interval = new QComboBox;
    for (const auto& preset : intervalPresets) {
        interval->addItem(preset.label, preset.seconds);
    }
    connect(interval, &QComboBox::activated, this,
            [this](int entry) { store.settings.refreshInterval = interval->itemData(entry).toLongLong(); });
    addField(section, QStringLiteral("Interval"), interval);
    auto* refresh = new QPushButton(QStringLiteral("Refresh now"));
    connect(refresh, &QPushButton::clicked, this, [this] { store.start(store.refresh()); });
    section->addWidget(refresh, 0, Qt::AlignLeft);
}

void SettingsView::addStartup() {
    auto* section = addSection(QStringLiteral("Startup"));
    launchAtLogin = new QCheckBox(QStringLiteral("Launch at login"));
    connect(launchAtLogin, &QCheckBox::toggled, this, [this](bool isOn) { store.launchAtLogin = isOn; });
    section->addWidget(launchAtLogin);
    loginItemStatus = addNote(section, QString());
    colourText(loginItemStatus, Colours::on(palette()).orange);
}

void SettingsView::addHotKey() {
    auto* section = addSection(QStringLiteral("Global hotkey"));
    hotKey = new QCheckBox(QStringLiteral("Open ledger from any app (⌘⇧R)"));
    connect(hotKey, &QCheckBox::toggled, this, [this](bool isOn) { store.settings.hotKeyEnabled = isOn; });
    section->addWidget(hotKey);
    addNote(section,
            QStringLiteral("Works system-wide. Note: while enabled, ⌘⇧R overrides the browser's hard-reload "
                           "shortcut."));
}

void SettingsView::addLastError() {
    auto* section = addSection(QStringLiteral("Last error"));
    lastErrorSection = qobject_cast<QGroupBox*>(section->parentWidget());
    lastError = new QLabel;
    lastError->setTextFormat(Qt::PlainText);
    lastError->setWordWrap(true);
    lastError->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    section->addWidget(lastError);
}

void SettingsView::render() {
    const auto& settings = store.settings;
    showText(backend, settings.backend);
    showText(apiKey, settings.apiKey);
    showState(verifyTLS, settings.verifyTLS);
    showState(hotKey, settings.hotKeyEnabled);
    showState(launchAtLogin, store.launchAtLogin);
    // An interval that is no preset leaves the picker without a choice.
    interval->setCurrentIndex(interval->findData(settings.refreshInterval.get()));
    const auto status = store.loginItemStatusMessage();
    loginItemStatus->setText(status.value_or(QString()));
    loginItemStatus->setVisible(status.has_value());
    const auto& error = store.lastError.get();
    lastErrorSection->setVisible(error.has_value());
    lastError->setText(error.value_or(QString()));
}

} // namespace quillo
