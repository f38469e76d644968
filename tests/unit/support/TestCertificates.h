#pragma once

#include "support/ScriptedServer.h"

#include <QByteArray>
#include <QSslCertificate>
#include <QTemporaryDir>

namespace quillo::test {

/// A certificate authority of the test's own, made afresh with the `openssl` program, so that nothing secret
/// lies in the repository and nothing in it expires.
class TestCertificates {
public:
    TestCertificates();

    /// What a client has to trust for `trusted` to pass.
    [[nodiscard]] const QSslCertificate& authority() const { return authorityCertificate; }

    /// For 127.0.0.1 and localhost, signed by the authority.
    [[nodiscard]] ServerIdentity trusted() const;
    /// As `trusted`, but its last day was yesterday.
    [[nodiscard]] ServerIdentity expired() const;
    /// Signed by the authority for another host.
    [[nodiscard]] ServerIdentity wrongHost() const;
    /// For 127.0.0.1 and localhost, signed by nobody but itself.
    [[nodiscard]] ServerIdentity selfSigned() const;

private:
    [[nodiscard]] ServerIdentity issue(const QByteArray& alternativeNames, int days) const;
    [[nodiscard]] QString path(const QString& name) const { return folder.filePath(name); }
    void runOpenSSL(const QStringList& arguments) const;

    QTemporaryDir folder;
    QSslCertificate authorityCertificate;
};

} // namespace quillo::test
