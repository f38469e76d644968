#pragma once

#include <QHashFunctions>
#include <QString>

#include <array>

namespace quillo {

using namespace Qt::Literals::StringLiterals;

/// A refresh interval that the user can pick.
struct IntervalPreset {
    QString label;
    qint64 seconds = 0; ///< also what lists and pickers know it by; 0 never refreshes by itself

    [[nodiscard]] bool operator==(const IntervalPreset&) const = default;
};

[[nodiscard]] inline size_t qHash(const IntervalPreset& preset, size_t seed = 0) noexcept {
    return qHashMulti(seed, preset.label, preset.seconds);
}

/// In the order in which they are shown, which is not that of their values.
inline const std::array<IntervalPreset, 7> intervalPresets{{
    {u"1 minute"_s, 60},
    {u"5 minutes"_s, 300},
    {u"15 minutes"_s, 900},
    {u"1 hour"_s, 3600},
    {u"6 hours"_s, 21600},
    {u"24 hours"_s, 86400},
    {u"Manual only"_s, 0},
}};

} // namespace quillo
