#pragma once

#include <QHashFunctions>
#include <QString>

#include <array>

namespace quillo {

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
    {QStringLiteral("1 minute"), 60},
    {QStringLiteral("5 minutes"), 300},
    {QStringLiteral("15 minutes"), 900},
    {QStringLiteral("1 hour"), 3600},
    {QStringLiteral("6 hours"), 21600},
    {QStringLiteral("24 hours"), 86400},
    {QStringLiteral("Manual only"), 0},
}};

} // namespace quillo
