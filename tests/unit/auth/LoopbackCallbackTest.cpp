#include "auth/LoopbackCallback.h"
#include "support/TestMain.h"

#include <QTest>

using namespace quillo;

namespace {
using Expected = std::optional<LoopbackCallback>;
} // namespace

Q_DECLARE_METATYPE(Expected)

class LoopbackCallbackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstCodeAndStateOfTheRequestLineCount_data() {
        QTest::addColumn<QString>("head");
        QTest::addColumn<Expected>("expected");
        const auto row = [](const char* name, const QString& head, const QString& code,
                            const QString& state) {
            QTest::newRow(name) << head << Expected(LoopbackCallback{code, state});
        };
        const auto refused = [](const char* name, const QString& head) {
            QTest::newRow(name) << head << Expected();
        };
        const auto text = [](const char* latin1) { return QString::fromLatin1(latin1); };

        row("as browsers send it",
            text("GET /callback?code=a&state=b HTTP/1.1\r\nHost: 127.0.0.1:53682\r\n\r\n"), text("a"),
            text("b"));
        row("any path", text("GET /anything?code=a&state=b HTTP/1.1\r\n\r\n"), text("a"), text("b"));
        row("any method", text("POST /?code=a&state=b HTTP/1.1\r\n"), text("a"), text("b"));
        row("no version", text("GET /?code=a&state=b"), text("a"), text("b"));
        row("several spaces", text("GET   /?code=a&state=b   HTTP/1.1\r\n"), text("a"), text("b"));
        row("other items around", text("GET /?iss=x&code=a&session=1&state=b&z HTTP/1.1\r\n"), text("a"),
            text("b"));
        row("repeated: the first counts", text("GET /?code=a&code=c&state=b&state=d HTTP/1.1\r\n"), text("a"),
            text("b"));
        row("empty values are values", text("GET /?code=&state= HTTP/1.1\r\n"), QString(), QString());
        row("percent-encoding", text("GET /?code=a%2Fb%3Dc&state=%C3%A4 HTTP/1.1\r\n"), text("a/b=c"),
            QStringLiteral("ä"));
        row("an encoded separator separates nothing", text("GET /?code=a%26state%3Dx&state=b HTTP/1.1\r\n"),
            text("a&state=x"), text("b"));
        row("plus stays plus", text("GET /?code=a+b&state=c HTTP/1.1\r\n"), text("a+b"), text("c"));
        row("a second = belongs to the value", text("GET /?code=a=b&state=c HTTP/1.1\r\n"), text("a=b"),
            text("c"));
        row("absolute target", text("GET http://127.0.0.1:53682/callback?code=a&state=b HTTP/1.1\r\n"),
            text("a"), text("b"));
        row("an error beside a code", text("GET /?error=x&code=a&state=b HTTP/1.1\r\n"), text("a"),
            text("b"));

        refused("empty", QString());
        refused("one word", text("GET"));
        refused("blank line first", text("\r\nGET /?code=a&state=b HTTP/1.1\r\n"));
        refused("no query", text("GET /callback HTTP/1.1\r\n"));
        refused("no state", text("GET /?code=a HTTP/1.1\r\n"));
        refused("no code", text("GET /?state=b HTTP/1.1\r\n"));
        refused("cancelled at the provider", text("GET /?error=access_denied&state=b HTTP/1.1\r\n"));
        refused("code without value", text("GET /?code&state=b HTTP/1.1\r\n"));
        refused("the first code has no value", text("GET /?code&code=a&state=b HTTP/1.1\r\n"));
        refused("names are exact", text("GET /?Code=a&STATE=b HTTP/1.1\r\n"));
        refused("code in a header only", text("GET / HTTP/1.1\r\nX: /?code=a&state=b\r\n"));
        refused("code in the fragment", text("GET /#?code=a&state=b HTTP/1.1\r\n"));
        refused("broken percent-encoding", text("GET /?code=%zz&state=b HTTP/1.1\r\n"));
        refused("no UTF-8 after decoding", text("GET /?code=%ff&state=b HTTP/1.1\r\n"));
        refused("a TLS handshake", QString::fromLatin1("\x16\x03\x01\x02\x00\x01\x00", 7));
        refused("NUL bytes", QString(100, QChar(0)));
        refused("16,384 letters", QString(16'384, u'a'));
        refused("16,384 spaces", QString(16'384, u' '));
    }
    void theFirstCodeAndStateOfTheRequestLineCount() {
        QFETCH(QString, head);
        QFETCH(Expected, expected);
        const auto callback = parseCallback(head);
        QCOMPARE(callback.has_value(), expected.has_value());
        if (expected) {
            QCOMPARE(callback->code, expected->code);
            QCOMPARE(callback->state, expected->state);
        }
    }

    void thePagesAreSentToTheByte() {
        QCOMPARE(
            callbackResponse(true),
            QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n"
                       "Content-Length: 140\r\n\r\n"
                       "<h2 style='font-family:sans-serif'>Signed in &#10003;</h2><p "
                       "style='font-family:sans-serif'>You can close this tab and return to Quillo.</p>"));
        QCOMPARE(callbackResponse(false),
                 QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n"
                            "Content-Length: 123\r\n\r\n"
                            "<h2 style='font-family:sans-serif'>Sign-in failed</h2><p "
                            "style='font-family:sans-serif'>Return to Quillo and try again.</p>"));
    }
};

QUILLO_TEST(LoopbackCallbackTest, QCoreApplication)
#include "LoopbackCallbackTest.moc"
