#include "ui/CommandLine.h"

#include "BuildConfiguration.h"
#include "support/TestMain.h"

#include <QTest>

#include <vector>

using namespace quillo;

namespace {

std::optional<CommandLineAnswer> answerTo(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "quillo");
    return answerCommandLine(arguments);
}

} // namespace

class CommandLineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutArgumentsTheProgramRuns() {
        QVERIFY(!answerTo({}));
        QVERIFY(!answerCommandLine({})); // a caller may leave out even the name
    }

    void theVersionIsOneLine() {
        const auto answer = answerTo({"--version"});
        QVERIFY(answer);
        QCOMPARE(answer->output, std::string("quillo ") + build::version.data() + "\n");
        QCOMPARE(answer->error, std::string());
        QCOMPARE(answer->status, 0);
    }

    void helpNamesBothOptions() {
        const auto answer = answerTo({"--help"});
        QVERIFY(answer);
        QVERIFY(answer->output.starts_with("usage: quillo [--version | --help]\n"));
        QVERIFY(answer->output.find("\n  --version ") != std::string::npos);
        QVERIFY(answer->output.find("\n  --help ") != std::string::npos);
        QVERIFY(answer->output.ends_with('\n'));
        QCOMPARE(answer->error, std::string());
        QCOMPARE(answer->status, 0);
    }

    void anythingElseIsAUsageError_data() {
        QTest::addColumn<std::vector<const char*>>("arguments");
        QTest::addColumn<QByteArray>("refused");
        QTest::newRow("unknown") << std::vector<const char*>{"--bogus"} << QByteArray("--bogus");
        QTest::newRow("empty") << std::vector<const char*>{""} << QByteArray("");
        QTest::newRow("abbreviated") << std::vector<const char*>{"--vers"} << QByteArray("--vers");
        QTest::newRow("short") << std::vector<const char*>{"-h"} << QByteArray("-h");
        QTest::newRow("with a value") << std::vector<const char*>{"--help=all"} << QByteArray("--help=all");
        QTest::newRow("a file") << std::vector<const char*>{"ledger.json"} << QByteArray("ledger.json");
        QTest::newRow("the toolkit's") << std::vector<const char*>{"-platform", "xcb"} << QByteArray("xcb");
        QTest::newRow("both") << std::vector<const char*>{"--version", "--help"} << QByteArray("--help");
        QTest::newRow("end of options") << std::vector<const char*>{"--"} << QByteArray("--");
    }
    void anythingElseIsAUsageError() {
        QFETCH(const std::vector<const char*>, arguments);
        QFETCH(const QByteArray, refused);
        const auto answer = answerTo(arguments);
        QVERIFY(answer);
        QCOMPARE(answer->output, std::string());
        QCOMPARE(answer->error,
                 "quillo: cannot use '" + refused.toStdString() + "'\nusage: quillo [--version | --help]\n");
        QCOMPARE(answer->status, 2);
    }
};

QUILLO_TEST(CommandLineTest, QCoreApplication)
#include "CommandLineTest.moc"
