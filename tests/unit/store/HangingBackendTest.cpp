#include "store/StoreFixture.h"
#include "support/PrivateBus.h"
#include "support/PrivateKeyring.h"
#include "support/ProcessResources.h"
#include "support/TestCertificates.h"
#include "support/TestMain.h"
#include "support/Wait.h"

#include <QTest>

using namespace quillo;
using namespace quillo::test;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int openings = 2000;
/// Code under a sanitizer takes several times the memory.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr qint64 boundKiB = qint64{800} * 1024;
#else
constexpr qint64 boundKiB = qint64{80} * 1024;
#endif

/// As the transport's; requests and connections are few enough to be told apart from a leak.
constexpr qsizetype connectionsAtOnce = 6;

} // namespace

/// While no refresh has succeeded, every opening of the menu starts one. A backend that hangs must not end
/// the program by that.
class HangingBackendTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { keyring.start(); }

    void thousandsOfMenuOpeningsStayBounded_data() {
        QTest::addColumn<bool>("verifyTLS");
        QTest::newRow("certificates checked") << true;
        QTest::newRow("certificates not checked") << false;
    }
    void thousandsOfMenuOpeningsStayBounded() {
        QFETCH(const bool, verifyTLS);
        const TestCertificates certificates;
        StoreFixture fixture(HTTPSession::Options{.additionalAuthorities = {certificates.authority()}});
        RoutedServer backend(verifyTLS ? certificates.trusted() : certificates.selfSigned());
        for (const auto& path : {target::status, target::timeline, target::snapshots}) {
            backend.answer(path, Answer::silence());
        }
        fixture.defaults.setString(u"backend"_s, backend.origin());
        fixture.defaults.setBoolean(u"verifyTLS"_s, verifyTLS);
        fixture.keepApiKey();
        auto& store = fixture.start();
        QVERIFY(waitUntil([&] { return backend.openConnections() == 3; }));
        const auto before = ProcessResources::now();
        ProcessResources most = before;
        for (int opening = 0; opening < openings; ++opening) {
            fixture.notifications.post(notification::menuDidBeginTracking);
            QCoreApplication::processEvents();
            if (opening % 50 == 0) {
                const auto now = ProcessResources::now();
                most.descriptors = std::max(most.descriptors, now.descriptors);
                most.threads = std::max(most.threads, now.threads);
                most.residentKiB = std::max(most.residentKiB, now.residentKiB);
            }
        }
        most.residentKiB = std::max(most.residentKiB, ProcessResources::now().residentKiB);
        QVERIFY(backend.openConnections() <= connectionsAtOnce);
        qInfo("%d openings: %lld KiB, %lld descriptors and %lld threads more at most", openings,
              static_cast<long long>(most.residentKiB - before.residentKiB),
              static_cast<long long>(most.descriptors - before.descriptors),
              static_cast<long long>(most.threads - before.threads));
        QVERIFY(most.residentKiB - before.residentKiB < boundKiB);
        // Both ends of a connection are in this process.
        QVERIFY(most.descriptors - before.descriptors <= 8 * connectionsAtOnce);
        QVERIFY(most.threads - before.threads <= connectionsAtOnce);
        QVERIFY(store.isLoading);
        fixture.stop();
        QVERIFY(waitUntil([&] { return backend.openConnections() == 0; }));
        QVERIFY(waitUntil([&] { return ProcessResources::now().threads <= before.threads; }));
    }

private:
    PrivateBus bus;
    PrivateKeyring keyring{bus};
};

QUILLO_TEST(HangingBackendTest, QCoreApplication)
#include "HangingBackendTest.moc"
