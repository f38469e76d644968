#pragma once

#include <QString>

namespace quillo {

/// An amount of dollars in at most six characters, for a place as small as an icon: "832", "1.2k", "12k",
/// "-1.2M". Whole dollars below a thousand; above, thousands ("k"), millions ("M"), billions ("B") or
/// trillions ("T") with two or three digits, rounded half to even; "999T+" for anything larger. Digits,
/// decimal separator and minus sign follow the user's locale; no currency sign.
[[nodiscard]] QString shortAmount(double dollars);

} // namespace quillo
