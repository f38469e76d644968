#include "auth/TokenResponse.h"
#include "model/DecodingError.h"
#include "support/TestMain.h"

#include <QTest>

using namespace quillo;

class TokenResponseTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aWholeAnswerIsRead() {
        const auto tokens = decodeTokenResponse(
            R"({"access_token":"at","refresh_token":"rt","expires_in":299.5,"token_type":"Bearer"})");
        QCOMPARE(tokens.accessToken, QStringLiteral("at"));
        QCOMPARE(tokens.refreshToken, std::optional(QStringLiteral("rt")));
        QCOMPARE(tokens.expiresIn, 299.5);
    }

    void theRefreshTokenMayBeAbsent() {
        QVERIFY(!decodeTokenResponse(R"({"access_token":"at","expires_in":300})").refreshToken);
        QVERIFY(!decodeTokenResponse(R"({"access_token":"at","expires_in":300,"refresh_token":null})")
                     .refreshToken);
    }

    void anythingElseIsAnError_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("HTML") << QByteArray("<html>");
        QTest::newRow("no access token") << QByteArray(R"({"expires_in":300})");
        QTest::newRow("no expiry") << QByteArray(R"({"access_token":"at"})");
        QTest::newRow("expiry as text") << QByteArray(R"({"access_token":"at","expires_in":"300"})");
        QTest::newRow("refresh token as number")
            << QByteArray(R"({"access_token":"at","expires_in":300,"refresh_token":1})");
    }
    void anythingElseIsAnError() {
        QFETCH(QByteArray, body);
        QVERIFY_THROWS_EXCEPTION(DecodingError, static_cast<void>(decodeTokenResponse(body)));
    }

    void formValuesKeepOnlyLettersAndDigits() {
        QCOMPARE(formValue(QStringLiteral("a-b")), QByteArray("a%2Db"));
        QCOMPARE(formValue(QStringLiteral("Az09")), QByteArray("Az09"));
        QCOMPARE(formValue(QStringLiteral("http://127.0.0.1:53682/callback")),
                 QByteArray("http%3A%2F%2F127%2E0%2E0%2E1%3A53682%2Fcallback"));
        QCOMPARE(formValue(QStringLiteral("-_.~ +&=")), QByteArray("%2D%5F%2E%7E%20%2B%26%3D"));
        QCOMPARE(formValue(QStringLiteral("ä")), QByteArray("%C3%A4"));
    }

    void theEmailIsReadFromTheTokensPayload_data() {
        QTest::addColumn<QString>("token");
        QTest::addColumn<std::optional<QString>>("email");
        const auto token = [](const QByteArray& payload) {
            return QStringLiteral("eyJhbGciOiJub25lIn0.") +
                   QString::fromLatin1(
                       payload.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals)) +
                   QStringLiteral(".c2ln");
        };
        const auto row = [](const char* name, const QString& text, std::optional<QString> email) {
            QTest::newRow(name) << text << std::move(email);
        };
        row("present", token(R"({"email":"a@example.org"})"), QStringLiteral("a@example.org"));
        row("not ASCII, in the URL alphabet", token("{\"email\":\"\xc3\xbf\xc3\xbe?>\"}"),
            QStringLiteral("ÿþ?>"));
        row("not ASCII, in the other alphabet, with padding",
            QStringLiteral("a.eyJlbWFpbCI6IsO/w74/PiJ9Cg==.c"), QStringLiteral("ÿþ?>"));
        row("beside a number of thirty digits",
            token(R"({"n":123456789012345678901234567890,"email":"a@example.org"})"),
            QStringLiteral("a@example.org"));
        row("empty text", token(R"({"email":""})"), QStringLiteral(""));
        row("no signature", token(R"({"email":"a@example.org"})").chopped(5),
            QStringLiteral("a@example.org"));
        row("dots that separate nothing",
            QStringLiteral("..") + token(R"({"email":"x"})").replace(u'.', u".."_qs), QStringLiteral("x"));
        row("absent", token(R"({"sub":"1"})"), std::nullopt);
        row("no text", token(R"({"email":1})"), std::nullopt);
        row("null", token(R"({"email":null})"), std::nullopt);
        row("no object", token(R"(["email"])"), std::nullopt);
        row("no JSON", token("email"), std::nullopt);
        row("no UTF-8", token("{\"email\":\"\xff\"}"), std::nullopt);
        row("no base64", QStringLiteral("a.!!!.c"), std::nullopt);
        row("one piece", QStringLiteral("opaque"), std::nullopt);
        row("empty", QString(), std::nullopt);
        row("not Latin", QStringLiteral("ä.ö.ü"), std::nullopt);
    }
    void theEmailIsReadFromTheTokensPayload() {
        QFETCH(QString, token);
        QFETCH(std::optional<QString>, email);
        QCOMPARE(emailClaim(token), email);
    }
};

QUILLO_TEST(TokenResponseTest, QCoreApplication)
#include "TokenResponseTest.moc"
