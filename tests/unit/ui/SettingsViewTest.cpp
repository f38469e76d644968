#include "ui/SettingsView.h"

#include "settings/IntervalPreset.h"
#include "store/StoreFixture.h"
#include "support/TestMain.h"
#include "support/Wait.h"
#include "ui/Colours.h"
#include "ui/Environment.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QWheelEvent>

#include <optional>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto urlTitle = u"URL"_s;
const auto keyTitle = u"X-API-Key"_s;
const auto verifyTitle = u"Verify TLS certificate"_s;
const auto loginTitle = u"Launch at login"_s;
const auto hotKeyTitle = u"Open ledger from any app (⌘⇧R)"_s;
const auto keychainNote = u"Stored in macOS Keychain."_s;
const auto hotKeyNote =
    u"Works system-wide. Note: while enabled, ⌘⇧R overrides the browser's hard-reload shortcut."_s;
const auto signInError = u"Sign in to Quillo (menu → Sign In…)"_s;
const auto offEntry = "[Desktop Entry]\nType=Application\nName=Quillo\nExec=true\nHidden=true\n";

/// The open form of a store without any account, which therefore has an error to begin with.
struct Form {
    Form() {
        surroundings.start();
        surroundings.waitUntilSettled();
        environment.emplace(surroundings.store());
    }

    /// To be called once; what a test prepares before is there when the form opens.
    void open() {
        view.emplace();
        view->show();
        settle();
    }

    /// Views render on a later turn than the change.
    static void settle() { drainEvents(); }

    [[nodiscard]] AppStore& store() { return surroundings.store(); }

    [[nodiscard]] QLineEdit& field(const QString& title) const {
        for (auto* each : view->findChildren<QLineEdit*>()) {
            if (each->accessibleName() == title) {
                return *each;
            }
        }
        qFatal("no field %s", qPrintable(title));
    }

    [[nodiscard]] QCheckBox& box(const QString& title) const {
        for (auto* each : view->findChildren<QCheckBox*>()) {
            if (each->text() == title) {
                return *each;
            }
        }
        qFatal("no check box %s", qPrintable(title));
    }

    [[nodiscard]] QComboBox& interval() const { return *view->findChild<QComboBox*>(); }

    [[nodiscard]] QLabel* label(const QString& text) const {
        for (auto* each : view->findChildren<QLabel*>()) {
            if (each->isVisibleTo(&*view) && each->text() == text) {
                return each;
            }
        }
        return nullptr;
    }

    /// The titles of the sections, from top to bottom.
    [[nodiscard]] QStringList sections() const {
        QMap<int, QString> byPlace;
        for (const auto* each : view->findChildren<QGroupBox*>()) {
            if (each->isVisibleTo(&*view)) {
                byPlace.insert(each->mapTo(&*view, QPoint()).y(), each->title());
            }
        }
        return byPlace.values();
    }

    void writeLoginItem(const QByteArray& text) const {
        QFile file(surroundings.loginItemPath());
        if (!QDir().mkpath(QFileInfo(file).path()) || !file.open(QIODevice::WriteOnly) ||
            file.write(text) < 0) {
            qFatal("no temporary folder");
        }
    }

    StoreFixture surroundings;
    std::optional<Environment> environment;
    std::optional<SettingsView> view;
};

} // namespace

class SettingsViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { leaveSessionBus(); }

    void isExactlyAsLargeAsItMustBe() {
        Form form;
        form.open();
        QCOMPARE(form.view->size(), QSize(460, 380));
        QCOMPARE(form.view->minimumSize(), form.view->maximumSize());
    }

    void sectionsStandInTheirOrder() {
        Form form;
        form.open();
        QCOMPARE(form.sections(), (QStringList{u"Backend"_s, u"Authentication"_s, u"Refresh"_s, u"Startup"_s,
                                               u"Global hotkey"_s, u"Last error"_s}));
    }

    void pickerHasThePresetsInTheirOrder() {
        Form form;
        form.open();
        QCOMPARE(form.interval().count(), static_cast<int>(intervalPresets.size()));
        for (int entry = 0; entry < form.interval().count(); ++entry) {
            const auto& preset = intervalPresets[static_cast<std::size_t>(entry)];
            QCOMPARE(form.interval().itemText(entry), preset.label);
            QCOMPARE(form.interval().itemData(entry).toLongLong(), preset.seconds);
        }
    }

    void settingsAreShownWhenItOpens() {
        Form form;
        form.store().settings.backend = u"https://other.example/ "_s;
        form.store().settings.verifyTLS = false;
        form.store().settings.apiKey = u"secret"_s;
        form.store().settings.refreshInterval = 900;
        form.store().settings.hotKeyEnabled = false;
        form.open();
        QCOMPARE(form.field(urlTitle).text(), u"https://other.example/ "_s);
        QVERIFY(!form.box(verifyTitle).isChecked());
        QCOMPARE(form.field(keyTitle).text(), u"secret"_s);
        QCOMPARE(form.interval().currentText(), u"15 minutes"_s);
        QVERIFY(!form.box(hotKeyTitle).isChecked());
        QVERIFY(!form.box(loginTitle).isChecked());
    }

    void everyKeystrokeIsWrittenAtOnce() {
        Form form;
        form.open();
        form.field(urlTitle).clear();
        QTest::keyClicks(&form.field(urlTitle), u"ht"_s);
        QCOMPARE(form.store().settings.backend.get(), u"ht"_s);
        QCOMPARE(form.surroundings.defaults.string(u"backend"_s), u"ht"_s);
        QTest::keyClicks(&form.field(urlTitle), u"t"_s);
        QCOMPARE(form.surroundings.defaults.string(u"backend"_s), u"htt"_s);
        QTest::keyClicks(&form.field(keyTitle), u"key"_s);
        QCOMPARE(form.store().settings.apiKey.get(), u"key"_s);
    }

    void everySwitchIsWrittenAtOnce() {
        Form form;
        form.open();
        form.box(verifyTitle).click();
        QCOMPARE(form.surroundings.defaults.object(u"verifyTLS"_s), QVariant(false));
        form.box(hotKeyTitle).click();
        QCOMPARE(form.surroundings.defaults.object(u"hotKeyEnabled"_s), QVariant(false));
        QVERIFY(waitUntil([&] { return form.surroundings.hotKeys.isEmpty(); }));
        form.box(hotKeyTitle).click();
        QCOMPARE(form.surroundings.defaults.object(u"hotKeyEnabled"_s), QVariant(true));
        QVERIFY(waitUntil([&] { return form.surroundings.hotKeys.size() == 1; }));
    }

    void openingItWritesNothing() {
        Form form;
        const auto keys = form.surroundings.hotKeys;
        form.open();
        for (const auto& key : {u"verifyTLS"_s, u"refreshInterval"_s, u"hotKeyEnabled"_s}) {
            QVERIFY(!form.surroundings.defaults.object(key).isValid());
        }
        QVERIFY(!QFile::exists(form.surroundings.loginItemPath()));
        QCOMPARE(form.surroundings.hotKeys, keys);
    }

    void clearedKeyIsTheEmptyKey() {
        Form form;
        form.store().settings.apiKey = u"secret"_s;
        form.open();
        form.field(keyTitle).clear();
        QCOMPARE(form.store().settings.apiKey.get(), QString());
    }

    void keyIsMasked() {
        Form form;
        form.store().settings.apiKey = u"secret"_s;
        form.open();
        QCOMPARE(form.field(keyTitle).echoMode(), QLineEdit::Password);
        QVERIFY(!form.field(keyTitle).displayText().contains(u"secret"_s));
        QVERIFY(form.field(urlTitle).echoMode() == QLineEdit::Normal);
    }

    void intervalThatIsNoPresetHasNoEntryUntilOneIsChosen() {
        Form form;
        form.store().settings.refreshInterval = 120;
        form.open();
        QCOMPARE(form.interval().currentIndex(), -1);
        QCOMPARE(form.store().settings.refreshInterval.get(), 120);

        form.interval().setFocus();
        QTest::keyClick(&form.interval(), Qt::Key_End);
        QCOMPARE(form.interval().currentText(), u"Manual only"_s);
        QCOMPARE(form.store().settings.refreshInterval.get(), 0);
        QCOMPARE(form.surroundings.defaults.object(u"refreshInterval"_s).toLongLong(), 0);
    }

    void wheelScrollsPastThePickerAndLeavesItAlone() {
        Form form;
        form.open();
        const auto place = form.interval().rect().center();
        QWheelEvent down(place, form.interval().mapToGlobal(place), {}, {0, -120}, Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&form.interval(), &down);
        QCOMPARE(form.interval().currentText(), u"5 minutes"_s);
        QCOMPARE(form.store().settings.refreshInterval.get(), 300);
    }

    void changesElsewhereAreShown() {
        Form form;
        form.open();
        form.store().settings.refreshInterval = 3600;
        form.store().settings.backend = u"https://elsewhere.example"_s;
        form.settle();
        QCOMPARE(form.interval().currentText(), u"1 hour"_s);
        QCOMPARE(form.field(urlTitle).text(), u"https://elsewhere.example"_s);
    }

    void changeElsewhereLeavesTheCursorWhereItIs() {
        Form form;
        form.open();
        form.field(urlTitle).setCursorPosition(3);
        form.store().isLoading = true;
        form.settle();
        QCOMPARE(form.field(urlTitle).cursorPosition(), 3);
    }

    void refreshNowRefreshes() {
        Form form;
        form.store().settings.apiKey = u"key"_s;
        form.open();
        auto& button = *form.view->findChild<QPushButton*>();
        QCOMPARE(button.text(), u"Refresh now"_s);
        button.click();
        QVERIFY(waitUntil([&] { return form.store().timeline->has_value(); }));
        QCOMPARE(form.surroundings.refreshes(), 1);
    }

    void launchAtLoginIsAppliedAtOnce() {
        Form form;
        form.open();
        form.box(loginTitle).click();
        QVERIFY(QFile::exists(form.surroundings.loginItemPath()));
        form.box(loginTitle).click();
        QVERIFY(!QFile::exists(form.surroundings.loginItemPath()));
    }

    void loginItemThatNeedsApprovalIsToldInOrange() {
        Form form;
        form.writeLoginItem(offEntry);
        form.open();
        const auto* note = form.label(
            u"Approval needed — open System Settings → General → Login Items and enable Quillo."_s);
        QVERIFY(note);
        QCOMPARE(note->palette().color(QPalette::WindowText), Colours::on(form.view->palette()).orange);
        QVERIFY(note->font().pointSizeF() < form.view->font().pointSizeF());
    }

    void loginItemThatCannotBeSetIsToldAndTheSwitchStays() {
        Form form;
        form.writeLoginItem(offEntry);
        form.open();
        form.box(loginTitle).click();
        form.settle();
        QVERIFY(form.box(loginTitle).isChecked());
        QVERIFY(form.label(u"Login item update failed: Quillo is switched off in the desktop’s list of "
                           "startup applications."_s));
    }

    void notesAreSmallerAndOfLessImportance() {
        Form form;
        form.open();
        for (const auto& text : {keychainNote, hotKeyNote}) {
            const auto* note = form.label(text);
            QVERIFY(note);
            QVERIFY(note->font().pointSizeF() < form.view->font().pointSizeF());
            QCOMPARE(note->palette().color(QPalette::WindowText),
                     Colours::on(form.view->palette()).secondary);
        }
    }

    void notesFollowADesktopThatTurnsDark() {
        Form form;
        form.open();
        auto dark = form.view->palette();
        dark.setColor(QPalette::Window, Qt::black);
        dark.setColor(QPalette::WindowText, Qt::white);
        form.view->setPalette(dark);
        QCOMPARE(form.label(keychainNote)->palette().color(QPalette::WindowText),
                 Colours::on(dark).secondary);
    }

    void errorIsTherePlainAndSelectableAndGoesWithTheError() {
        Form form;
        form.store().lastError = u"<b>HTTP</b> 500 &amp; more"_s;
        form.open();
        const auto* error = form.label(u"<b>HTTP</b> 500 &amp; more"_s);
        QVERIFY(error);
        QCOMPARE(error->textFormat(), Qt::PlainText);
        QVERIFY(error->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(error->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));

        form.store().lastError = std::nullopt;
        form.settle();
        QVERIFY(!form.sections().contains(u"Last error"_s));

        form.store().lastError = signInError;
        form.settle();
        QVERIFY(form.sections().contains(u"Last error"_s));
        QVERIFY(form.label(signInError));
    }

    void closingItLosesNothing() {
        Form form;
        form.open();
        form.field(urlTitle).setText(u"https://kept.example"_s);
        form.view.reset();
        QCOMPARE(form.store().settings.backend.get(), u"https://kept.example"_s);
        form.open();
        QCOMPARE(form.field(urlTitle).text(), u"https://kept.example"_s);
    }
};

QUILLO_TEST(SettingsViewTest, QApplication)
#include "SettingsViewTest.moc"
