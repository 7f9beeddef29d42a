// A line of text that gives way in a narrow dock: it ends in dots instead of widening the panel. The whole
// text stays available to screen readers, and to everybody as the tool tip while it is cut. GUI thread only.

#pragma once

#include "ui/panel_colours.h"

#include <QLabel>

namespace Vantor {

class ElidedLabel : public QLabel {
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget* parent = nullptr);

    /// What hovering shows while the text is not cut.
    void setHint(const QString& text);
    /// The colour, worked out anew for every palette.
    void setTone(Tone wanted);
    /// A size relative to the parent's present font.
    void setFontScale(double scale, bool bold = false);
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool isCut() const;

    QString hint;
    Tone tone = Tone::normal;
};

} // namespace Vantor
