#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace quillo {

/// Appends the form in which texts are compared: lower case by Unicode's own rules, whatever the user's
/// locale, and composed (NFC), so that an accent typed in one form finds the other. `utf8` has to be valid.
void appendFolded(std::string& folded, std::string_view utf8);

/// What is searched for when the user has typed `text`: folded, without white space (but with line breaks) at
/// its ends. Empty when nothing is.
[[nodiscard]] std::string searchedFor(const QString& text);

} // namespace quillo
