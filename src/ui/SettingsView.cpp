#include "ui/SettingsView.h"

#include "settings/IntervalPreset.h"
#include "store/AppStore.h"
#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/ViewUpdates.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <QValidator>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int sectionGap = 7;
constexpr QMargins sectionMargins(10, 7, 10, 7);

/// Behind it all fields begin, whatever their titles.
const auto longestTitle = u"X-API-Key"_s;

QString withoutLineBreaks(QString text) {
    static const QRegularExpression lineBreaks(u"[\\n\\r\\x{2028}\\x{2029}]"_s);
    return text.remove(lineBreaks);
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
    label->setMinimumWidth(label->fontMetrics().horizontalAdvance(longestTitle));
    label->setBuddy(field);
    field->setAccessibleName(title);
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(field);
    section->addLayout(row);
    return row;
}

QLabel* addText(QVBoxLayout* section, const QString& text) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    section->addWidget(label);
    return label;
}

/// A text of less importance than the controls above it.
QLabel* addNote(QVBoxLayout* section, const QString& text) {
    auto* note = addText(section, text);
    note->setFont(captionFont(note->font()));
    return note;
}

/// Begins where the text of the box does.
QLabel* addNoteUnder(const QCheckBox* box, QVBoxLayout* section, const QString& text) {
    auto* note = addNote(section, text);
    note->setIndent(box->style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, box) +
                    box->style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, nullptr, box));
    return note;
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
    auto& settings = store.settings;

    auto* backend = addSection(u"Backend"_s);
    addSetting(backend, u"URL"_s, settings.backend);
    addSetting(backend, u"Verify TLS certificate"_s, settings.verifyTLS);

    auto* authentication = addSection(u"Authentication"_s);
    addSetting(authentication, longestTitle, settings.apiKey)->setEchoMode(QLineEdit::Password);
    notes.push_back(addNote(authentication, u"Stored in macOS Keychain."_s));

    addRefresh();

    auto* startup = addSection(u"Startup"_s);
    auto* launchAtLogin = addSetting(startup, u"Launch at login"_s, store.launchAtLogin);
    loginItemStatus = addNoteUnder(launchAtLogin, startup, QString());

    auto* globalHotKey = addSection(u"Global hotkey"_s);
    auto* hotKey = addSetting(globalHotKey, u"Open ledger from any app (⌘⇧R)"_s, settings.hotKeyEnabled);
    notes.push_back(
        addNoteUnder(hotKey, globalHotKey,
                     u"Works system-wide. Note: while enabled, ⌘⇧R overrides the browser's hard-reload "
                     "shortcut."_s));

    auto* error = addSection(u"Last error"_s);
    lastErrorSection = error->parentWidget();
    lastError = addText(error, QString());
    lastError->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);

    sections->addStretch(1);
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

QLineEdit* SettingsView::addSetting(QVBoxLayout* section, const QString& title, Published<QString>& setting) {
    auto* field = new QLineEdit;
    field->setValidator(new OneLine(field));
    connect(field, &QLineEdit::textChanged, this, [&setting](const QString& text) { setting = text; });
    renderings.emplace_back([field, &setting] { showText(field, setting); });
    addField(section, title, field);
    return field;
}

QCheckBox* SettingsView::addSetting(QVBoxLayout* section, const QString& title, Published<bool>& setting) {
    auto* box = new QCheckBox(title);
    connect(box, &QCheckBox::toggled, this, [&setting](bool isOn) { setting = isOn; });
    renderings.emplace_back([box, &setting] {
        const QSignalBlocker blocker(box);
        box->setChecked(setting);
    });
    section->addWidget(box);
    return box;
}

void SettingsView::addRefresh() {
    auto* section = addSection(u"Refresh"_s);
    auto* interval = new Picker;
    for (const auto& preset : intervalPresets) {
        interval->addItem(preset.label, preset.seconds);
    }
    connect(interval, &QComboBox::activated, this, [this, interval](int entry) {
        store.settings.refreshInterval = interval->itemData(entry).toLongLong();
    });
    // An interval that is no preset leaves the picker without a choice.
    renderings.emplace_back([this, interval] {
        interval->setCurrentIndex(interval->findData(store.settings.refreshInterval.get()));
    });
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

bool SettingsView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) {
        render(); // the desktop's list of startup applications may have been changed meanwhile
    } else if (event->type() == QEvent::PaletteChange) {
        applyColours(); // the desktop may turn dark while the window is open
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
    for (const auto& showSetting : renderings) {
        showSetting();
    }
    const auto status = store.loginItemStatusMessage();
    loginItemStatus->setText(status.value_or(QString()));
    loginItemStatus->setVisible(status.has_value());
    const auto problem = store.settingsProblem();
    showError(problem ? problem : store.lastError);
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
