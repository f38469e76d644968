#include "model/Decoding.h"

#include "DecodingFailure.h"
#include "support/TestMain.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace quillo;
using test::decodingFailure;

namespace {

/// See tests/bodies/README.md.
[[nodiscard]] QJsonArray bodiesOf(const QString& record) {
    QFile file(u"%1/%2.json"_s.arg(QString::fromUtf8(QUILLO_BODIES), record));
    const bool isOpen = file.open(QIODevice::ReadOnly);
    return isOpen ? QJsonDocument::fromJson(file.readAll()).array() : QJsonArray();
}

[[nodiscard]] QString failureOf(const QString& record, const QByteArray& body) {
    if (record == u"ledger"_s) {
        return decodingFailure([&] { return decodeTimeline(body); });
    }
    if (record == u"status"_s) {
        return decodingFailure([&] { return decodeStatusResponse(body); });
    }
    return decodingFailure([&] { return decodeSnapshotListResponse(body); });
}

} // namespace

/// The bodies that `sandbox/check.mjs` is held to, too.
class BodiesTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bodiesAreTakenAndRefusedAsListed_data();
    void bodiesAreTakenAndRefusedAsListed();
};

void BodiesTest::bodiesAreTakenAndRefusedAsListed_data() {
    QTest::addColumn<QString>("record");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("verdict");
    for (const QString& record : {u"ledger"_s, u"status"_s, u"snapshots"_s}) {
        const QJsonArray bodies = bodiesOf(record);
        QVERIFY(!bodies.isEmpty());
        for (const auto& entry : bodies) {
            const QJsonObject listed = entry.toObject();
            const QByteArray encoded = listed[u"base64"].toString().toLatin1();
            const QByteArray body = listed.contains(u"base64"_s) ? QByteArray::fromBase64(encoded)
                                                                 : listed[u"body"].toString().toUtf8();
            QTest::newRow(qUtf8Printable(record + u": "_s + listed[u"what"].toString()))
                << record << body << listed[u"refused"].toString(u"decoded"_s);
        }
    }
}

void BodiesTest::bodiesAreTakenAndRefusedAsListed() {
    QFETCH(QString, record);
    QFETCH(QByteArray, body);
    QFETCH(QString, verdict);
    const QString failure = failureOf(record, body);
    QVERIFY2(failure.startsWith(verdict), qUtf8Printable(failure));
}

QUILLO_TEST(BodiesTest, QCoreApplication)
#include "BodiesTest.moc"
