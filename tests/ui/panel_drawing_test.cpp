// What is drawn rather than written: colours that can be read on every palette, and the history's curves.

#include "ui/history_plot.h"
#include "ui/panel_colours.h"

#include <QImage>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Vantor {
namespace {

TEST(PanelColours, ContrastIsThatOfTheGuidelines) {
    EXPECT_NEAR(contrastRatio(Qt::black, Qt::white), 21.0, 0.01);
    EXPECT_NEAR(contrastRatio(QColor(0x777777), Qt::white), 4.48, 0.01);
    EXPECT_DOUBLE_EQ(contrastRatio(Qt::red, Qt::red), 1.0);
}

TEST(PanelColours, EveryToneCanBeReadOnEveryPalette) {
    struct Case {
        const char* what;
        QRgb window;
        QRgb text;
        QRgb highlight;
    };
    for (const Case& c : std::initializer_list<Case>{{"light", 0xefefef, 0x000000, 0x308cc6},
                                                     {"dark", 0x232629, 0xfcfcfc, 0x3daee9},
                                                     {"high contrast", 0x000000, 0xffff00, 0x008000},
                                                     {"middle grey", 0x808080, 0x000000, 0x7f7f7f},
                                                     {"faint highlight", 0xffffff, 0x202020, 0xfffde0},
                                                     {"grey highlight", 0x303030, 0xe0e0e0, 0x505050}}) {
        QPalette palette{QColor(c.window)};
        palette.setColor(QPalette::Window, QColor(c.window));
        palette.setColor(QPalette::WindowText, QColor(c.text));
        palette.setColor(QPalette::Highlight, QColor(c.highlight));
        const QColor window = palette.color(QPalette::Window);
        for (const Tone tone :
             {Tone::normal, Tone::muted, Tone::accent, Tone::second, Tone::good, Tone::caution, Tone::bad})
            EXPECT_GE(contrastRatio(toneOn(palette, tone), window), kTextContrast)
                << c.what << static_cast<int>(tone);
        EXPECT_NE(toneOn(palette, Tone::accent), toneOn(palette, Tone::second)) << c.what;
    }
}

class Plot : public testing::Test {
protected:
    Plot() {
        plot.resize(200, 100);
        plot.show();
    }
    /// Columns of the picture in which anything of this colour is drawn.
    int columnsOf(const QColor& colour) {
        const QImage image = plot.grab().toImage().scaled(plot.size()); // whatever the screen's scale
        const int header = plot.fontMetrics().height() + 3;
        int columns = 0;
        for (int x = 2; x < image.width() - 2; ++x) {
            bool found = false;
            for (int y = header; y < image.height() - 2 && !found; ++y) {
                const QColor pixel = image.pixelColor(x, y);
                found = std::abs(pixel.hue() - colour.hue()) < 12 && pixel.saturation() > 100;
            }
            columns += found ? 1 : 0;
        }
        return columns;
    }
    int latencyColumns() { return columnsOf(toneOn(plot.palette(), Tone::second, QPalette::Base)); }

    HistoryPlot plot;
};

TEST_F(Plot, DrawsTheLastMinuteAndLeavesGaps) {
    EXPECT_EQ(latencyColumns(), 0);
    for (int second = 0; second < 200; ++second) // the first 140 have left the picture
        plot.addSample(1000, 0.03, second * 1000);
    const int whole = latencyColumns();
    EXPECT_GE(whole, 190);
    for (int second = 230; second < 260; ++second)
        plot.addSample(1000, 0.03, second * 1000);
    EXPECT_NEAR(latencyColumns(), whole / 2, 6) << "a pause of half a minute";
}

TEST_F(Plot, SaysInWordsWhatItShows) {
    EXPECT_EQ(plot.accessibleDescription(), QStringLiteral("Nothing measured yet"));
    plot.addSample(900, 0.04, 1000);
    plot.addSample(961, 0.0341, 2000);
    EXPECT_EQ(plot.accessibleDescription(),
              QStringLiteral("Last minute: up to 961 frames per second, latency up to 0.040 ms"));
    plot.addSample(100, 0.01, 61'500); // the first sample leaves, the second is the oldest of the minute
    EXPECT_EQ(plot.accessibleDescription(),
              QStringLiteral("Last minute: up to 961 frames per second, latency up to 0.034 ms"));
}

TEST_F(Plot, IgnoresWhatCannotBeDrawn) {
    plot.addSample(500, 0.05, 10'000);
    const QString before = plot.accessibleDescription();
    plot.addSample(std::numeric_limits<double>::quiet_NaN(), 0.05, 11'000);
    plot.addSample(500, std::numeric_limits<double>::infinity(), 11'000);
    plot.addSample(-1, 0.05, 11'000);
    plot.addSample(900, 0.05, 9'000); // older than the newest
    plot.addSample(900, 0.05, -5);
    EXPECT_EQ(plot.accessibleDescription(), before);
    plot.addSample(4e9, 1e300, 12'000);
    EXPECT_FALSE(plot.grab().isNull());
}

} // namespace
} // namespace Vantor
