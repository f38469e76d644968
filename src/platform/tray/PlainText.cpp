#include "platform/tray/PlainText.h"

#include <QChar>
#include <QTextBoundaryFinder>

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
    if (text.size() <= longestLine) {
        return text;
    }
    // The finder looks a little beyond the cut only, so that its cost does not grow with the text.
    const auto head = text.left(longestLine + 64);
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, head);
    graphemes.setPosition(longestLine - 1);
    const auto boundary = graphemes.isAtBoundary() ? graphemes.position() : graphemes.toPreviousBoundary();
    auto cut = boundary > 0 ? boundary : longestLine - 1;
    if (head[cut - 1].isHighSurrogate()) {
        --cut;
    }
    return head.left(cut) + QChar(u'…');
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

QString menuLabel(const QString& text) {
    auto label = plainLine(text);
    if (label.contains(u'_')) {
        label.replace(u'_', QStringLiteral("__"));
    }
    return label;
}

QString toolTipLine(const QString& text) {
    auto line = plainLine(text);
    if (line.contains(u'<') || line.contains(u'&')) {
        line.replace(u'<', u'\u2039').replace(u'&', u'\uFF06');
    }
    return line;
}

} // namespace quillo
