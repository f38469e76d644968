#include "core/UserCharacters.h"

#include <unicode/brkiter.h>
#include <unicode/unistr.h>

#include <memory>

namespace quillo {

namespace {

/// The boundaries in `text`, of which no copy is made; null when ICU has no data.
icu::BreakIterator* boundariesIn(const QString& text) {
    UErrorCode status = U_ZERO_ERROR;
    static const std::unique_ptr<icu::BreakIterator> boundaries(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (boundaries) {
        const icu::UnicodeString alias(false, reinterpret_cast<const char16_t*>(text.utf16()),
                                       static_cast<int32_t>(text.size()));
        boundaries->setText(alias);
    }
    return boundaries.get();
}

} // namespace

QString firstUserCharacters(const QString& text, qsizetype count) {
    auto* const boundaries = text.size() <= count ? nullptr : boundariesIn(text);
    if (!boundaries) {
        return text.left(count);
    }
    const auto end = boundaries->next(static_cast<int32_t>(count));
    return end == icu::BreakIterator::DONE ? text : text.left(end);
}

QString wholeUserCharacters(const QString& text, qsizetype units) {
    if (text.size() <= units) {
        return text;
    }
    // What stands a little beyond the cut decides; what is further away costs time and nothing else.
    constexpr qsizetype beyond = 64;
    const auto head = text.left(units + beyond);
    auto* const boundaries = boundariesIn(head);
    auto cut = boundaries ? boundaries->preceding(static_cast<int32_t>(units + 1)) : 0;
    if (cut <= 0) {
        cut = static_cast<int32_t>(head[units - 1].isHighSurrogate() ? units - 1 : units);
    }
    return head.left(cut);
}

} // namespace quillo
