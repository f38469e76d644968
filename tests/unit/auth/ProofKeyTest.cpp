#include "auth/ProofKey.h"
#include "support/TestMain.h"

#include <QRegularExpression>
#include <QSet>
#include <QTest>

using namespace quillo;

class ProofKeyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theChallengeIsThatOfTheStandardsExample() {
        // RFC 7636, appendix B
        QCOMPARE(codeChallenge(QStringLiteral("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk")),
                 QStringLiteral("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"));
    }

    void aVerifierHas64CharactersAndItsChallenge43() {
        const QRegularExpression base64Url(QStringLiteral("^[A-Za-z0-9_-]*$"));
        const auto verifier = randomText(48);
        const auto challenge = codeChallenge(verifier);
        QCOMPARE(verifier.size(), 64);
        QCOMPARE(challenge.size(), 43);
        QVERIFY(base64Url.match(verifier).hasMatch());
        QVERIFY(base64Url.match(challenge).hasMatch());
    }

    void aStateHas32CharactersAndNoTwoAreAlike() {
        QSet<QString> seen;
        for (int count = 0; count < 1000; ++count) {
            const auto state = randomText(24);
            QCOMPARE(state.size(), 32);
            seen.insert(state);
        }
        QCOMPARE(seen.size(), 1000);
    }
};

QUILLO_TEST(ProofKeyTest, QCoreApplication)
#include "ProofKeyTest.moc"
