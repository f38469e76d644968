#include "ui/SettingsView.h"

#include "settings/IntervalPreset.h"
#include "store/AppStore.h"
#include "ui/Colours.h"
#include "ui/ViewUpdates.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
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
#include <QValidator>
#include <QWheelEvent>

#include <algorithm>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr double captionScale = 0.85;
constexpr int sectionGap = 7;
constexpr QMargins sectionMargins(10, 7, 10, 7);

void colourText(QLabel* text, const QColor& colour) {
    auto palette = text->palette();
    palette.setColor(QPalette::WindowText, colour);
    text->setPalette(palette);
}

QString withoutLineBreaks(QString text) {
    text.removeIf([](QChar each) {
        return each == QChar::LineFeed || each == QChar::CarriageReturn || each == QChar::LineSeparator ||
               each == QChar::ParagraphSeparator;
    });
    return text;
}

/// What is copied from a file or a page often comes with the end of its line, which nobody sees in a field
/// and no backend takes.
class OneLine final : public QValidator {
public:
    using QValidator::QValidator;

    State validate(QString& text, int& cursor) const override {
        cursor = static_cast<int>(withoutLineBreaks(text.first(cursor)).size());
        text = withoutLineBreaks(text);
        return Acceptable;
    }
};

/// Leaves the text alone while it says the same, so that a change elsewhere does not move the cursor.
void showText(QLineEdit* field, const QString& text) {
    const auto line = withoutLineBreaks(text);
    if (field->text() != line) {
        const QSignalBlocker blocker(field);
        field->setText(line);
    }
}

void showState(QCheckBox* box, bool isOn) {
    const QSignalBlocker blocker(box);
    box->setChecked(isOn);
}

/// Leaves the wheel to the form around it: scrolling past it must not change it.
class Picker final : public QComboBox {
protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
};

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

SettingsView::SettingsView(AppStore& shownStore, QWidget* parent) : QWidget(parent), store(shownStore) {
    form = new QScrollArea(this);
    form->setFrameShape(QFrame::NoFrame);
    form->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    form->setWidgetResizable(true);
    form->setFocusPolicy(Qt::NoFocus);
    form->setWidget(makeSections());
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(form);
    setFixedSize(contentSize);
    applyColours();
    new ViewUpdates(
        store, [this](const AppState&) { render(); }, this);
}

QWidget* SettingsView::makeSections() {
    auto* content = new QWidget;
    sections = new QVBoxLayout(content);
    sections->setSpacing(sectionGap);
    addBackend();
    addAuthentication();
    addRefresh();
    addStartup();
    addHotKey();
    addLastError();
    sections->addStretch(1);
    alignFields(content);
    for (auto* const section : content->findChildren<QGroupBox*>()) {
        emphasiseTitle(section);
    }
    return content;
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
    auto* section = addSection(u"Backend"_s);
    backend = new QLineEdit;
    backend->setValidator(new OneLine(backend));
    connect(backend, &QLineEdit::textChanged, this,
            [this](const QString& text) { store.settings.backend = text; });
    addField(section, u"URL"_s, backend);
    verifyTLS = new QCheckBox(u"Verify TLS certificate"_s);
    connect(verifyTLS, &QCheckBox::toggled, this, [this](bool isOn) { store.settings.verifyTLS = isOn; });
    section->addWidget(verifyTLS);
}

void SettingsView::addAuthentication() {
    auto* section = addSection(u"Authentication"_s);
    apiKey = new QLineEdit;
    apiKey->setValidator(new OneLine(apiKey));
    apiKey->setEchoMode(QLineEdit::Password);
    connect(apiKey, &QLineEdit::textChanged, this,
            [this](const QString& text) { store.settings.apiKey = text; });
    addField(section, u"X-API-Key"_s, apiKey);
    notes.push_back(addNote(section, u"Stored in macOS Keychain."_s));
}

void SettingsView::addRefresh() {
    auto* section = addSection(u"Refresh"_s);
    interval = new Picker;
    for (const auto& preset : intervalPresets) {
        interval->addItem(preset.label, preset.seconds);
    }
    connect(interval, &QComboBox::activated, this,
            [this](int entry) { store.settings.refreshInterval = interval->itemData(entry).toLongLong(); });
    auto* row = addField(section, u"Interval"_s, interval);
    // Screen readers are told the chosen entry as its name.
    interval->setAccessibleDescription(u"Interval"_s);
    auto* refresh = new QPushButton(u"Refresh now"_s);
    connect(refresh, &QPushButton::clicked, this, [this] {
        isAnswerAwaited = true;
        store.start(store.refresh());
    });
    row->addStretch(1);
    row->addWidget(refresh);
}

void SettingsView::addStartup() {
    auto* section = addSection(u"Startup"_s);
    launchAtLogin = new QCheckBox(u"Launch at login"_s);
    connect(launchAtLogin, &QCheckBox::toggled, this, [this](bool isOn) { store.launchAtLogin = isOn; });
    section->addWidget(launchAtLogin);
    loginItemStatus = addNoteUnder(launchAtLogin, section, QString());
}

void SettingsView::addHotKey() {
    auto* section = addSection(u"Global hotkey"_s);
    hotKey = new QCheckBox(u"Open ledger from any app (⌘⇧R)"_s);
    connect(hotKey, &QCheckBox::toggled, this, [this](bool isOn) { store.settings.hotKeyEnabled = isOn; });
    section->addWidget(hotKey);
    notes.push_back(
        addNoteUnder(hotKey, section,
                     u"Works system-wide. Note: while enabled, ⌘⇧R overrides the browser's hard-reload "
                     "shortcut."_s));
}

void SettingsView::addLastError() {
    auto* section = addSection(u"Last error"_s);
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

bool SettingsView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) {
        render(); // the desktop's list of startup applications may have been changed meanwhile
    }
    return QWidget::event(event);
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
    showError(store.lastError);
}

void SettingsView::showError(const std::optional<QString>& error) {
    const bool isAnswer = isAnswerAwaited && !store.isLoading;
    const bool isNews = isVisible() && error && (isAnswer || lastError->text() != *error);
    isAnswerAwaited = isAnswerAwaited && !isAnswer;
    lastErrorSection->setVisible(error.has_value());
    lastError->setText(error.value_or(QString()));
    if (isNews) {
        // Where the section is, is known only when all that contains it has been laid out, which would
        // otherwise take some turns of the loop.
        lastErrorSection->layout()->activate();
        form->widget()->layout()->activate();
        QEvent request(QEvent::LayoutRequest);
        QCoreApplication::sendEvent(form, &request);
        form->ensureWidgetVisible(lastErrorSection);
    }
}

} // namespace quillo
