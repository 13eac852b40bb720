#include "data/VnDate.h"

#include "core/VnString.h"
#include "runtime/VnTranslation.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kMinute = 60;
constexpr double kHour = 3600;
constexpr double kDay = 86400;
constexpr double kTwoHours = 7200;
constexpr double kTwoDays = 172800;
constexpr double kYear = 31536000;

/// Rests of an hour that the coarser modes leave away.
constexpr double kSmallRest = 0.05;
constexpr int64_t kSmallMinutes = 6;

/// Beyond this a length of time is nonsense; the limit keeps the casts defined.
constexpr double kLongestTime = 1e15;

/// A number with its unit in the user's words.
VnString Count(int64_t number, const wchar_t* unit) {
    VnString word(unit);
    if (number != 1) {
        word += L's';
    }
    return VnString::Formatted(L"%d %s", number, VnTranslated(word));
}

VnString FormatOneUnit(double seconds) {
    const auto format = [](const wchar_t* text, double number) {
        return VnString::Formatted(VnTranslated(text), number);
    };
    if (seconds >= kYear) {
        return format(L"%.2f years", seconds / kYear);
    }
    if (seconds >= kTwoDays) {
        return format(L"%.1f days", seconds / kDay);
    }
    if (seconds >= kTwoHours) {
        return format(L"%.1f hours", seconds / kHour);
    }
    if (seconds >= kMinute) {
        return format(L"%.0f minutes", seconds / kMinute);
    }
    return VnString::Formatted(VnTranslated(L"%d seconds"), static_cast<int64_t>(seconds));
}

/// Hours and minutes of a time from a minute up.
VnString FormatMinutes(double seconds, VnDate::ElapsedMode mode) {
    const double rounding = mode == VnDate::kElapsedCutMinutes ? 0 : kMinute / 2;
    const auto total = static_cast<int64_t>((seconds + rounding) / kMinute);
    const int64_t hours = total / 60;
    int64_t minutes = total % 60;
    if (hours == 0) {
        return Count(minutes, L"minute");
    }
    if (mode == VnDate::kElapsedHourTenths) {
        if (static_cast<double>(minutes) / 60 > kSmallRest) {
            return VnString::Formatted(VnTranslated(L"%.1f hours"),
                                       static_cast<double>(total) / 60);
        }
        minutes = 0;
    } else if (mode == VnDate::kElapsedDropSmall && minutes < kSmallMinutes) {
        minutes = 0;
    }
    VnString text = Count(hours, L"hour");
    if (minutes != 0) {
        text += L' ';
        text += Count(minutes, L"minute");
    }
    return text;
}

} // namespace

VnString VnDate::FormatDuration(
    double seconds, int32_t hourLimit, int32_t decimals, bool padHours, uint32_t numberFlags) {
    if (!std::isfinite(seconds)) {
        return VnString();
    }
    decimals = std::clamp(decimals, 0, 9);
    // Rounded ahead of the split, or 59.7 seconds would read "0:60".
    const double scale = std::pow(10.0, decimals);
    const double total = std::round(std::min(std::fabs(seconds), kLongestTime) * scale) / scale;
    const auto whole = static_cast<int64_t>(total);
    const bool withHours = hourLimit >= 0 && total >= hourLimit * kHour;
    const int64_t minutes = whole / 60;
    VnString secondsText;
    secondsText.SetDouble(total - static_cast<double>(minutes * 60), decimals, true, 2,
                          numberFlags);
    VnString text;
    if (seconds < 0) {
        text = L'-';
    }
    if (!withHours) {
        return text.AppendFormat(L"%d:%s", minutes, secondsText);
    }
    text.AppendFormat(padHours ? L"%02d:" : L"%d:", minutes / 60);
    return text.AppendFormat(L"%02d:%s", minutes % 60, secondsText);
}

VnString VnDate::FormatElapsed(double seconds, ElapsedMode mode) {
    if (!std::isfinite(seconds)) {
        return VnString();
    }
    seconds = std::clamp(seconds, -kLongestTime, kLongestTime);
    if (mode == kElapsedClock && seconds < kDay) {
        return FormatDuration(seconds, 1, 0);
    }
    if (mode <= kElapsedOneUnit) {
        return FormatOneUnit(seconds);
    }
    const bool isNegative = seconds < 0;
    if (std::fabs(seconds) < kMinute || (isNegative && mode != kElapsedCutMinutes)) {
        return Count(static_cast<int64_t>(seconds), L"second");
    }
    const VnString text = FormatMinutes(std::fabs(seconds), mode);
    return isNegative ? L'-' + text : text;
}
