#include "model/Utf8.h"

#include <QStringDecoder>

namespace quillo {

QString stringFromUtf8(QByteArrayView utf8) {
    if (utf8.startsWith("\xEF\xBB\xBF")) {
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        return decoder(utf8);
    }
    return QString::fromUtf8(utf8);
}

} // namespace quillo
