#include "ui/ledger/SearchText.h"

#include <QRegularExpression>

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/stringpiece.h>

#include <algorithm>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isAscii(std::string_view utf8) {
    return std::ranges::all_of(utf8, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

} // namespace

void appendFolded(std::string& folded, std::string_view utf8) {
    if (isAscii(utf8)) {
        std::ranges::transform(utf8, std::back_inserter(folded), [](char byte) {
            return static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
        });
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    std::string lower;
    icu::StringByteSink<std::string> lowerSink(&lower);
    icu::CaseMap::utf8ToLower("", 0, {utf8.data(), static_cast<int32_t>(utf8.size())}, lowerSink, nullptr,
                              status);
    icu::StringByteSink<std::string> foldedSink(&folded);
    const auto* composed = icu::Normalizer2::getNFCInstance(status);
    composed->normalizeUTF8(0, lower, foldedSink, nullptr, status);
    if (U_FAILURE(status) != 0) {
        folded += utf8;
    }
}

std::string searchedFor(const QString& text) {
    static const QRegularExpression blankEnds(u"^[\\t\\p{Zs}]+|[\\t\\p{Zs}]+\\z"_s);
    std::string query;
    appendFolded(query, QString(text).remove(blankEnds).toStdString());
    return query;
}

} // namespace quillo
