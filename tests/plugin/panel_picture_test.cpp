// The panel as it stands on the screen of whatever system the tests run on. FERRYLINK_PICTURE names a file to
// keep it in.

#include "plugin_fixture.h"

#include <QHash>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <algorithm>

namespace Vantor {
namespace {

using PanelPicture = PluginFixture;

/// Pixels of each colour.
QHash<QRgb, int> coloursOf(const QImage& picture) {
    QHash<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            ++counts[picture.pixel(x, y)];
    return counts;
}

TEST_F(PanelPicture, IsDrawnOnTheScreen) {
    ASSERT_TRUE(bringUp());
    showPanel();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
    panel->move(0, 0);
    // What is drawn reaches the screen in the system's own time.
    QImage picture;
    const bool drawn = QTest::qWaitFor(
        [&] {
            picture = panel->screen()->grabWindow(panel->winId()).toImage();
            return coloursOf(picture).size() >=
                   16; // text alone has as many, smoothed or not, beside its frames
        },
        kPatienceMs);
    const QString file = qEnvironmentVariable("FERRYLINK_PICTURE");
    if (!file.isEmpty()) {
        EXPECT_TRUE(picture.save(file)) << qPrintable(file);
    }
    EXPECT_TRUE(drawn);
    EXPECT_GE(picture.width(), panel->width());
    EXPECT_GE(picture.height(), panel->height());
    int most = 0;
    for (const int pixels : coloursOf(picture))
        most = std::max(most, pixels);
    EXPECT_LT(most, picture.width() * picture.height() * 98 / 100) << "hardly anything is drawn";
}

} // namespace
} // namespace Vantor
