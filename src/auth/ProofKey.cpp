#include "auth/ProofKey.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

namespace quillo {

namespace {

QString base64Url(const QByteArray& bytes) {
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

} // namespace

QString randomText(qsizetype bytes) {
    QByteArray random(bytes, Qt::Uninitialized);
    auto* generator = QRandomGenerator::system();
    std::generate(random.begin(), random.end(),
                  [generator] { return static_cast<char>(generator->generate()); });
    return base64Url(random);
}

QString codeChallenge(const QString& verifier) {
    return base64Url(QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256));
}

} // namespace quillo
