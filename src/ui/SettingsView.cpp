#include "ui/SettingsView.h"

#include "settings/IntervalPreset.h"
#include "store/AppStore.h"
#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/Environment.h"

#include <QCheckBox>
#include <QEvent>
#include <QFontInfo>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>

namespace quillo {

namespace {

constexpr int sectionGap = 7;
constexpr QMargins sectionMargins(10, 7, 10, 7);

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

/// Titles stand out; what is in the section does not inherit that.
void emphasiseTitle(QGroupBox* section) {
    for (auto* const child : section->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        auto font = child->font();
        font.setBold(false);
        child->setFont(font);
    }
    auto font = section->font();
    font.setBold(true);
    section->setFont(font);
}

/// A line with the field after its title.
QHBoxLayout* addField(QVBoxLayout* section, const QString& title, QWidget* field) {
    auto* label = new QLabel(title);
    label->setBuddy(field);
    field->setAccessibleName(title);
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(field);
    section->addLayout(row);
    return row;
}

/// Where fields begin, whatever their titles: behind the longest.
void alignFields(QWidget* form) {
    int widest = 0;
    const auto labels = form->findChildren<QLabel*>();
    for (const auto* const label : labels) {
        widest = label->buddy() ? std::max(widest, label->sizeHint().width()) : widest;
    }
    for (auto* const label : labels) {
        if (label->buddy()) {
            label->setFixedWidth(widest);
        }
    }
}

} // namespace

SettingsView::SettingsView(QWidget* parent)
    : QWidget(parent), store(Environment::store()), updates(store, [this] { render(); }) {
    auto* form = new QWidget;
    sections = new QVBoxLayout(form);
    sections->setSpacing(sectionGap);
    addBackend();
    addAuthentication();
    addRefresh();
    addStartup();
    addHotKey();
    addLastError();
    sections->addStretch(1);
    alignFields(form);
    for (auto* const section : form->findChildren<QGroupBox*>()) {
        emphasiseTitle(section);
    }

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
    applyColours();
    render();
}

QVBoxLayout* SettingsView::addSection(const QString& title) {
    auto* box = new QGroupBox(title);
    sections->addWidget(box);
    auto* section = new QVBoxLayout(box);
    section->setContentsMargins(sectionMargins);
    section->setSpacing(sectionGap);
    return section;
}

QLabel* SettingsView::addNote(QVBoxLayout* section, const QString& text) {
    auto* note = new QLabel(text);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    auto caption = note->font();
    caption.setPointSizeF(QFontInfo(caption).pointSizeF() * captionScale);
    note->setFont(caption);
    section->addWidget(note);
    return note;
}

QLabel* SettingsView::addNoteUnder(QCheckBox* box, QVBoxLayout* section, const QString& text) {
    auto* note = addNote(section, text);
    // Begins where the text of the box does.
    note->setIndent(box->style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, box) +
                    box->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, box));
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
    notes.push_back(addNote(section, QStringLiteral("Stored in macOS Keychain.")));
}

void SettingsView::addRefresh() {
    auto* section = addSection(QStringLiteral("Refresh"));
    interval = new Picker;
    for (const auto& preset : intervalPresets) {
        interval->addItem(preset.label, preset.seconds);
    }
    connect(interval, &QComboBox::activated, this,
            [this](int entry) { store.settings.refreshInterval = interval->itemData(entry).toLongLong(); });
    auto* row = addField(section, QStringLiteral("Interval"), interval);
    // Screen readers are told the chosen entry as its name.
    interval->setAccessibleDescription(QStringLiteral("Interval"));
    auto* refresh = new QPushButton(QStringLiteral("Refresh now"));
    connect(refresh, &QPushButton::clicked, this, [this] { store.start(store.refresh()); });
    row->addStretch(1);
    row->addWidget(refresh);
}

void SettingsView::addStartup() {
    auto* section = addSection(QStringLiteral("Startup"));
    launchAtLogin = new QCheckBox(QStringLiteral("Launch at login"));
    connect(launchAtLogin, &QCheckBox::toggled, this, [this](bool isOn) { store.launchAtLogin = isOn; });
    section->addWidget(launchAtLogin);
    loginItemStatus = addNoteUnder(launchAtLogin, section, QString());
}

void SettingsView::addHotKey() {
    auto* section = addSection(QStringLiteral("Global hotkey"));
    hotKey = new QCheckBox(QStringLiteral("Open ledger from any app (⌘⇧R)"));
    connect(hotKey, &QCheckBox::toggled, this, [this](bool isOn) { store.settings.hotKeyEnabled = isOn; });
    section->addWidget(hotKey);
    notes.push_back(addNoteUnder(
        hotKey, section,
        QStringLiteral("Works system-wide. Note: while enabled, ⌘⇧R overrides the browser's hard-reload "
                       "shortcut.")));
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

void SettingsView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) {
        applyColours(); // the desktop may turn dark while the window is open
    }
    QWidget::changeEvent(event);
}

void SettingsView::applyColours() {
    const auto colours = Colours::on(palette());
    for (auto* const note : notes) {
        colourText(note, colours.secondary);
    }
    colourText(loginItemStatus, colours.orange);
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
