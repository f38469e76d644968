#include "ui/SettingsView.h"

#include "settings/IntervalPreset.h"
#include "store/StoreFixture.h"
#include "support/TestMain.h"
#include "support/Wait.h"
#include "ui/Colours.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QWheelEvent>

#include <memory>

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

/// The form, opened in a window of its own.
struct Form {
    explicit Form(AppStore& store) : view(new SettingsView(store)) {
        window.setCentralWidget(view);
        window.show();
        settle();
    }

    /// Views render on a later turn than the change.
    static void settle() { drainEvents(); }

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
            if (each->isVisibleTo(view) && each->text() == text) {
                return each;
            }
        }
        return nullptr;
    }

    /// The titles of the sections, from top to bottom.
    [[nodiscard]] QStringList sections() const {
        QMap<int, QString> byPlace;
        for (const auto* each : view->findChildren<QGroupBox*>()) {
            if (each->isVisibleTo(view)) {
                byPlace.insert(each->mapTo(view, QPoint()).y(), each->title());
            }
        }
        return byPlace.values();
    }

    /// Whether the whole section "Last error" can be seen without scrolling.
    [[nodiscard]] bool showsError() const {
        for (const auto* each : view->findChildren<QGroupBox*>()) {
            if (each->title() == u"Last error") {
                return each->visibleRegion().boundingRect() == each->rect();
            }
        }
        return false;
    }

    void scrollToTheTop() const { view->findChild<QScrollArea*>()->verticalScrollBar()->setValue(0); }

    void pressRefresh() const { view->findChild<QPushButton*>()->click(); }

    QMainWindow window;
    SettingsView* view;
};

} // namespace

class SettingsViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        leaveSessionBus();
        surroundings = std::make_unique<StoreFixture>();
        surroundings->start();
        surroundings->waitUntilSettled();
        origin = settings().backend;
    }

    /// As for a user who has just installed the program: without any account, and told so.
    void init() {
        QFile::remove(surroundings->loginItemPath());
        store().launchAtLogin = false;
        settings().backend = origin;
        settings().verifyTLS = true;
        settings().apiKey = QString();
        settings().refreshInterval = 300;
        settings().hotKeyEnabled = true;
        store().timeline = nullptr;
        store().lastError = signInError;
        surroundings->backend.answer(target::status, Answer::http(200, statusBody()));
        QVERIFY(waitUntil([this] { return surroundings->hotKeys.size() == 1; }));
        drainEvents();
    }
    void cleanup() {
        QVERIFY(waitUntil([this] { return !store().isLoading; }));
    }
    void cleanupTestCase() { surroundings.reset(); }

    void isExactlyAsLargeAsItMustBe() {
        const Form form(store());
        QCOMPARE(form.view->size(), QSize(460, 380));
        QCOMPARE(form.view->minimumSize(), form.view->maximumSize());
    }

    void sectionsStandInTheirOrder() {
        const Form form(store());
        QCOMPARE(form.sections(), (QStringList{u"Backend"_s, u"Authentication"_s, u"Refresh"_s, u"Startup"_s,
                                               u"Global hotkey"_s, u"Last error"_s}));
    }

    void pickerHasThePresetsInTheirOrder() {
        const Form form(store());
        QCOMPARE(form.interval().count(), static_cast<int>(intervalPresets.size()));
        for (int entry = 0; entry < form.interval().count(); ++entry) {
            const auto& preset = intervalPresets[static_cast<std::size_t>(entry)];
            QCOMPARE(form.interval().itemText(entry), preset.label);
            QCOMPARE(form.interval().itemData(entry).toLongLong(), preset.seconds);
        }
    }

    void settingsAreShownWhenItOpens() {
        settings().backend = u"https://other.example/ "_s;
        settings().verifyTLS = false;
        settings().apiKey = u"secret"_s;
        settings().refreshInterval = 900;
        settings().hotKeyEnabled = false;
        const Form form(store());
        QCOMPARE(form.field(urlTitle).text(), u"https://other.example/ "_s);
        QVERIFY(!form.box(verifyTitle).isChecked());
        QCOMPARE(form.field(keyTitle).text(), u"secret"_s);
        QCOMPARE(form.interval().currentText(), u"15 minutes"_s);
        QVERIFY(!form.box(hotKeyTitle).isChecked());
        QVERIFY(!form.box(loginTitle).isChecked());
    }

    void everyKeystrokeIsWrittenAtOnce() {
        const Form form(store());
        form.field(urlTitle).clear();
        QTest::keyClicks(&form.field(urlTitle), u"ht"_s);
        QCOMPARE(settings().backend.get(), u"ht"_s);
        QCOMPARE(surroundings->defaults.string(u"backend"_s), u"ht"_s);
        QTest::keyClicks(&form.field(urlTitle), u"t"_s);
        QCOMPARE(surroundings->defaults.string(u"backend"_s), u"htt"_s);
        QTest::keyClicks(&form.field(keyTitle), u"key"_s);
        QCOMPARE(settings().apiKey.get(), u"key"_s);
    }

    void whatIsPastedWithItsLineEndIsStoredWithoutIt_data() {
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<QString>("stored");
        QTest::newRow("line feed") << u"key-1\n"_s << u"key-1"_s;
        QTest::newRow("carriage return and line feed") << u"key-1\r\n"_s << u"key-1"_s;
        QTest::newRow("line separator") << u"key-1\u2028"_s << u"key-1"_s;
        QTest::newRow("paragraph separator") << u"key-1\u2029"_s << u"key-1"_s;
        QTest::newRow("before and within") << u"\nkey\n-1\n\n"_s << u"key-1"_s;
        QTest::newRow("spaces are the user's own") << u" key-1 "_s << u" key-1 "_s;
    }
    void whatIsPastedWithItsLineEndIsStoredWithoutIt() {
        QFETCH(QString, pasted);
        QFETCH(QString, stored);
        const Form form(store());
        QGuiApplication::clipboard()->setText(pasted);
        for (const auto& title : {urlTitle, keyTitle}) {
            auto& field = form.field(title);
            auto& setting = title == urlTitle ? settings().backend : settings().apiKey;
            field.clear();
            QStringList values;
            const auto assigned = setting.observe(Published<QString>::Repeats::deliver,
                                                  [&values](const QString& value) { values += value; });
            field.paste();
            QCOMPARE(values, QStringList{stored});
            QCOMPARE(field.text(), stored);
            // In the middle of what is there already the cursor follows what was pasted.
            field.setText(u"ab"_s);
            field.setCursorPosition(1);
            field.paste();
            QCOMPARE(setting.get(), u'a' + stored + u'b');
            QCOMPARE(field.cursorPosition(), 1 + static_cast<int>(stored.size()));
        }
    }

    void everySwitchIsWrittenAtOnce() {
        const Form form(store());
        form.box(verifyTitle).click();
        QCOMPARE(surroundings->defaults.object(u"verifyTLS"_s), QVariant(false));
        form.box(hotKeyTitle).click();
        QCOMPARE(surroundings->defaults.object(u"hotKeyEnabled"_s), QVariant(false));
        QVERIFY(waitUntil([&] { return surroundings->hotKeys.isEmpty(); }));
        form.box(hotKeyTitle).click();
        QCOMPARE(surroundings->defaults.object(u"hotKeyEnabled"_s), QVariant(true));
        QVERIFY(waitUntil([&] { return surroundings->hotKeys.size() == 1; }));
    }

    void openingItWritesNothing() {
        int written = 0;
        const auto assigned = settings().objectWillChange.observe([&written] { ++written; });
        const Form form(store());
        QCOMPARE(written, 0);
        QVERIFY(!QFile::exists(surroundings->loginItemPath()));
    }

    void clearedKeyIsTheEmptyKey() {
        settings().apiKey = u"secret"_s;
        const Form form(store());
        form.field(keyTitle).clear();
        QCOMPARE(settings().apiKey.get(), QString());
    }

    void keyIsMasked() {
        settings().apiKey = u"secret"_s;
        const Form form(store());
        QCOMPARE(form.field(keyTitle).echoMode(), QLineEdit::Password);
        QVERIFY(!form.field(keyTitle).displayText().contains(u"secret"_s));
        QVERIFY(form.field(urlTitle).echoMode() == QLineEdit::Normal);
    }

    void intervalThatIsNoPresetHasNoEntryUntilOneIsChosen() {
        settings().refreshInterval = 120;
        const Form form(store());
        QCOMPARE(form.interval().currentIndex(), -1);
        QCOMPARE(settings().refreshInterval.get(), 120);

        form.interval().setFocus();
        QTest::keyClick(&form.interval(), Qt::Key_End);
        QCOMPARE(form.interval().currentText(), u"Manual only"_s);
        QCOMPARE(settings().refreshInterval.get(), 0);
        QCOMPARE(surroundings->defaults.object(u"refreshInterval"_s).toLongLong(), 0);
    }

    void wheelScrollsPastThePickerAndLeavesItAlone() {
        const Form form(store());
        const auto place = form.interval().rect().center();
        QWheelEvent down(place, form.interval().mapToGlobal(place), {}, {0, -120}, Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&form.interval(), &down);
        QCOMPARE(form.interval().currentText(), u"5 minutes"_s);
        QCOMPARE(settings().refreshInterval.get(), 300);
    }

    void changesElsewhereAreShown() {
        const Form form(store());
        settings().refreshInterval = 3600;
        settings().backend = u"https://elsewhere.example"_s;
        form.settle();
        QCOMPARE(form.interval().currentText(), u"1 hour"_s);
        QCOMPARE(form.field(urlTitle).text(), u"https://elsewhere.example"_s);
    }

    void changeElsewhereLeavesTheCursorWhereItIs() {
        const Form form(store());
        form.field(urlTitle).setCursorPosition(3);
        store().lastError = u"HTTP 500"_s;
        form.settle();
        QCOMPARE(form.field(urlTitle).cursorPosition(), 3);
    }

    void refreshNowRefreshes() {
        settings().apiKey = u"key"_s;
        const auto before = surroundings->refreshes();
        const Form form(store());
        QCOMPARE(form.view->findChild<QPushButton*>()->text(), u"Refresh now"_s);
        form.pressRefresh();
        QVERIFY(waitUntil([&] { return *store().timeline != nullptr; }));
        QCOMPARE(surroundings->refreshes(), before + 1);
    }

    void settingsThatCannotBeSavedAreToldForAsLongAsTheyCannot() {
        const auto isTold = [&](const Form& form) {
            form.settle();
            return form.showsError() && store().settingsProblem() &&
                   form.label(*store().settingsProblem()) != nullptr;
        };
        store().lastError = std::nullopt;
        QVERIFY(surroundings->defaults.synchronize(std::chrono::seconds(20)));
        const auto lock = surroundings->folder.filePath(u"defaults.json.lock"_s);
        QVERIFY(QFile::remove(lock) && QDir().mkdir(lock));
        const Form form(store());
        settings().verifyTLS = false;
        QVERIFY(waitUntil([&] { return isTold(form); }));
        QVERIFY(store().settingsProblem()->startsWith(u"Settings could not be saved: "));
        QVERIFY(QDir().rmdir(lock));
        settings().verifyTLS = true;
        QVERIFY(waitUntil([&] { return !isTold(form) && !store().settingsProblem(); }));
        QVERIFY(!form.showsError());
    }

    void aRefreshThatFailsBringsItsErrorIntoView() {
        settings().apiKey = u"key"_s;
        store().lastError = std::nullopt;
        surroundings->backend.answer(target::status, Answer::http(500));
        const Form form(store());
        form.pressRefresh();
        QVERIFY(waitUntil([&] { return form.label(u"HTTP 500"_s) != nullptr; }));
        QVERIFY(form.showsError());
    }

    void aRefreshThatFailsAsTheLastOneDidBringsTheErrorIntoView() {
        settings().apiKey = u"key"_s;
        store().lastError = u"HTTP 500"_s;
        surroundings->backend.answer(target::status, Answer::http(500));
        const auto before = surroundings->refreshes();
        const Form form(store());
        QVERIFY(!form.showsError());
        form.pressRefresh();
        QVERIFY(waitUntil([&] { return surroundings->refreshes() == before + 1 && !store().isLoading; }));
        form.settle();
        QVERIFY(form.showsError());
    }

    void aRefreshWithoutAnAccountBringsTheErrorIntoView() {
        const Form form(store());
        QVERIFY(!form.showsError());
        form.pressRefresh();
        form.settle();
        QVERIFY(form.showsError());
    }

    void anotherErrorIsBroughtIntoViewAndTheSameOneLeavesTheFormWhereItIs() {
        const Form form(store());
        store().lastError = u"HTTP 500"_s;
        form.settle();
        QVERIFY(form.showsError());
        form.scrollToTheTop();
        QVERIFY(!form.showsError());
        store().lastError = u"HTTP 500"_s;
        form.settle();
        QVERIFY(!form.showsError());
        store().lastError = u"A longer one that takes several lines. "_s.repeated(5);
        form.settle();
        QVERIFY(form.showsError());
    }

    void launchAtLoginIsAppliedAtOnce() {
        const Form form(store());
        form.box(loginTitle).click();
        QVERIFY(QFile::exists(surroundings->loginItemPath()));
        form.box(loginTitle).click();
        QVERIFY(!QFile::exists(surroundings->loginItemPath()));
    }

    void loginItemThatNeedsApprovalIsToldInOrange() {
        writeLoginItem(offEntry);
        const Form form(store());
        const auto* note = form.label(
            u"Approval needed — open System Settings → General → Login Items and enable Quillo."_s);
        QVERIFY(note);
        QCOMPARE(note->palette().color(QPalette::WindowText), Colours::on(form.view->palette()).orange);
        QVERIFY(note->font().pointSizeF() < form.view->font().pointSizeF());
    }

    void loginItemThatCannotBeSetIsToldAndTheSwitchStays() {
        writeLoginItem(offEntry);
        const Form form(store());
        form.box(loginTitle).click();
        form.settle();
        QVERIFY(form.box(loginTitle).isChecked());
        QVERIFY(form.label(u"Login item update failed: Quillo is switched off in the desktop’s list of "
                           "startup applications."_s));
    }

    void theLoginItemsMessageIsStaleAfterTheDesktopsOwnSettingWasChanged() {
        writeLoginItem(offEntry);
        Form form(store());
        const auto message =
            u"Approval needed — open System Settings → General → Login Items and enable Quillo."_s;
        QVERIFY(QTest::qWaitForWindowActive(&form.window));
        QVERIFY(form.label(message));
        QWidget desktopSettings;
        desktopSettings.show();
        desktopSettings.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&desktopSettings));
        QFile::remove(surroundings->loginItemPath());
        QVERIFY(form.label(message));
        form.window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&form.window));
        QVERIFY(!form.label(message));
    }

    void notesAreSmallerAndOfLessImportance() {
        const Form form(store());
        for (const auto& text : {keychainNote, hotKeyNote}) {
            const auto* note = form.label(text);
            QVERIFY(note);
            QVERIFY(note->font().pointSizeF() < form.view->font().pointSizeF());
            QCOMPARE(note->palette().color(QPalette::WindowText),
                     Colours::on(form.view->palette()).secondary);
        }
    }

    void notesFollowADesktopThatTurnsDark() {
        const Form form(store());
        auto dark = form.view->palette();
        dark.setColor(QPalette::Window, Qt::black);
        dark.setColor(QPalette::WindowText, Qt::white);
        form.view->setPalette(dark);
        QCOMPARE(form.label(keychainNote)->palette().color(QPalette::WindowText),
                 Colours::on(dark).secondary);
    }

    void errorIsTherePlainAndSelectableAndGoesWithTheError() {
        store().lastError = u"<b>HTTP</b> 500 &amp; more"_s;
        const Form form(store());
        const auto* error = form.label(u"<b>HTTP</b> 500 &amp; more"_s);
        QVERIFY(error);
        QCOMPARE(error->textFormat(), Qt::PlainText);
        QVERIFY(error->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(error->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));

        store().lastError = std::nullopt;
        form.settle();
        QVERIFY(!form.sections().contains(u"Last error"_s));

        store().lastError = signInError;
        form.settle();
        QVERIFY(form.sections().contains(u"Last error"_s));
        QVERIFY(form.label(signInError));
    }

    void closingItLosesNothing() {
        {
            const Form form(store());
            form.field(urlTitle).setText(u"https://kept.example"_s);
        }
        QCOMPARE(settings().backend.get(), u"https://kept.example"_s);
        const Form form(store());
        QCOMPARE(form.field(urlTitle).text(), u"https://kept.example"_s);
    }

private:
    [[nodiscard]] AppStore& store() const { return surroundings->store(); }
    [[nodiscard]] AppSettings& settings() const { return store().settings; }

    void writeLoginItem(const QByteArray& text) const {
        QFile file(surroundings->loginItemPath());
        if (!QDir().mkpath(QFileInfo(file).path()) || !file.open(QIODevice::WriteOnly) ||
            file.write(text) < 0) {
            qFatal("no temporary folder");
        }
    }

    std::unique_ptr<StoreFixture> surroundings;
    QString origin;
};

QUILLO_TEST(SettingsViewTest, QApplication)
#include "SettingsViewTest.moc"
