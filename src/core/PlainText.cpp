#include "core/PlainText.h"

#include "core/UserCharacters.h"

#include <QChar>

#include <algorithm>

namespace quillo {

namespace {

// Unicode Standard Annex #9, table 4, less the two marks, which only place neutral characters.
constexpr bool controlsDirection(char16_t unit) noexcept {
    return (unit >= u'\u202A' && unit <= u'\u202E') || (unit >= u'\u2066' && unit <= u'\u2069');
}

bool breaksLine(QChar character) noexcept {
    return character.category() == QChar::Other_Control || character == QChar::LineSeparator ||
           character == QChar::ParagraphSeparator;
}

bool isPlain(const QString& text) {
    return text.size() <= longestLine && std::none_of(text.begin(), text.end(), [](QChar character) {
               return breaksLine(character) || controlsDirection(character.unicode()) ||
                      character.isSurrogate();
           });
}

bool isPair(const QString& text, qsizetype index) {
    return text[index].isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate();
}

QString elided(const QString& text) {
    return text.size() <= longestLine ? text : wholeUserCharacters(text, longestLine - 1) + u'…';
}

} // namespace

QString plainLine(const QString& text) {
    if (isPlain(text)) {
        return text;
    }
    QString line;
    line.reserve(std::min(text.size(), 2 * longestLine));
    for (qsizetype index = 0; index < text.size() && line.size() <= 2 * longestLine; ++index) {
        const auto character = text[index];
        if (isPair(text, index)) {
            line += character;
            line += text[++index];
        } else if (character.isSurrogate()) {
            line += QChar::ReplacementCharacter;
        } else if (breaksLine(character)) {
            line += u' ';
        } else if (!controlsDirection(character.unicode())) {
            line += character;
        }
    }
    return elided(line);
}

QString toolTipLine(const QString& text) {
    auto line = plainLine(text);
    if (line.contains(u'<') || line.contains(u'&')) {
        line.replace(u'<', u'\u2039').replace(u'&', u'\uFF06');
    }
    return line;
}

} // namespace quillo
