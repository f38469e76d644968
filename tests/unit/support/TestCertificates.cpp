#include "support/TestCertificates.h"

#include "support/ChildProcess.h"

#include <QFile>

namespace quillo::test {

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList newKey{u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s, u"ec_paramgen_curve:P-256"_s, u"-nodes"_s};
constexpr char loopbackNames[] = "IP:127.0.0.1,DNS:localhost";

QByteArray contents(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path));
    }
    return file.readAll();
}

} // namespace

TestCertificates::TestCertificates() {
    runOpenSSL(QStringList{u"req"_s, u"-x509"_s, u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=Test authority"_s,
                           u"-keyout"_s, path(u"authority.key"_s), u"-out"_s, path(u"authority.pem"_s)} +
               newKey);
    authorityCertificate = QSslCertificate(contents(path(u"authority.pem"_s)));
}

ServerIdentity TestCertificates::trusted() const {
    return issue(loopbackNames, 2);
}

ServerIdentity TestCertificates::expired() const {
    return issue(loopbackNames, -1);
}

ServerIdentity TestCertificates::wrongHost() const {
    return issue("DNS:elsewhere.example", 2);
}

ServerIdentity TestCertificates::selfSigned() const {
    runOpenSSL(QStringList{u"req"_s, u"-x509"_s, u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=127.0.0.1"_s,
                           u"-addext"_s, u"subjectAltName="_s + QLatin1StringView(loopbackNames),
                           u"-keyout"_s, path(u"self.key"_s), u"-out"_s, path(u"self.pem"_s)} +
               newKey);
    return {QSslKey(contents(path(u"self.key"_s)), QSsl::Ec), QSslCertificate(contents(path(u"self.pem"_s)))};
}

ServerIdentity TestCertificates::issue(const QByteArray& alternativeNames, int days) const {
    runOpenSSL(QStringList{u"req"_s, u"-subj"_s, u"/CN=Test server"_s, u"-keyout"_s, path(u"server.key"_s),
                           u"-out"_s, path(u"server.csr"_s)} +
               newKey);
    QFile extensions(path(u"extensions"_s));
    if (!extensions.open(QIODevice::WriteOnly)) {
        qFatal("cannot write %s", qPrintable(extensions.fileName()));
    }
    extensions.write("subjectAltName=" + alternativeNames + "\n");
    extensions.close();
    runOpenSSL({u"x509"_s, u"-req"_s, u"-in"_s, path(u"server.csr"_s), u"-CA"_s, path(u"authority.pem"_s),
                u"-CAkey"_s, path(u"authority.key"_s), u"-CAcreateserial"_s, u"-days"_s,
                QString::number(days), u"-extfile"_s, extensions.fileName(), u"-out"_s,
                path(u"server.pem"_s)});
    return {QSslKey(contents(path(u"server.key"_s)), QSsl::Ec),
            QSslCertificate(contents(path(u"server.pem"_s)))};
}

void TestCertificates::runOpenSSL(const QStringList& arguments) const {
    ChildProcess openssl(u"openssl"_s, arguments);
    if (openssl.waitForExit() != 0) {
        qFatal("openssl %s failed", qPrintable(arguments.join(u' ')));
    }
}

} // namespace quillo::test
