#include "core/UserCharacters.h"

#include <unicode/brkiter.h>
#include <unicode/unistr.h>

#include <memory>

namespace quillo {

QString firstUserCharacters(const QString& text, qsizetype count) {
    if (text.size() <= count) {
        return text;
    }
    UErrorCode status = U_ZERO_ERROR;
    static const std::unique_ptr<icu::BreakIterator> boundaries(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (!boundaries) {
        return text.left(count);
    }
    // An alias of the text's own memory; what lies beyond the last character asked for is not looked at.
    const icu::UnicodeString alias(false, reinterpret_cast<const char16_t*>(text.utf16()),
                                   static_cast<int32_t>(text.size()));
    boundaries->setText(alias);
    const auto end = boundaries->next(static_cast<int32_t>(count));
    return end == icu::BreakIterator::DONE ? text : text.left(end);
}

} // namespace quillo
