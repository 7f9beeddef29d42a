#include "ui/panel_colours.h"

#include <algorithm>
#include <cmath>

namespace Vantor {

namespace {

constexpr int kLightnessSteps = 40;
/// Below this saturation a highlight is grey, and turning its hue would give the same grey again.
constexpr float kMinHueSaturation = 0.15F;
constexpr float kSignalSaturation = 0.75F;
constexpr float kFallbackAccentHue = 0.58F; // blue

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& colour) {
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

QColor accentOf(const QPalette& palette) {
    const QColor highlight = palette.color(QPalette::Active, QPalette::Highlight).toHsl();
    if (highlight.hslSaturationF() >= kMinHueSaturation)
        return highlight;
    return QColor::fromHslF(kFallbackAccentHue, kSignalSaturation, 0.5F);
}

/// Far enough from the accent's hue to be told from it, and warm against a cool accent.
QColor secondOf(const QPalette& palette) {
    const float hue = accentOf(palette).hslHueF();
    return QColor::fromHslF(std::fmod(hue + 0.5F, 1.0F), kSignalSaturation, 0.5F);
}

QColor signal(float hueDegrees) {
    return QColor::fromHslF(hueDegrees / 360.0F, kSignalSaturation, 0.45F);
}

QColor wantedColour(const QPalette& palette, Tone tone, const QColor& background) {
    const QColor text = palette.color(QPalette::WindowText);
    switch (tone) {
    case Tone::normal:
        return text;
    case Tone::muted:
        return blended(text, background, 0.65);
    case Tone::accent:
        return accentOf(palette);
    case Tone::second:
        return secondOf(palette);
    case Tone::good:
        return signal(145);
    case Tone::caution:
        return signal(38);
    case Tone::bad:
        return signal(4);
    }
    return text;
}

} // namespace

double contrastRatio(const QColor& a, const QColor& b) {
    const double first = luminance(a);
    const double second = luminance(b);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

QColor blended(const QColor& over, const QColor& under, double share) {
    const auto mix = [share](float top, float bottom) {
        return static_cast<float>(share * top + (1 - share) * bottom);
    };
    return QColor::fromRgbF(mix(over.redF(), under.redF()), mix(over.greenF(), under.greenF()),
                            mix(over.blueF(), under.blueF()));
}

QColor readableOn(const QColor& background, const QColor& wanted, double ratio) {
    if (contrastRatio(wanted, background) >= ratio)
        return wanted;
    const QColor hsl = wanted.toHsl();
    const bool towardsWhite = contrastRatio(Qt::white, background) > contrastRatio(Qt::black, background);
    const float goal = towardsWhite ? 1.0F : 0.0F;
    const float start = hsl.lightnessF();
    // A grey has no hue; its stand-in of -1 is not accepted back.
    const float hue = std::max(hsl.hslHueF(), 0.0F);
    for (int step = 1; step <= kLightnessSteps; ++step) {
        const float way = static_cast<float>(step) / kLightnessSteps;
        const QColor tried = QColor::fromHslF(hue, hsl.hslSaturationF(), start + way * (goal - start));
        if (contrastRatio(tried, background) >= ratio)
            return tried.toRgb();
    }
    return towardsWhite ? Qt::white : Qt::black;
}

QColor toneOn(const QPalette& palette, Tone tone, QPalette::ColorRole background, double ratio) {
    const QColor behind = palette.color(background);
    return readableOn(behind, wantedColour(palette, tone, behind), ratio);
}

} // namespace Vantor
